// Sorting of the three ranked tables, over every order of ranks and every mix of wrong ones.
#include "Data/RankedTables.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <numeric>
#include <set>

namespace {

using namespace Data;

struct RankedTable {
    char const* name;
    int rows;
    eDataTag first, last; ///< of all its cells and flags
    void (*sort)(DataTagValue_t&, int);
    std::vector<eDataTag> travelling; ///< the rank column first
};

RankedTable const tables[]{
    {"codec",
     4,
     eDataTagCodecType1,
     eDataTagCodecHardwareAllowed3,
     Utils::sortCodecsByRank,
     {eDataTagCodecRank1, eDataTagCodecType1, eDataTagCodecAllowed1}},
    {"srtp",
     5,
     eDataTagSRTPEncryptionMethod1,
     eDataTagSRTPEncryptionHardwareAllowed5,
     Utils::sortSRTPEncryptionsByRank,
     {eDataTagSRTPEncryptionRank1, eDataTagSRTPEncryptionMethod1, eDataTagSRTPEncryptionAllowed1,
      eDataTagSRTPEncryptionHardwareAllowed1}},
    {"headset",
     3,
     eDataTagHeadsetType1,
     eDataTagHeadsetHardwareAllowed3,
     Utils::sortHeadsetsByRank,
     {eDataTagHeadsetRank1, eDataTagHeadsetType1, eDataTagHeadsetAllowed1, eDataTagHeadsetHardwareAllowed1}}};

eDataTag cell(eDataTag column, int row)
{
    return static_cast<eDataTag>(column + row);
}

/// Every cell holds a text of its own, which says where it was; the ranks are given.
DataTagValue_t tableWithRanks(RankedTable const& table, std::vector<int> const& ranks)
{
    DataTagValue_t values;
    for (int tag = table.first; tag <= table.last; ++tag)
        values[static_cast<eDataTag>(tag)] = "was " + std::to_string(tag);
    for (int row = 0; row < table.rows; ++row)
        values[cell(table.travelling[0], row)] = std::to_string(ranks[static_cast<std::size_t>(row)]);
    return values;
}

std::multiset<std::string> texts(DataTagValue_t const& values)
{
    std::multiset<std::string> result;
    for (auto const& [tag, text] : values)
        result.insert(text);
    return result;
}

class RankedSort : public testing::TestWithParam<RankedTable> {};

TEST_P(RankedSort, PutsEveryOrderOfRanksInPlaceWithTheColumnsThatTravel)
{
    auto const& table = GetParam();
    std::vector<int> ranks(static_cast<std::size_t>(table.rows));
    std::iota(ranks.begin(), ranks.end(), 1);
    do {
        auto const before = tableWithRanks(table, ranks);
        auto after = before;
        table.sort(after, table.rows);
        auto expected = before;
        for (int row = 0; row < table.rows; ++row)
            for (eDataTag const column : table.travelling)
                expected[cell(column, ranks[static_cast<std::size_t>(row)] - 1)] = before.at(cell(column, row));
        EXPECT_EQ(after, expected) << testing::PrintToString(ranks);
    } while (std::next_permutation(ranks.begin(), ranks.end()));
}

TEST_P(RankedSort, EndsOnEveryMixOfRightAndImpossibleRanksAndLosesNoCell)
{
    auto const& table = GetParam();
    std::vector<int> const choices{INT_MIN, 0, 1, 2, 3, 4, table.rows, INT_MAX};
    for (std::size_t mix = 0; mix < std::size_t{1} << (3 * table.rows); ++mix) {
        std::vector<int> ranks;
        for (int row = 0; row < table.rows; ++row)
            ranks.push_back(choices[mix >> (3 * row) & 7]);
        auto const before = tableWithRanks(table, ranks);
        auto after = before;
        table.sort(after, table.rows);
        ASSERT_EQ(after.size(), before.size());
        ASSERT_EQ(texts(after), texts(before));
    }
}

INSTANTIATE_TEST_SUITE_P(Tables, RankedSort, testing::ValuesIn(tables),
                         [](auto const& tested) { return std::string(tested.param.name); });

} // namespace

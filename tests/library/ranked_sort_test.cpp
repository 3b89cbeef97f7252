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
    eDataTag firstTag; ///< of all its cells and flags
    eDataTag lastTag;
    std::vector<eDataTag> travelling; ///< the rank column first
    std::vector<eDataTag> staying;
    void (*sort)(DataTagValue_t&, int);
};

RankedTable const tables[]{
    {"codec",
     4,
     eDataTagCodecType1,
     eDataTagCodecHardwareAllowed3,
     {eDataTagCodecRank1, eDataTagCodecType1, eDataTagCodecAllowed1},
     {eDataTagCodecPacketSize1, eDataTagCodecHardwareAllowed0},
     Utils::sortCodecsByRank},
    {"srtp",
     5,
     eDataTagSRTPEncryptionMethod1,
     eDataTagSRTPEncryptionHardwareAllowed5,
     {eDataTagSRTPEncryptionRank1, eDataTagSRTPEncryptionMethod1, eDataTagSRTPEncryptionAllowed1,
      eDataTagSRTPEncryptionHardwareAllowed1},
     {},
     Utils::sortSRTPEncryptionsByRank},
    {"headset",
     3,
     eDataTagHeadsetType1,
     eDataTagHeadsetHardwareAllowed3,
     {eDataTagHeadsetRank1, eDataTagHeadsetType1, eDataTagHeadsetAllowed1, eDataTagHeadsetHardwareAllowed1},
     {},
     Utils::sortHeadsetsByRank},
};

eDataTag cell(eDataTag column, int row)
{
    return static_cast<eDataTag>(column + row);
}

/// Every cell holds a text of its own, which says where it was; the ranks are given.
DataTagValue_t tableWithRanks(RankedTable const& table, std::vector<int> const& ranks)
{
    DataTagValue_t values;
    for (int tag = table.firstTag; tag <= table.lastTag; ++tag)
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
        for (int row = 0; row < table.rows; ++row) {
            int const place = ranks[static_cast<std::size_t>(row)] - 1;
            for (eDataTag const column : table.travelling)
                EXPECT_EQ(after.at(cell(column, place)), before.at(cell(column, row))) << column << " row " << row;
            for (eDataTag const column : table.staying)
                EXPECT_EQ(after.at(cell(column, row)), before.at(cell(column, row))) << column << " row " << row;
        }
    } while (std::next_permutation(ranks.begin(), ranks.end()));
}

TEST_P(RankedSort, EndsOnEveryMixOfRanksAndLosesNoCell)
{
    auto const& table = GetParam();
    int const choices = table.rows + 2; // 0 to one above the table
    std::vector<int> ranks(static_cast<std::size_t>(table.rows), 0);
    for (bool more = true; more;) {
        auto const before = tableWithRanks(table, ranks);
        auto after = before;
        table.sort(after, table.rows);
        ASSERT_EQ(after.size(), before.size());
        ASSERT_EQ(texts(after), texts(before));
        // Counts the ranks up like the digits of a number.
        auto const digit = std::find_if(ranks.begin(), ranks.end(), [&](int rank) { return rank + 1 < choices; });
        more = digit != ranks.end();
        std::fill(ranks.begin(), digit, 0);
        if (more)
            ++*digit;
    }
}

TEST_P(RankedSort, LeavesRowsAloneWhoseRankNamesNoCell)
{
    auto const& table = GetParam();
    for (int const rank : {INT_MIN, INT_MIN + 1, INT_MAX - 1, INT_MAX}) {
        std::vector<int> ranks(static_cast<std::size_t>(table.rows));
        std::iota(ranks.begin(), ranks.end(), 1);
        ranks.front() = rank;
        auto const before = tableWithRanks(table, ranks);
        auto after = before;
        table.sort(after, table.rows);
        EXPECT_EQ(after, before) << rank;
    }
}

INSTANTIATE_TEST_SUITE_P(Tables, RankedSort, testing::ValuesIn(tables),
                         [](auto const& tested) { return std::string(tested.param.name); });

TEST(RankedSortOfPartialTables, SkipsARowWithoutRankAndOrdersTheOthers)
{
    auto values = tableWithRanks(tables[2], {1, 3, 2});
    values.erase(eDataTagHeadsetRank1);
    Utils::sortHeadsetsByRank(values, 3);
    EXPECT_EQ(values.at(eDataTagHeadsetRank2), "2");
    EXPECT_EQ(values.at(eDataTagHeadsetRank3), "3");
    EXPECT_EQ(values.at(eDataTagHeadsetType2), "was " + std::to_string(eDataTagHeadsetType3));
}

TEST(RankedSortOfPartialTables, OrdersNoMoreRowsThanCountedOrThanThereAre)
{
    auto const before = tableWithRanks(tables[1], {1, 2, 3, 5, 4});
    for (int const count : {-1, 0, 3}) {
        auto after = before;
        Utils::sortSRTPEncryptionsByRank(after, count);
        EXPECT_EQ(after, before) << count;
    }
    auto const inOrder = tableWithRanks(tables[1], {1, 2, 3, 4, 5});
    auto after = inOrder;
    Utils::sortSRTPEncryptionsByRank(after, 6);
    EXPECT_EQ(after, inOrder);
}

} // namespace

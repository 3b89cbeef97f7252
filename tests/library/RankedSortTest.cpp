// Sorting of the three ranked tables, over every order of ranks and every mix of wrong ones.
#include "../Standard.h"
#include "Data/RankedTables.h"

#include <cmath>

using namespace Data;

namespace {

/// Choices, ranks, verdicts and more, column by column; not all of the columns move with the ranks.
struct RankedTable {
    int rows, columns, travelling;
    eDataTag first;
    void (*sort)(DataTagValue_t&, int);

    eDataTag cell(int column, int row) const { return static_cast<eDataTag>(first + column * rows + row); }
};

RankedTable const tables[]{{4, 5, 3, eDataTagCodecType1, Utils::sortCodecsByRank},
                           {5, 4, 4, eDataTagSRTPEncryptionMethod1, Utils::sortSRTPEncryptionsByRank},
                           {3, 4, 4, eDataTagHeadsetType1, Utils::sortHeadsetsByRank}};

} // namespace

TEST(RankedSort, PutsEveryOrderInPlaceAndEndsOnEveryMixOfImpossibleRanksWithoutLosingACell)
{
    int const choices[]{1, 2, 3, 4, 5, INT_MIN, 0, INT_MAX};
    for (auto const& table : tables) {
        int orders = 0;
        for (int mix = 0; mix < 1 << (3 * table.rows); ++mix) {
            // Every cell holds a text of its own, which says where it was.
            DataTagValue_t before;
            for (int i = 0; i < table.columns * table.rows; ++i)
                before[table.cell(0, i)] = "was " + std::to_string(i);
            std::set<int> ranks;
            for (int row = 0; row < table.rows; ++row) {
                int const rank = choices[mix >> (3 * row) & 7];
                before[table.cell(1, row)] = std::to_string(rank);
                if (1 <= rank && rank <= table.rows)
                    ranks.insert(rank);
            }
            auto after = before;
            table.sort(after, table.rows);
            ASSERT_TRUE(
                std::is_permutation(after.begin(), after.end(), before.begin(), before.end(),
                                    [](auto const& left, auto const& right) { return left.second == right.second; }));
            if (static_cast<int>(ranks.size()) < table.rows)
                continue;
            ++orders;
            auto expected = before;
            for (int column = 0; column < table.travelling; ++column)
                for (int row = 0; row < table.rows; ++row)
                    expected[table.cell(column, std::stoi(before[table.cell(1, row)]) - 1)] =
                        before[table.cell(column, row)];
            ASSERT_EQ(after, expected) << testing::PrintToString(before);
        }
        EXPECT_EQ(orders, std::tgamma(table.rows + 1));
    }
}

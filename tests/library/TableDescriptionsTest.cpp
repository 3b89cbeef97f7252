// What the descriptions of tables say, over every table and cell; that they fit the settings is checked while compiling.
#include "../Standard.h"
#include "Tables/Rules.h"

#include "Data/DataSourceDB.h"

using namespace Data;

TEST(TableDescriptions, EveryCellIsFoundAtItsPlaceAndNothingElseIs)
{
    std::set<eDataTag> cells;
    for (Tables::Table const& table : Tables::all)
        for (Tables::Column const& column : table.columns)
            for (int row = 0; row < table.rows; ++row) {
                eDataTag const cell = table.cell(column.first, row);
                EXPECT_TRUE(cells.insert(cell).second) << cell;
                EXPECT_EQ(Tables::holderOf(cell), &table) << cell;
                EXPECT_EQ(table.rowOf(cell), row) << cell;
                EXPECT_EQ(table.columnOf(cell), column.first) << cell;
                EXPECT_EQ(Tables::isHardwareFlag(cell), column.role == Tables::Role::flag) << cell;
                EXPECT_EQ(cell > table.last, column.role == Tables::Role::flag) << cell;
            }
    for (int number = -1; number <= eDataTagEnd + 1; ++number)
        EXPECT_EQ(Tables::holderOf(static_cast<eDataTag>(number)) != nullptr, cells.contains(static_cast<eDataTag>(number)))
            << number;
}

TEST(TableDescriptions, EveryTableOfTheDatabaseIsDescribedUnderItsTagAndSchema)
{
    for (auto const& row : DataSourceDB::dataDbDescriptionTable) {
        auto const* const table = Tables::find(row.tag);
        ASSERT_EQ(table != nullptr, row.isTable) << row.tag;
        if (table) {
            EXPECT_EQ(table->schema, row.schema ? *row.schema : "") << row.tag;
        }
    }
}

TEST(TableDescriptions, EveryFlagOfTheHardwareDecidesOnOneRowOrOneChoice)
{
    for (Tables::Table const* const table : {&Tables::codecs, &Tables::encryptions, &Tables::headsets}) {
        std::set<eDataTag> flags;
        for (int row = 0; row < table->rows; ++row)
            flags.insert(Tables::hardwareFlagOf(*table, row, table->rows - 1 - row));
        EXPECT_EQ(static_cast<int>(flags.size()), table->rows);
        EXPECT_TRUE(std::ranges::all_of(flags, Tables::isHardwareFlag));
        EXPECT_EQ(Tables::hardwareFlagOf(*table, 0, 1) == *flags.begin(), table != &Tables::codecs);
    }
}

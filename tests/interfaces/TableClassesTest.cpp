// The table classes and the management source as a client finds them in the shared library.
#include "../library/TablesTest.h"

#include "Data/DataItemBuilder.h"
#include "Data/DataSourceOCMS.h"
#include "Data/DataTableCodecSetting.h"
#include "Data/DataTableDistinctiveRinging.h"
#include "Data/DataTableDoorOpenerTypeDependentTags.h"
#include "Data/DataTableGroupPickupDependentTags.h"
#include "Data/DataTableHeadsetPriorities.h"
#include "Data/DataTableSRTPEncryptionSetting.h"
#include "Media/MediaDataCache.h"

using namespace Data;
using Handler = DataSourceDB::DataTableHandler;
using Encryptions = Handler::DataTableSRTPEncryptionSetting;
using Headsets = Handler::DataTableHeadsetPriorities;

namespace {

class TableClasses : public StoredTables {
protected:
    /// The table's cells with their defaults and usable hardware, as text and back.
    template <class Table> void expectRoundTrip(eDataTag tableTag, std::size_t entries)
    {
        SCOPED_TRACE(tableTag);
        Table table;
        table.initializeIndexMax();
        DataTagValue_t cells;
        table.getTableItemTags(cells);
        store.dbCBGetDataValues(cells);
        DataTagValue_t const before = cells;
        EXPECT_TRUE(table.tableItemsToXml(cells));
        std::string const text = cells[tableTag];
        std::size_t found = 0;
        for (auto at = text.find("<Entry>"); at != std::string::npos; at = text.find("<Entry>", at + 1))
            ++found;
        EXPECT_EQ(found, entries);

        // Whatever was called before, a parse begins with the first row.
        Table::XMLStart(&table, "Entry", nullptr);
        Table::XMLStart(&table, "Rank", nullptr);
        Table::XMLDataHandler(&table, "9", 1);
        Table::XMLEnd(&table, "Rank");
        table.xmlToTableItems(cells, false);
        cells[tableTag] = before.at(tableTag);
        EXPECT_EQ(cells, before);
        DataTagValue_t toStore;
        EXPECT_EQ(table.checkTableData(cells, toStore), Handler::eTableValid);
        EXPECT_EQ(toStore[tableTag], text);
    }
};

} // namespace

TEST_F(TableClasses, MakeTextOfCellsAndCellsOfText)
{
    store.take(column(eDataTagCodecHardwareAllowed0, "++++"));
    store.take(column(eDataTagSRTPEncryptionHardwareAllowed1, "+++++"));
    store.take(column(eDataTagHeadsetHardwareAllowed1, "+++"));
    expectRoundTrip<Handler::DataTableCodecSetting>(eDataTagCodecSettings, 4);
    expectRoundTrip<Encryptions>(eDataTagSRTPEncryptionSettings, 5);
    expectRoundTrip<Headsets>(eDataTagHeadsetPriorities, 3);
}

TEST_F(TableClasses, FillARecordForEachRow)
{
    Encryptions encryptions;
    encryptions.initializeIndexMax();
    DataTagValue_t values = column(eDataTagSRTPEncryptionMethod1, "43210");
    values.merge(column(eDataTagSRTPEncryptionRank1, "12345"));
    values.merge(column(eDataTagSRTPEncryptionAllowed1, "+-+-+"));
    values.merge(column(eDataTagSRTPEncryptionHardwareAllowed1, "++-++"));
    std::vector<Encryptions::SRTPEncryptionData> methods;
    EXPECT_TRUE(encryptions.checkSaneValues(values, methods));
    ASSERT_EQ(methods.size(), 5U);
    for (int row = 0; row < 5; ++row) {
        auto const& record = methods[static_cast<std::size_t>(row)];
        EXPECT_EQ(record.method, 4 - row);
        EXPECT_EQ(record.rank, row + 1);
        EXPECT_EQ(record.allowed, row % 2 == 0) << row;
        EXPECT_EQ(record.hwAllowed, row != 2) << row;
    }

    Headsets headsets;
    headsets.initializeIndexMax();
    values = column(eDataTagHeadsetType1, "201");
    values.merge(column(eDataTagHeadsetRank1, "311"));
    values.merge(column(eDataTagHeadsetAllowed1, "-++"));
    values.merge(column(eDataTagHeadsetHardwareAllowed1, "+++"));
    std::vector<Headsets::HeadsetData> types;
    EXPECT_FALSE(headsets.checkSaneValues(values, types)) << "a rank twice";
    ASSERT_EQ(types.size(), 3U);
    EXPECT_EQ(types[0].type, 2);
    EXPECT_EQ(types[0].rank, 3);
    EXPECT_FALSE(types[0].allowed);
    EXPECT_TRUE(types[2].hwAllowed);
}

TEST_F(TableClasses, CheckCodecsAndRestoreTagsAsFreeFunctions)
{
    DataTagValue_t cells = range(eDataTagCodecType1, eDataTagCodecPacketSize4);
    cells.merge(column(eDataTagCodecHardwareAllowed0, "++++"));
    EXPECT_TRUE(isCodecTableValid(cells));
    cells[eDataTagCodecType1] = "4";
    EXPECT_FALSE(isCodecTableValid(cells));

    platform.answerOrdinarily();
    Media::MediaDataCache::init(platform);
    DataTagValue_t values{{eDataTagRingerVolume, "8"}};
    restoreMissingTableTags(values, {{eDataTagRingerVolume, ""},
                                     {eDataTagRingerEnabled, ""},
                                     {eDataTagRingerMelody, ""},
                                     {static_cast<eDataTag>(eDataTagEnd), ""}});
    EXPECT_EQ(values,
              (DataTagValue_t{{eDataTagRingerVolume, "8"}, {eDataTagRingerEnabled, "true"}, {eDataTagRingerMelody, "0"}}));
    Media::MediaDataCache::terminate();
}

TEST_F(TableClasses, CountTheRowsOfRingingThemselves)
{
    Handler::DataTableDistinctiveRinging ringing; // nobody told it how many rows it has
    DataTagValue_t cells;
    ringing.getTableItemTags(cells);
    EXPECT_EQ(cells.size(), 91U);
    EXPECT_TRUE(ringing.tableItemsToXml(cells));
    EXPECT_NE(cells[eDataTagDistinctiveRinging].find("<DistinctiveRingerIndex>14</DistinctiveRingerIndex>"),
              std::string::npos);
    for (auto const& [row, text] : std::map<std::string, std::string>{{"14", "boss"}, {"15", ""}, {"-1", ""}}) {
        cells[eDataTagAlertIdentifier14].clear();
        cells[eDataTagDistinctiveRinging] = "<Entry><DistinctiveRingerIndex>" + row +
                                            "</DistinctiveRingerIndex><AlertIdentifier>boss</AlertIdentifier></Entry>";
        ringing.xmlToTableItems(cells, true);
        EXPECT_EQ(cells[eDataTagAlertIdentifier14], text) << row;
    }
}

TEST_F(TableClasses, AndTheManagementSourceLinkFromTheSharedLibrary)
{
    DataSourceOCMS source(platform, eDataComponentMedia, {}, {eDataTagRingerVolume}, nullptr, nullptr);
    MgmtAgentIfc& agent = source;
    EXPECT_FALSE(agent.resetUserData());
    EXPECT_TRUE(DataSourceOCMS::verifyDataTable());
    DataTagValue_t pickup;
    Handler::DataTableGroupPickupDependentTags().getTableItemTags(pickup);
    EXPECT_EQ(pickup.size(), 4U);
    DataTagValue_t openers;
    Handler::DataTableDoorOpenerTypeDependentTags().getTableItemTags(openers);
    EXPECT_EQ(openers.size(), 57U);
}

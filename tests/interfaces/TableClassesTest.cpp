// The table classes as a client finds them in the shared library.
#include "../library/TablesTest.h"

#include "Data/DataSourceOCMS.h"
#include "Data/DataTableDistinctiveRinging.h"
#include "Data/DataTableSRTPEncryptionSetting.h"
#include "Media/MediaDataCache.h"

using Encryptions = DataSourceDB::DataTableHandler::DataTableSRTPEncryptionSetting;

using Ringing = DataSourceDB::DataTableHandler::DataTableDistinctiveRinging;

using TableClasses = StoredTables;

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
}

TEST_F(TableClasses, ParseFromTheirFirstRowWhateverWasCalledBefore)
{
    struct Parsing : Encryptions {
        std::string state() const { return m_currentElement + std::to_string(m_rowIndex) + (m_target ? "+" : ""); }
    } table;
    table.initializeIndexMax();
    for (char const* const name : {"Entry", "Entry", "Method"})
        Encryptions::XMLStart(&table, name, nullptr);
    DataTagValue_t values;
    table.getTableItemTags(values);
    values[eDataTagSRTPEncryptionSettings] = "<Schema><Entry><Method>4</Method><Rank>1</Rank></Entry></Schema>";
    EXPECT_TRUE(table.processReadData(values, true));
    EXPECT_EQ(values[eDataTagSRTPEncryptionMethod1] + values[eDataTagSRTPEncryptionRank1], "41");
    EXPECT_EQ(table.state(), "-1");
}

TEST_F(TableClasses, OfRingingReadAndWriteFifteenRowsThatNobodyIndexed)
{
    Ringing table;
    DataTagValue_t values = range(eDataTagDistinctiveRinging, eDataTagRingerFile14);
    values[eDataTagDistinctiveRinging] = "<Entry><DistinctiveRingerIndex>14</DistinctiveRingerIndex>"
                                         "<AlertIdentifier>boss</AlertIdentifier></Entry>";
    EXPECT_TRUE(table.processReadData(values, true));
    EXPECT_EQ(values[eDataTagAlertIdentifier14], "boss");
    EXPECT_TRUE(table.tableItemsToXml(values));
    EXPECT_TRUE(values[eDataTagDistinctiveRinging].find("Index>14</") != std::string::npos);
}

TEST_F(TableClasses, AndTheSourcesFindTheirRowsInPlace)
{
    EXPECT_TRUE(DataCache::DataItemBuilder::verifyDataTable());
    EXPECT_TRUE(DataSourceDB::verifyDataTable());
    EXPECT_TRUE(DataSourceOCMS::verifyDataTable());
    EXPECT_TRUE(platform.logs().empty());
}

TEST_F(TableClasses, RestoreTagsWithWhatTheRunningLibraryHolds)
{
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

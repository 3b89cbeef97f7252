// The table classes as a client finds them in the shared library.
#include "../library/TablesTest.h"

#include "Data/DataTableSRTPEncryptionSetting.h"
#include "Media/MediaDataCache.h"

using Encryptions = DataSourceDB::DataTableHandler::DataTableSRTPEncryptionSetting;

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

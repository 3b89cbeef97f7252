// The library's units by themselves: without cells, and with tags that the cache keeps from them.
#include "ManagementFixture.h"
#include "TablesTest.h"

#include "Data/BulkData.h"
#include "Data/DataItem.h"
#include "Data/DataSourceDB.h"
#include "Data/DataTableCodecSetting.h"
#include "Data/DataTableHeadsetPriorities.h"
#include "Media/MediaDataCache.h"

using Handler = DataSourceDB::DataTableHandler;
using Media::MediaDataCache;

namespace {

struct UnitsAlone : StoredTables {
    UnitsAlone()
    {
        platform.answerOrdinarily();
        platform.logLevel(9);
    }
    ~UnitsAlone() override { MediaDataCache::terminate(); }

    std::string reason;
};

} // namespace

TEST_F(UnitsAlone, ADatabaseSourceSendsOnlyWholeRows)
{
    DataSourceDB source(platform, {eDataTagCodecSettings}, nullptr);
    DataItem<std::string> table(eDataTagCodecSettings, eDataSourceDB);
    std::string const row = "<CodecType>1</CodecPacketSize>";
    for (auto const& [text, rows] : {std::pair<std::string, std::size_t>{"</CodecPacketSize><CodecType>", 0},
                                     {row + "<CodecType>", 1},
                                     {row + "x" + row, 2}}) {
        platform.clearJournal();
        ASSERT_TRUE(table.setValueString(text, reason));
        source.writeDataValue(eDataTagCodecSettings, &table);
        EXPECT_EQ(platform.calls({"setDataItems"}).size(), rows) << text;
    }
}

TEST_F(UnitsAlone, ACacheAnswersFalseWhileItsStoragesGo)
{
    auto going = std::make_unique<DataCache>(platform, std::list<eDataTag>{}, eDataComponentMedia);
    bool stored = true;
    platform.onCall([&stored, data = going.get()](Scripted::Call const& call) {
        if (call.name == "~DataStorage")
            stored = data->setData(eDataTagRingerVolume, 4, false);
    });
    going.reset();
    platform.onCall({});
    EXPECT_FALSE(stored);
}

TEST_F(UnitsAlone, TablesWithoutTheirCellsAreNeitherStoredNorInvented)
{
    DataTagValue_t toStore;
    Handler::DataTableCodecSetting codec;
    Handler::DataTableHeadsetPriorities headset;
    codec.initializeIndexMax();
    headset.initializeIndexMax();
    EXPECT_EQ(codec.checkTableData(toStore, toStore), Handler::eTableRejected);
    DataTagValue_t foreign{{eDataTagRingerVolume, "5"}, {tag(300), "x"}};
    EXPECT_EQ(headset.checkTableData(foreign, toStore), Handler::eTableCorrupt);
    DataTagValue_t gap = range(eDataTagCodecSettings, eDataTagCodecHardwareAllowed3);
    gap.erase(tag(eDataTagCodecAllowed1 + 3));
    EXPECT_EQ(codec.checkTableData(gap, toStore), Handler::eTableValid);
    EXPECT_EQ(toStore[eDataTagCodecSettings], "") << "no text of a table with a gap";
    DataTagValue_t cellless{{eDataTagCodecSettings, "<Entry><CodecType>1</CodecType></Entry>"}};
    EXPECT_TRUE(codec.processReadData(cellless, false));
    EXPECT_EQ(cellless.size(), 1U);
    DataTagValue_t untold{{eDataTagCodecSettings, ""}};
    EXPECT_TRUE(Handler::DataTableCodecSetting().processReadData(untold, false));
    EXPECT_EQ(untold, cellless) << "the default text has all rows, whatever the table was told";
}

TEST_F(UnitsAlone, ACachePassesOverTagsItDoesNotKnow)
{
    MediaDataCache::init(platform); // bulks ask it for types
    DataCache alone(platform, {}, eDataComponentMedia);
    DataTagValue_t values{{tag(-1), "x"}, {tag(900), "x"}, {eDataTagQosStatistics, ""}};
    alone.getDataValues(values);
    EXPECT_EQ(values[tag(900)], "x");
    EXPECT_TRUE(alone.setDataValues(values, rejected, true, true));
    EXPECT_EQ(rejected, DataTagValue_t{}) << "an action is taken although its value is the present one";
    BulkData bulk;
    for (eDataTag const wanted : {eDataTagRingerVolume, eDataTagRingerAudioFile, tag(900)})
        bulk.addTag(wanted);
    EXPECT_FALSE(alone.getDataBulk(bulk)) << "all but the unknown tag are read";
    EXPECT_EQ(bulk.serialize(), "<item><tag>61</tag><value>3</value></item><item><tag>63</tag><value></value></item>");
    for (int const number : {-2, -1, eDataTagEnd + 1, eDataTagEnd + 2, eDataTagEnd + 3})
        EXPECT_EQ(DataCache::DataItemBuilder::findDataRecord(tag(number)), nullptr) << number;
    alone.clearDataMap();
    int volume = 7;
    EXPECT_FALSE(alone.getData(eDataTagRingerVolume, volume));
}

// The library's units by themselves: without cache, service, cells or records, and with tags and texts that the cache keeps
// from them. Each answers and changes nothing.
#include "ManagementFixture.h"
#include "TablesTest.h"

#include "../Records.h"
#include "Data/BulkData.h"
#include "Data/DataItem.h"
#include "Data/DataSourceDB.h"
#include "Data/RankedTables.h"
#include "DataSourceDBTables/DataTableCodecSetting.h"
#include "DataSourceDBTables/DataTableDistinctiveRinging.h"
#include "DataSourceDBTables/DataTableDoorOpenerTypeDependentTags.h"
#include "DataSourceDBTables/DataTableGroupPickupDependentTags.h"
#include "DataSourceDBTables/DataTableHeadsetPriorities.h"
#include "Media/MediaDataCache.h"

using Builder = DataCache::DataItemBuilder;
using Handler = DataSourceDB::DataTableHandler;
using Media::MediaDataCache;

namespace {

constexpr eDataTag beyond = tag(eDataTagEnd + 1);

/// A table before it was told how many rows it has.
template <class Table> struct Unindexed : Table {
    bool build(DataTagValue_t& values)
    {
        this->m_indexMax = 0;
        return this->tableItemsToXml(values);
    }
};

struct Deaf : DataUpdateCallback {
    void onDataUpdate(BulkData&) override {}
};

class UnitsAlone : public StoredTables {
protected:
    UnitsAlone()
    {
        platform.emptyDatabase();
        platform.managementAnswersNothing();
        platform.managementAccepts(true);
        platform.logLevel(9);
    }
    ~UnitsAlone() override { MediaDataCache::terminate(); }

    std::string reason;
};

} // namespace

TEST_F(UnitsAlone, AManagementSourceWithoutCacheOrServiceAnswersWhatItCan)
{
    std::string text = "untouched";
    auto volume = record("ringer-volume", "5");
    DataSourceOCMS alone(platform, eDataComponentMedia, {country}, tagList(1, 629), nullptr, nullptr);
    EXPECT_TRUE(alone.setData(volume) && alone.getData(volume));
    alone.manageableDataChanged(volume);
    EXPECT_FALSE(alone.resetUserData() || alone.setData(tag(-1), "5") || alone.getData(beyond, text));
    DataTagValue_t values{{eDataTagRingerVolume, "5"}, {country, "DE"}};
    for (std::size_t const failing : {0U, 1U, 2U}) { // none, the report, the request
        platform.failCall(failing);
        EXPECT_EQ(alone.setData(values), failing == 0);
    }
    platform.managementMissing();
    DataSourceOCMS cutOff(platform, eDataComponentMedia, {country}, tagList(1, 629), nullptr, nullptr);
    EXPECT_FALSE(cutOff.getData(eDataTagRingerVolume, text) || cutOff.setData(country, "DE") || cutOff.setData(values));
    EXPECT_EQ(text, "untouched");
}

TEST_F(UnitsAlone, ADatabaseSourceRefusesWhatItDoesNotKnowAndSendsOnlyWholeRows)
{
    DataSourceDB source(platform, {tag(-1), beyond, eDataTagRingerVolume, eDataTagCodecSettings}, nullptr);
    struct Textless : DataItemBase {
        Textless() : DataItemBase(eDataTagRingerVolume, eDataSourceDB, nullptr, nullptr) {}
    } textless;
    for (bool const stored : {false, true}) {
        for (eDataTag const each : {tag(-1), beyond, eDataTagRingerVolume})
            for (DataItemBase* const item : std::initializer_list<DataItemBase*>{nullptr, &textless})
                EXPECT_FALSE(source.readDataValue(each, item) || source.writeDataValue(each, item)) << each << stored;
        platform.database("AudioSettings", "RingerVolume", "4");
    }
    DataItem<int> volume(eDataTagRingerVolume, eDataSourceDB);
    platform.failCall(1);
    EXPECT_FALSE(source.writeDataValue(eDataTagRingerVolume, &volume));
    EXPECT_EQ(platform.databaseText("AudioSettings", "RingerVolume"), "4");

    DataItem<std::string> table(eDataTagCodecSettings, eDataSourceDB);
    std::string const row = "<CodecType>1</CodecPacketSize>";
    for (auto const& [text, rows] : std::map<std::string, std::size_t>{{"<CodecType>1</CodecType>", 0},
                                                                       {"</CodecPacketSize><CodecType>", 0},
                                                                       {row + "<CodecType>", 1},
                                                                       {row + "x" + row, 2}}) {
        platform.clearJournal();
        ASSERT_TRUE(table.setValueString(text, reason));
        source.writeDataValue(eDataTagCodecSettings, &table);
        EXPECT_EQ(platform.calls({"setDataItems"}).size(), rows) << text;
    }
}

TEST_F(UnitsAlone, TablesWithoutTheirCellsKeepWhatTheyWereGiven)
{
    DataTagValue_t none;
    DataTagValue_t toStore;
    Handler::DataTableCodecSetting codec;
    Handler::DataTableHeadsetPriorities headset;
    Handler::DataTableDistinctiveRinging ringing;
    for (Handler::DataTable* const table : std::initializer_list<Handler::DataTable*>{&codec, &headset, &ringing}) {
        table->initializeIndexMax();
        EXPECT_TRUE(table->processReadData(none, true) && none.empty());
    }
    for (DataTagValue_t foreign :
         {DataTagValue_t{{eDataTagRingerVolume, "5"}, {tag(300), "x"}}, DataTagValue_t{{eDataTagHeadsetType1, "-1"}}})
        EXPECT_EQ(headset.checkTableData(foreign, toStore), Handler::eTableCorrupt);
    EXPECT_FALSE(Unindexed<Handler::DataTableHeadsetPriorities>().build(none));
    EXPECT_FALSE(Unindexed<Handler::DataTableDistinctiveRinging>().build(none));
    for (bool const clearFiles : {false, true}) {
        DataTagValue_t files{{eDataTagDistinctiveRinging, ""}, {eDataTagRingerFile14, "b"}, {tag(300), "x"}};
        EXPECT_TRUE(ringing.processReadData(files, clearFiles));
        EXPECT_EQ(files[eDataTagRingerFile14], clearFiles ? "" : "b");
    }
    EXPECT_EQ(codec.checkTableData(none, toStore), Handler::eTableRejected);
    DataTagValue_t gap = range(eDataTagCodecSettings, eDataTagCodecHardwareAllowed3);
    gap.erase(tag(eDataTagCodecAllowed1 + 3));
    EXPECT_EQ(codec.checkTableData(gap, toStore), Handler::eTableValid);
    EXPECT_EQ(toStore[eDataTagCodecSettings], "") << "no text of a table with a gap";
    DataTagValue_t cellless{{eDataTagCodecSettings, "<Entry><CodecType>1</CodecType></Entry>"}};
    EXPECT_TRUE(headset.processReadData(cellless, false) && codec.processReadData(cellless, false));
    EXPECT_EQ(cellless.size(), 1U);
    DataTagValue_t noCamera{{eDataTagDoorOpener1DirectVideo, "5"}};
    EXPECT_EQ(Handler::DataTableDoorOpenerTypeDependentTags().checkTableData(noCamera, toStore), Handler::eTableStoreCells);
    // A type that is none stays; of one that is, missing flags count as true.
    for (auto const& [type, becomes] : std::map<std::string, std::string>{{"-1", "-1"}, {"4", "4"}, {"0", "2"}}) {
        DataTagValue_t flagless{{eDataTagGroupPickup, "0"}, {eDataTagGroupPickupToneType, type}};
        EXPECT_EQ(Handler::DataTableGroupPickupDependentTags().checkTableData(flagless, toStore),
                  type == becomes ? Handler::eTableValid : Handler::eTableStoreCells);
        EXPECT_EQ(flagless[eDataTagGroupPickupToneType], becomes);
    }
    EXPECT_TRUE(Handler({eDataTagCodecSettings}, nullptr).writeTablesToDB(none));
    Handler({eDataTagCodecSettings}, nullptr).readDataFromTables(false);
    DataTagValue_t const ranks{{eDataTagHeadsetRank1, "2"}, {eDataTagHeadsetRank2, "1"}};
    DataTagValue_t sorted = ranks;
    std::vector columns{eDataTagHeadsetRank1};
    Utils::sortHeadsetsByRank(sorted, 0);
    Utils::sortTableByRank(sorted, 2, eDataTagHeadsetRank1, tag(eDataTagHeadsetRank1 - 1), columns);
    EXPECT_EQ(sorted, ranks) << "a table without rows";
    Utils::sortTableByRank(sorted, 5, eDataTagHeadsetRank1, eDataTagHeadsetRank2, columns);
    EXPECT_EQ(sorted[eDataTagHeadsetRank1], "1") << "more rows than ranks";
}

TEST_F(UnitsAlone, WhatAResetDropsIsTakenFromTheRunningLibrary)
{
    struct Dropping : CellStore {
        void dbCBResetSelectedToDefault(DataTagValue_t& values) override
        {
            CellStore::dbCBResetSelectedToDefault(values);
            for (eDataTag const dropped : {eDataTagHeadsetPriorities, eDataTagHeadsetType1, eDataTagHeadsetAllowed1})
                values.erase(dropped);
        }
    } cellsOfReset;
    for (bool const running : {false, true}) {
        if (running)
            MediaDataCache::init(platform);
        platform.clearLogs();
        Handler tables({eDataTagHeadsetPriorities}, &cellsOfReset);
        cellsOfReset.take(column(eDataTagHeadsetAllowed1, "---")); // corrupt: none is left
        tables.setTableChanged(eDataTagHeadsetPriorities);
        EXPECT_FALSE(tables.writeTablesToDB(rejected));
        Texts const errors = platform.logs(2);
        EXPECT_EQ(std::count(errors.begin(), errors.end(), "Could not reset table to default, check failed"), !running);
    }
}

TEST_F(UnitsAlone, ACacheWithoutItemsAnswersFalse)
{
    MediaDataCache::init(platform); // bulks ask it for types
    DataCache cache(platform, {}, eDataComponentMedia);
    DataTagValue_t values{
        {tag(-1), "x"}, {tag(900), "x"}, {eDataTagSubmitResendLatestQdcReport, ""}, {eDataTagQosStatistics, ""}};
    cache.getDataValues(values);
    EXPECT_EQ(values[tag(900)], "x") << "unknown tags are passed over";
    EXPECT_TRUE(cache.setDataValues(values, rejected, true, true));
    EXPECT_EQ(rejected, DataTagValue_t{}) << "an action is taken although its value is the present one";
    BulkData bulk;
    bulk.setTagWrittenToDb(eDataTagRingerVolume, true);
    for (eDataTag const wanted : {eDataTagRingerVolume, eDataTagGroupPickupAsRinger, eDataTagRingerAudioFile, tag(900)})
        bulk.addTag(wanted);
    EXPECT_FALSE(cache.getDataBulk(bulk)) << "all but the unknown tag are read";
    EXPECT_EQ(bulk.serialize(), "<item><tag>61</tag><value>3</value></item><item><tag>63</tag><value></value></item>"
                                "<item><tag>69</tag><value>true</value></item>");
    Deaf deaf;
    EXPECT_TRUE(cache.registerCallback({eDataTagCodecSettings}, &deaf));
    EXPECT_TRUE(cache.setData(eDataTagCodecPacketSize1, 5, false)) << "of a whole table nobody is told";
    cache.clearDataMap();
    cache.unregisterCallback(nullptr);
    int volume = 7;
    EXPECT_FALSE(cache.getData(eDataTagRingerVolume, volume));
}

TEST_F(UnitsAlone, TheBuilderMakesNothingOfUnknownTagsAndNothingTwice)
{
    EXPECT_EQ(Builder::createDataItem(tag(0), eDataSourceDB), nullptr);
    EXPECT_EQ(Builder::createDataItem(tag(eDataTagEnd), eDataSourceDB), nullptr);
    std::map<eDataTag, DataItemBase*> items;
    std::list<eDataTag> added;
    Builder::addIntoDataMap({eDataTagRingerVolume, eDataTagRingerVolume}, false, items, added);
    EXPECT_EQ(added, std::list{eDataTagRingerVolume});
    delete items.at(eDataTagRingerVolume);

    DataItem<int> item(eDataTagRingerVolume, eDataSourceDB);
    std::set<DataUpdateCallback*> callbacks;
    EXPECT_FALSE(item.getCallbacks(callbacks)) << "unchanged";
    EXPECT_TRUE(item.setValue(5, reason));
    EXPECT_FALSE(item.getCallbacks(callbacks)) << "nobody to tell";
    Deaf listeners[3];
    for (int const place : {1, 1, 0})
        item.addCallback(&listeners[place]);
    EXPECT_EQ(item.callbacks().size(), 2U) << "nobody is told twice";
    for (int const place : {0, 2})
        item.removeCallback(&listeners[place]);
    EXPECT_TRUE(item.setValue(6, reason) && item.getCallbacks(callbacks));
    EXPECT_EQ(callbacks, std::set<DataUpdateCallback*>{&listeners[1]});
    DataItem<bool> wrong(eDataTagRingerEnabled, eDataSourceDB, nullptr, new DataValidatorIntRange(0, 1, nullptr));
    EXPECT_FALSE(wrong.setValue(true, reason)) << "a validator of another type";
    DataValidatorIntRange const chain(0, 10, new DataValidatorBasePort(4, 20, nullptr));
    EXPECT_TRUE(chain.validate(4, reason));
    EXPECT_FALSE(chain.validate(2, reason)) << "the second validator has its say";
    EXPECT_EQ(reason, "The provided value '2' is not in valid range 4..20");
}

TEST_F(UnitsAlone, ManagementHearsOfEveryCellOutOfRange)
{
    MediaDataCache::init(platform);
    using Case = std::pair<std::string, std::string>;
    for (auto const& [subItem, value] : {Case{"codec[1]/rank", "0"}, Case{"codec[1]/rank", "5"}, Case{"codec[1]/type", "4"},
                                         Case{"codec[1]/type", "-1"}, Case{"codec[1]/packetSize", "6"}}) {
        auto request = record({{"codecSettings", "codec[1]/type", "3"},
                               {"codecSettings", subItem, value},
                               {"SRTPEncryptionSettings", "SRTPEncryption[1]/rank", "9"}});
        EXPECT_FALSE(MediaDataCache::setDataOcms(request));
        auto const& reasons = request.rejectReasons();
        EXPECT_TRUE(std::any_of(reasons.begin(), reasons.end(),
                                [&wanted = subItem](auto const& each) { return each.subItem == wanted; }))
            << subItem << " " << value;
    }
}

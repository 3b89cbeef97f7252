// The library's units by themselves: without cache, service, cells or records, and with tags and texts that the cache keeps
// from them. Each answers and changes nothing.
#include "ManagementFixture.h"
#include "TablesTest.h"

#include "Data/BulkData.h"
#include "Data/DataItem.h"
#include "Data/DataSourceDB.h"
#include "Data/DataSourceFile.h"
#include "Data/RankedTables.h"
#include "DataSourceDBTables/DataTableCodecSetting.h"
#include "DataSourceDBTables/DataTableDistinctiveRinging.h"
#include "DataSourceDBTables/DataTableDoorOpenerTypeDependentTags.h"
#include "DataSourceDBTables/DataTableGroupPickupDependentTags.h"
#include "DataSourceDBTables/DataTableHeadsetPriorities.h"
#include "Media/MediaDataCache.h"

#include <filesystem>

using Builder = DataCache::DataItemBuilder;
using Handler = DataSourceDB::DataTableHandler;

namespace {

/// A table before it was told how many rows it has.
template <class Table> struct Unindexed : Table {
    bool build(DataTagValue_t& values)
    {
        this->m_indexMax = 0;
        return this->tableItemsToXml(values);
    }
};

class UnitsAlone : public TablesTest {
protected:
    UnitsAlone()
    {
        platform.emptyDatabase();
        platform.managementAnswersNothing();
        platform.managementAccepts(true);
        platform.logLevel(9);
    }
};

struct Deaf : DataUpdateCallback {
    void onDataUpdate(BulkData&) override {}
};

} // namespace

TEST_F(UnitsAlone, AManagementSourceWithoutCacheOrServiceAnswersWhatItCan)
{
    DataSourceOCMS alone(platform, eDataComponentMedia, {country}, tagList(1, 629), nullptr, nullptr);
    ManageableData record;
    record.populate("ringer-volume", "ringer-volume", "5");
    EXPECT_TRUE(alone.setData(record));
    for (int const level : {2, 9}) {
        ManageableData nothing;
        platform.logLevel(level);
        EXPECT_TRUE(alone.setData(nothing));
    }
    EXPECT_EQ(platform.logs(3), Texts{"DataSourceOCMS::setData -> no tags found\n"});
    EXPECT_TRUE(alone.getData(record));
    alone.manageableDataChanged(record);
    EXPECT_FALSE(alone.resetUserData());

    platform.managementMissing();
    DataSourceOCMS cutOff(platform, eDataComponentMedia, {country}, tagList(1, 629), nullptr, nullptr);
    std::string text = "untouched";
    DataTagValue_t values{{eDataTagRingerVolume, "5"}};
    EXPECT_FALSE(cutOff.getData(eDataTagRingerVolume, text));
    EXPECT_EQ(text, "untouched");
    EXPECT_FALSE(cutOff.setData(eDataTagRingerVolume, "5"));
    EXPECT_FALSE(cutOff.setData(values));
    EXPECT_FALSE(alone.setData(tag(-1), "5"));
    EXPECT_FALSE(alone.getData(tag(eDataTagEnd + 1), text));
}

TEST_F(UnitsAlone, AFailedRequestMakesAPushFalseEvenWhenTheReportWasTaken)
{
    DataSourceOCMS source(platform, eDataComponentMedia, {country}, tagList(1, 629), nullptr, nullptr);
    for (std::size_t const failing : {0U, 1U, 2U}) { // none, the report, the request
        DataTagValue_t values{{eDataTagRingerVolume, "5"}, {country, "DE"}};
        platform.failCall(failing);
        EXPECT_EQ(source.setData(values), failing == 0);
    }
}

TEST_F(UnitsAlone, ADatabaseSourceRefusesTagsAndItemsThatItDoesNotKnow)
{
    DataSourceDB source(platform, {tag(-1), tag(eDataTagEnd + 1), eDataTagRingerVolume, eDataTagCodecSettings}, nullptr);
    struct Bare : DataItemBase {
        Bare() : DataItemBase(eDataTagRingerVolume, eDataSourceDB, nullptr, nullptr) {}
    } bare;
    for (eDataTag const unknown : {tag(-1), tag(eDataTagEnd + 1)}) {
        EXPECT_FALSE(source.readDataValue(unknown, &bare));
        EXPECT_FALSE(source.writeDataValue(unknown, &bare));
    }
    EXPECT_FALSE(source.readDataValue(eDataTagRingerVolume, &bare)) << "never stored, and nobody to tell";
    platform.database("AudioSettings", "RingerVolume", "4");
    EXPECT_FALSE(source.readDataValue(eDataTagRingerVolume, nullptr));
    EXPECT_FALSE(source.readDataValue(eDataTagRingerVolume, &bare));
    EXPECT_FALSE(source.writeDataValue(eDataTagRingerVolume, nullptr));
    EXPECT_FALSE(source.writeDataValue(eDataTagRingerVolume, &bare)) << "an item without a text";
    DataItem<int> volume(eDataTagRingerVolume, eDataSourceDB);
    platform.failCall(1);
    EXPECT_FALSE(source.writeDataValue(eDataTagRingerVolume, &volume));
    EXPECT_EQ(platform.databaseText("AudioSettings", "RingerVolume"), "4");
}

TEST_F(UnitsAlone, OnlyWholeRowsOfATablesTextAreSent)
{
    DataSourceDB source(platform, {eDataTagCodecSettings}, nullptr);
    DataItem<std::string> item(eDataTagCodecSettings, eDataSourceDB);
    std::string reason;
    struct {
        char const* text;
        std::size_t rows;
    } const cases[]{{"", 0},
                    {"<CodecType>1</CodecType>", 0},
                    {"</CodecPacketSize>", 0},
                    {"</CodecPacketSize><CodecType>", 0},
                    {"<CodecType>1</CodecPacketSize><CodecType>", 1},
                    {"<CodecType>1</CodecPacketSize>x<CodecType>2</CodecPacketSize>", 2}};
    for (auto const& one : cases) {
        platform.clearJournal();
        ASSERT_TRUE(item.setValueString(one.text, reason));
        source.writeDataValue(eDataTagCodecSettings, &item);
        EXPECT_EQ(platform.calls({"setDataItems"}).size(), one.rows) << one.text;
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
        EXPECT_TRUE(table->processReadData(none, true));
        EXPECT_EQ(none, DataTagValue_t{});
    }
    for (DataTagValue_t foreign :
         {DataTagValue_t{{eDataTagRingerVolume, "5"}, {tag(300), "x"}}, DataTagValue_t{{eDataTagHeadsetType1, "-1"}}})
        EXPECT_EQ(headset.checkTableData(foreign, toStore), Handler::eTableCorrupt);
    EXPECT_FALSE(Unindexed<Handler::DataTableHeadsetPriorities>().build(none));
    EXPECT_FALSE(Unindexed<Handler::DataTableDistinctiveRinging>().build(none));
    DataTagValue_t files{
        {eDataTagDistinctiveRinging, ""}, {eDataTagRingerFile0, "a"}, {eDataTagRingerFile14, "b"}, {tag(300), "x"}};
    EXPECT_TRUE(ringing.processReadData(files, false));
    EXPECT_EQ(files[eDataTagRingerFile0] + files[eDataTagRingerFile14], "ab");
    EXPECT_TRUE(ringing.processReadData(files, true));
    EXPECT_EQ(files[eDataTagRingerFile0] + files[eDataTagRingerFile14], "");

    EXPECT_EQ(codec.checkTableData(none, toStore), Handler::eTableRejected);
    DataTagValue_t gap = range(eDataTagCodecSettings, eDataTagCodecHardwareAllowed3);
    gap.erase(tag(eDataTagCodecAllowed1 + 3));
    EXPECT_EQ(codec.checkTableData(gap, toStore), Handler::eTableValid);
    EXPECT_EQ(toStore[eDataTagCodecSettings], "") << "no text of a table with a gap";
    DataTagValue_t cellless{{eDataTagCodecSettings, "<Entry><CodecType>1</CodecType></Entry>"}};
    EXPECT_TRUE(headset.processReadData(cellless, false) && codec.processReadData(cellless, false));
    EXPECT_EQ(cellless.size(), 1U);
    Handler::DataTableDoorOpenerTypeDependentTags doors;
    DataTagValue_t noCamera{{eDataTagDoorOpener1DirectVideo, "5"}};
    EXPECT_EQ(doors.checkTableData(noCamera, toStore), Handler::eTableStoreCells);

    Handler::DataTableGroupPickupDependentTags pickup;
    for (char const* const type : {"-1", "4"}) {
        DataTagValue_t unknown{{eDataTagGroupPickup, "0"}, {eDataTagGroupPickupToneType, type}};
        EXPECT_EQ(pickup.checkTableData(unknown, toStore), Handler::eTableValid);
    }
    DataTagValue_t noFlags{{eDataTagGroupPickup, "0"}, {eDataTagGroupPickupToneType, "0"}};
    EXPECT_EQ(pickup.checkTableData(noFlags, toStore), Handler::eTableStoreCells) << "missing flags count as true";
    EXPECT_EQ(noFlags[eDataTagGroupPickupToneType], "2");

    EXPECT_TRUE(Handler({eDataTagCodecSettings}, nullptr).writeTablesToDB(none));
    Handler({eDataTagCodecSettings}, nullptr).readDataFromTables(false);
    DataTagValue_t const ranks{{eDataTagHeadsetRank1, "2"}, {tag(eDataTagHeadsetRank1 + 1), "1"}};
    DataTagValue_t sorted = ranks;
    std::vector columns{eDataTagHeadsetRank1};
    Utils::sortHeadsetsByRank(sorted, 0);
    Utils::sortTableByRank(sorted, 2, eDataTagHeadsetRank1, tag(eDataTagHeadsetRank1 - 1), columns);
    EXPECT_EQ(sorted, ranks) << "a table without rows";
    Utils::sortTableByRank(sorted, 5, eDataTagHeadsetRank1, tag(eDataTagHeadsetRank1 + 1), columns);
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
    };
    for (bool const running : {false, true}) {
        if (running)
            Media::MediaDataCache::init(platform);
        platform.clearLogs();
        Dropping cells;
        Handler tables({eDataTagHeadsetPriorities}, &cells);
        for (int row = 0; row < 3; ++row)
            cells.cells[tag(eDataTagHeadsetAllowed1 + row)] = "false"; // corrupt: none is left
        tables.setTableChanged(eDataTagHeadsetPriorities);
        EXPECT_FALSE(tables.writeTablesToDB(rejected));
        Texts const errors = platform.logs(2);
        bool const failed =
            std::find(errors.begin(), errors.end(), "Could not reset table to default, check failed") != errors.end();
        EXPECT_EQ(failed, !running);
    }
    Media::MediaDataCache::terminate();
}

TEST_F(UnitsAlone, ACacheWithoutItemsAnswersFalse)
{
    Media::MediaDataCache::init(platform); // bulks ask it for types
    {
        DataCache cache(platform, {}, eDataComponentMedia);
        DataTagValue_t values{{tag(-1), "x"}, {tag(900), "x"}};
        EXPECT_TRUE(cache.setDataValues(values, rejected, true, true)) << "unknown tags are passed over";
        cache.getDataValues(values);
        EXPECT_EQ(values[tag(900)], "x");
        DataTagValue_t action{{eDataTagSubmitResendLatestQdcReport, ""}};
        cache.getDataValues(action);
        EXPECT_TRUE(cache.setDataValues(action, rejected, true, true));
        EXPECT_EQ(rejected, DataTagValue_t{}) << "an action is taken although its value is the present one";
        BulkData bulk;
        bulk.setTagWrittenToDb(eDataTagRingerVolume, true);
        for (eDataTag const wanted : {eDataTagRingerVolume, eDataTagGroupPickupAsRinger, eDataTagRingerAudioFile, tag(900)})
            bulk.addTag(wanted);
        EXPECT_FALSE(cache.getDataBulk(bulk)) << "all but the unknown tag are read";
        EXPECT_EQ(bulk.getTagsValues().size(), 3U);
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
    Media::MediaDataCache::terminate();
}

TEST_F(UnitsAlone, TheBuilderMakesNothingOfUnknownTagsAndNothingTwice)
{
    EXPECT_EQ(Builder::createDataItem(tag(0), eDataSourceDB), nullptr);
    EXPECT_EQ(Builder::createDataItem(tag(eDataTagEnd), eDataSourceDB), nullptr);
    for (int const level : {2, 9}) {
        platform.logLevel(level);
        std::map<eDataTag, DataItemBase*> items;
        std::list<eDataTag> added;
        Builder::addIntoDataMap({eDataTagRingerVolume, eDataTagRingerVolume}, false, items, added);
        EXPECT_EQ(added, std::list{eDataTagRingerVolume});
        EXPECT_EQ(items.size(), 1U);
        delete items.begin()->second;
    }

    DataItem<int> item(eDataTagRingerVolume, eDataSourceDB);
    std::set<DataUpdateCallback*> callbacks;
    std::string reason;
    EXPECT_FALSE(item.getCallbacks(callbacks)) << "unchanged";
    EXPECT_TRUE(item.setValue(5, reason));
    EXPECT_FALSE(item.getCallbacks(callbacks)) << "nobody to tell";
    Deaf listeners[3];
    for (int const place : {1, 1, 0})
        item.addCallback(&listeners[place]);
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
    Media::MediaDataCache::init(platform);
    using Case = std::pair<std::string, std::string>;
    for (auto const& [subItem, value] : {Case{"codec[1]/rank", "0"}, Case{"codec[1]/rank", "5"}, Case{"codec[1]/type", "4"},
                                         Case{"codec[1]/type", "-1"}, Case{"codec[1]/packetSize", "6"}}) {
        ManageableData record;
        record.populate("codecSettings", "codec[1]/type", "3");
        record.populate("codecSettings", subItem, value);
        record.populate("SRTPEncryptionSettings", "SRTPEncryption[1]/rank", "9");
        EXPECT_FALSE(Media::MediaDataCache::setDataOcms(record));
        bool named = false;
        for (auto const& each : record.rejectReasons())
            named = named || each.subItem == subItem;
        EXPECT_TRUE(named) << subItem << " " << value;
    }
    Media::MediaDataCache::terminate();
}

TEST_F(UnitsAlone, AFolderInTheFlagFilesPlaceSetsNothing)
{
    std::filesystem::create_directories(platform.directory() + "/data/database/media_config");
    DataTagValue_t flags;
    DataSourceFile().readConfigFile(flags);
    EXPECT_EQ(flags, DataTagValue_t{});
    std::filesystem::remove(platform.directory() + "/data/database/media_config");
    platform.flagFile("force_etsi\n");
    DataSourceFile().readConfigFile(flags);
    EXPECT_EQ(flags, (DataTagValue_t{{eDataTagForceEtsi, "true"}}));
}

TEST_F(UnitsAlone, TheFullServerAllowsEncryptionsThatOthersDoNot)
{
    Media::MediaDataCache::init(platform);
    for (auto const& [server, allowed] : {std::pair("another", false), std::pair("Norvane SIP", true)}) {
        ManageableData report;
        report.populate("software-type", "software-type", server);
        Media::MediaDataCache::manageableDataChanged(report);
        platform.management("software-type", "software-type", server);
        ManageableData request;
        request.setRootId("SRTPEncryptionSettings", nullptr);
        EXPECT_TRUE(Media::MediaDataCache::getDataOcms(request));
        bool flag = !allowed;
        EXPECT_TRUE(Media::MediaDataCache::getData(eDataTagSRTPEncryptionHardwareAllowed1, flag));
        EXPECT_EQ(flag, allowed) << server;
    }
    Media::MediaDataCache::terminate();
}

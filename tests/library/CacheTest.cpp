// Single values through the facade: reading, validating, storing, restoring, reporting, announcing.
#include "LibraryTest.h"

namespace {

using SingleValues = LibraryTest;

TEST_F(SingleValues, WithoutAnInstanceEveryOperationAnswersItsFallback)
{
    int number = 7;
    BulkData bulk;
    ManageableData record;
    EXPECT_FALSE(Cache::getData(eDataTagRingerVolume, number));
    EXPECT_FALSE(Cache::setData(eDataTagRingerVolume, number, true));
    EXPECT_EQ(number, 7);
    EXPECT_EQ((std::vector{Cache::setDataBulk(bulk), Cache::getDataBulk(bulk), Cache::registerCallback({}, &listener),
                           Cache::getDataOcms(record), Cache::setDataOcms(record), Cache::manageableDataChanged(record)}),
              std::vector<bool>(6));
    EXPECT_EQ(Cache::getItemType(eDataTagRingerVolume), eDataItemTypeInvalid);
    Cache::unregisterCallback(&listener);
    Cache::readUserDataFromSourceDB();
    Cache::resetDataSetUserAll();
    EXPECT_EQ(Cache::getCountry(), eCountryUnknown);
    EXPECT_EQ(Cache::getCountryRegion(), 1);
    EXPECT_EQ(Cache::managementAgent(), nullptr);
    EXPECT_FALSE(bulk.addTagValue(eDataTagRingerVolume, 3, false));
}

TEST_F(SingleValues, StartUpReadsEverythingWritesNothingAndAnnouncesNothing)
{
    platform.database("AudioSettings", "RingerVolume", "7");
    platform.database("AudioSettings", "HandsetVolume", "9");
    platform.database("ICESettings", "IceServerPwd0", Scripted::Platform::encrypted("secret"));
    Cache::init(platform);
    EXPECT_EQ(platform.calls({"setDataItem", "setDataItems"}).size(), 0U);
    for (auto const& call : platform.calls({"findDataAccessService", "getDataItem", "findService"}))
        EXPECT_EQ(call.lockDepth > 0, true) << call.text();
    EXPECT_EQ(presentText(eDataTagRingerVolume), "7");
    EXPECT_EQ(presentText(eDataTagHandsetVolume), "2") << "a stored value that the item refuses leaves the default";
    EXPECT_EQ(presentText(eDataTagIceServerPwd0), "secret");
    listen({eDataTagRingerVolume, eDataTagHeadsetVolume});
    EXPECT_TRUE(Cache::setData(eDataTagHeadsetVolume, 5, false));
    EXPECT_EQ(listener.heard, Texts{"51=5"});
    platform.clearJournal();
    Cache::init(platform);
    EXPECT_EQ(platform.journal().size(), 0U) << "a second start keeps the first instance";
}

/// One set of one value, and everything that can be seen of it.
struct SetCase {
    char const* name;
    std::function<bool()> set;
    bool result;
    std::vector<std::string> calls;
    std::string error;
    std::vector<std::string> heard;
    std::size_t failing = 0; ///< which platform call fails
};

template <class T> std::function<bool()> setting(eDataTag tag, T value, bool toManagement)
{
    return [=] { return Media::MediaDataCache::setData(tag, value, toManagement); };
}

std::string const store5 = "setDataItem AudioSettings RingerVolume 5 -> ";
std::string const report5 = "reportChanged ringer-volume=5 [ringer-volume] -> ";
std::string const pin = "setDataItem OcmsSettings DoorOpener1Pin enc(31323334:fdc422fd) -> true";
std::string const askDE = "requestSet country=DE -> ";
std::string const keyRequest = "requestSet function-key-def-32=x -> true";
std::string const range = "setDataValues - ERR invalid value given! 'The provided value '9' is not in valid range 1..8'";
std::string const noOcms = "setData - ERR failed to set OCMS value";
std::string const noItem = "setDataValue - ERR failed to set OCMS value";
std::string const noType = "setDataValue - ERR used wrong type in reading value for tag 61";
std::string const noStore = "setDataValue - ERR storing into db failed";
std::string const noFile = "setDataValue -> DATA_FILE not implemented ";
auto const asText = [](char const* value) { return std::string(value); };

SetCase const sets[]{
    {"new", setting(eDataTagRingerVolume, 5, false), true, {store5 + "true"}, "", {"61=5"}},
    {"reported", setting(eDataTagRingerVolume, 5, true), true, {store5 + "true", report5 + "true"}, "", {"61=5"}},
    {"unchanged", setting(eDataTagRingerVolume, 3, true), true, {}, "", {}},
    {"not stored", setting(eDataTagRingerVolume, 5, true), false, {store5 + "false"}, noStore, {"61=3"}, 1},
    {"untold", setting(eDataTagRingerVolume, 5, true), false, {store5 + "true", report5 + "false"}, noOcms, {"61=5"}, 2},
    {"out of range", setting(eDataTagRingerVolume, 9, true), false, {}, range, {}},
    {"wrong type", setting(eDataTagRingerVolume, true, false), false, {}, noType, {}},
    {"action unchanged", setting(eDataTagQosStatistics, asText(""), false), true, {}, "", {"37="}},
    {"without name", setting(eDataTagCodecHardwareAllowed0, false, true), false, {}, noOcms, {}},
    {"observed", setting(eDataTagCountry, asText("DE"), false), true, {askDE + "true"}, "", {"633=DE"}},
    {"observed, not taken", setting(eDataTagCountry, asText("DE"), false), false, {askDE + "false"}, noItem, {"633=DE"}, 1},
    {"not held", setting(eDataTagFunctionKeyDef32, asText("x"), false), true, {keyRequest}, "", {}},
    {"unknown", setting(static_cast<eDataTag>(-1), 1, false), false, {}, noItem, {}},
    {"file", setting(eDataTagOpusTest, true, true), true, {}, noFile, {"797=true"}},
    {"group pickup", setting(eDataTagGroupPickup, asText("1"), true), true, {}, "", {}},
    {"secret", setting(eDataTagDoorOpener1Pin, asText("1234"), false), true, {pin}, "", {"424=1234"}}};

TEST_F(SingleValues, ASetStoresReportsLogsAndAnnounces)
{
    for (auto const& [name, set, result, calls, error, heard, failing] : sets) {
        SCOPED_TRACE(name);
        platform.database("AudioSettings", "RingerVolume", "3");
        restart();
        listen({eDataTagRingerVolume, eDataTagRtpBasePort, eDataTagRingerEnabled, eDataTagQosStatistics, eDataTagCountry,
                eDataTagOpusTest, eDataTagDoorOpener1Pin});
        platform.failCall(failing);
        EXPECT_EQ(set(), result);
        EXPECT_EQ(platform.lines({"setDataItem", "setDataItems", "reportChanged", "requestSet"}), calls);
        EXPECT_EQ(platform.logs(2), error.empty() ? Texts{} : Texts{"DataCache::" + error + "\n"});
        EXPECT_EQ(listener.heard, heard);
    }
}

TEST_F(SingleValues, AValueAnnouncedDuringItsRefusedWriteIsTakenBackByTheNextPass)
{
    start();
    listen({eDataTagRingerVolume});
    platform.onCall([](auto const& call) {
        if (call.name == "setDataItem")
            Cache::setData(eDataTagHandsetVolume, 2, false);
    });
    platform.failCall(1);
    EXPECT_FALSE(Cache::setData(eDataTagRingerVolume, 5, false));
    platform.onCall({});
    Cache::setData(eDataTagHandsetVolume, 3, false);
    EXPECT_EQ(listener.heard, (Texts{"61=5", "61=3"}));
}

TEST_F(SingleValues, AMissingSchemaFailsItsTagsAndNoOthers)
{
    platform.schemaMissing("SipBaseSettings");
    Cache::init(platform);
    EXPECT_EQ(platform.lines({"findDataAccessService"}).size(), 13U) << "asked again for each further tag of the schema";
    platform.clearLogs();
    EXPECT_FALSE(Cache::setData(eDataTagCryptoContextUpdate, 1, false));
    EXPECT_EQ(platform.logs(2),
              (Texts{"DataSourceDB::findTagInfo - schema 'SipBaseSettings' not initialized/found in db storage\n",
                     "DataCache::setDataValue - ERR storing into db failed\n"}));
    EXPECT_TRUE(Cache::setData(eDataTagRingerVolume, 5, false));
}

TEST_F(SingleValues, ValuesItDoesNotHoldAreReadFromTheServiceEachTime)
{
    platform.management("function-key-def-100", "function-key-def-100", "dial");
    start();
    EXPECT_EQ(presentText(eDataTagFunctionKeyDef100), "dial");
    int number = 7;
    EXPECT_FALSE(Cache::getData(static_cast<eDataTag>(5000), number));
    EXPECT_EQ(number, 0) << "a failed read of what is not held overwrites the value";
    number = 7;
    EXPECT_FALSE(Cache::getData(eDataTagRingerEnabled, number));
    EXPECT_EQ(number, 7) << "a wrong type does not";
}

TEST_F(SingleValues, UnregisteringReachesTheLowestTagOnly)
{
    start();
    listen({eDataTagIceServerType, eDataTagRingerVolume});
    EXPECT_FALSE(Cache::registerCallback({eDataTagFunctionKeyDef100, eDataTagHeadsetVolume}, &listener));
    Cache::unregisterCallback(&listener);
    EXPECT_TRUE(Cache::setData(eDataTagIceServerType, 1, false));
    EXPECT_TRUE(Cache::setData(eDataTagRingerVolume, 5, false));
    EXPECT_TRUE(Cache::setData(eDataTagHeadsetVolume, 5, false));
    EXPECT_EQ(listener.heard, (Texts{"61=5", "51=5"}));
}

TEST_F(SingleValues, TheCountryFollowsTheObservedItem)
{
    start();
    EXPECT_EQ(Cache::getCountry(), eCountryUnknown);
    std::tuple<std::string, int, int> const cases[]{{"GB", 0, 1},  {"CA", 4, 0},  {"JP", 11, 0}, {"US", 19, 0},
                                                    {"KR", 38, 0}, {"UA", 39, 1}, {"gb", 40, 1}, {"GBR", 40, 1}};
    for (auto const& [code, country, region] : cases) {
        EXPECT_TRUE(Cache::setData(eDataTagCountry, code, false));
        EXPECT_EQ(Cache::getCountry(), country) << code;
        EXPECT_EQ(Cache::getCountryRegion(), region) << code;
    }
}

TEST_F(SingleValues, WhatAFailedEncryptionLeavesIsWritten)
{
    start();
    for (std::string const left : {"", "left over", "failure"}) {
        bool const isMark = left == "failure"; // which the database refuses
        platform.clearJournal();
        platform.failedEncryptionLeaves(left);
        platform.failCall(1);
        EXPECT_EQ(Cache::setData(eDataTagIceServerPwd0, "new, " + left, false), !isMark);
        EXPECT_EQ(platform.lines({"toEncryptedText", "setDataItem"}),
                  (Texts{"toEncryptedText new, " + left + " -> false", "setDataItem ICESettings IceServerPwd0 " +
                                                                           (left.empty() ? "\"\"" : left) + " -> " +
                                                                           (isMark ? "false" : "true")}));
    }
    EXPECT_EQ(presentText(eDataTagIceServerPwd0), "new, left over");
}

} // namespace

// One operation, one commit: what belongs together on a platform that stores groups, and what a group leaves that is not stored.
#include "LibraryTest.h"

#include "MgmtAgentIfc.h"

namespace {

using namespace std::string_literals;

struct WriteGroup : GroupingTest {
    /// The writes, pushes and limits of groups, shortened to what tells them apart.
    Texts trace()
    {
        Texts texts;
        for (auto const& call :
             platform.calls({"beginGroup", "endGroup", "setDataItem", "setDataItems", "reportChanged", "requestSet"})) {
            auto const text = call.name == "beginGroup"      ? "["
                              : call.name == "endGroup"      ? (call.result == "true" ? "]" : "!")
                              : call.name == "reportChanged" ? "report " + call.arguments[0]
                              : call.name == "requestSet"    ? "request " + call.arguments[0]
                              : call.name == "setDataItems"  ? call.arguments[0]
                                                             : call.arguments[1] + "=" + call.arguments[2];
            if (texts.empty() || texts.back() != text)
                texts.push_back(text);
        }
        platform.clearJournal();
        return texts;
    }

    bool set(ManageableData request) { return Cache::setDataOcms(request) && request.rejectReasons().empty(); }

    static BulkData bulkOf(std::map<eDataTag, int> const& values)
    {
        BulkData bulk;
        for (auto const& [tag, value] : values)
            EXPECT_TRUE(bulk.addTagValue(tag, value, false));
        return bulk;
    }
};

TEST_F(WriteGroup, OfSeveralWritesIsOneCommitAndReportsBehindItAndASingleOneStandsAlone)
{
    start();
    EXPECT_TRUE(Cache::setData(eDataTagRingerVolume, 4, true));
    EXPECT_TRUE(Cache::setData(eDataTagRingerVolume, 4, true));
    EXPECT_EQ(trace(), (Texts{"RingerVolume=4", "report ringer-volume=4"}));
    auto bulk = bulkOf({{eDataTagHandsetVolume, 7}, {eDataTagRingerVolume, 5}, {eDataTagCodecPacketSize1, 4}});
    EXPECT_TRUE(Cache::setDataBulk(bulk));
    EXPECT_EQ(trace(), (Texts{"[", "HandsetVolume=7", "RingerVolume=5", "CodecSettings", "]", "report handset-volume=7",
                              "report ringer-volume=5", "report codecSettings/codec[1]/packetSize=4"}));
    EXPECT_EQ(bulk.getTagsNotSetInDb(), std::set<eDataTag>());
    EXPECT_TRUE(set(record({{"ringer-volume", "ringer-volume", "6"},
                            {"alert-identifier-0", "alert-identifier-0", "boss"},
                            {"headsetPriorities", "headset[3]/allowed", "false"}})));
    EXPECT_EQ(trace(), (Texts{"[", "RingerVolume=6", "DistinctiveRinging", "HeadsetPriorities", "]"}));
    EXPECT_TRUE(Cache::setData(eDataTagCodecPacketSize1, 5, true));
    EXPECT_EQ(trace(), (Texts{"[", "CodecSettings", "]", "report codecSettings/codec[1]/packetSize=5"}));
    EXPECT_TRUE(Cache::setData(eDataTagGroupPickupToneType, 3, true));
    EXPECT_EQ(trace(), (Texts{"[", "GroupPickupToneType=3", "GroupPickupToneAllowed=false", "]",
                              "report group-pickup-tone-allowed=false", "report group-pickup-tone-type=3"}));
    EXPECT_FALSE(set(record("ringer-volume", "6")));
    EXPECT_EQ(trace(), Texts()) << "nothing changes, nothing is begun";
    Cache::managementAgent()->resetUserData();
    EXPECT_EQ(platform.calls({"endGroup"}).size(), 1U);
}

TEST_F(WriteGroup, ACallOfSomebodyElseEndsItAndAnotherFollows)
{
    start();
    listen({eDataTagCamera3DoorOpener});
    bool isNestedDurable = false;
    listener.onNews = [&] {
        EXPECT_TRUE(Cache::setData(eDataTagRingerVolume, 5, false));
        isNestedDurable = platform.databaseText("AudioSettings", "RingerVolume") == "5";
    };
    EXPECT_TRUE(Cache::setData(eDataTagDoorOpener2DirectVideo, 3, false));
    EXPECT_EQ(trace(), (Texts{"[", "DoorOpener2Directvideo=3", "Camera3Dooropener=2", "]", "RingerVolume=5"}));
    EXPECT_TRUE(isNestedDurable);
    EXPECT_EQ(listener.heard, Texts{"282=2"});

    BulkData bulk = bulkOf({{eDataTagHandsetVolume, 7}, {eDataTagRingerVolume, 6}});
    bulk.addTagValue(eDataTagCountry, "DE"s, false);
    bulk.addTagValue(eDataTagFunctionKeyDef100, "dial"s, false);
    platform.clearJournal();
    Cache::setDataBulk(bulk);
    EXPECT_EQ(trace(), (Texts{"[", "HandsetVolume=7", "RingerVolume=6", "]", "request country=DE",
                              "request function-key-def-100=dial", "report handset-volume=7", "report ringer-volume=6"}));
}

TEST_F(WriteGroup, UserDataThatIsReadAgainIsOne)
{
    start();
    auto bulk = bulkOf({{eDataTagHandsetVolume, 7}, {eDataTagRingerVolume, 6}});
    EXPECT_TRUE(Cache::setDataBulk(bulk));
    for (auto const* const element : {"HandsetVolume", "RingerVolume"})
        platform.database("AudioSettings", element, "failure");
    platform.clearJournal();
    Cache::readUserDataFromSourceDB();
    EXPECT_EQ(trace(), (Texts{"[", "HandsetVolume=2", "RingerVolume=3", "DistinctiveRinging", "]"}));
}

TEST_F(WriteGroup, WhatIsNotStoredIsTakenBackWithAllThatFollowedFromIt)
{
    start();
    EXPECT_TRUE(Cache::setData(eDataTagDoorOpener1Type, 2, false));
    EXPECT_TRUE(Cache::setData(eDataTagDoorOpener1DirectVideo, 2, false));
    auto const before = platform.stored().values;
    listen({eDataTagHandsetVolume});
    platform.logLevel(3);
    platform.clearLogs();
    auto bulk = bulkOf({{eDataTagHandsetVolume, 7}, {eDataTagCodecPacketSize1, 4}, {eDataTagDoorOpener1Type, 0}});
    platform.failGroups(true);
    EXPECT_FALSE(Cache::setDataBulk(bulk));
    platform.failGroups(false);
    EXPECT_EQ(bulk.getTagsNotSetInDb(),
              (std::set{eDataTagHandsetVolume, eDataTagCodecPacketSize1, eDataTagDoorOpener1Type}));
    EXPECT_EQ(platform.stored().values, before);
    EXPECT_EQ(platform.calls({"reportChanged"}).size(), 0U);
    EXPECT_EQ(listener.heard, Texts{"50=2"}) << "what it is";
    EXPECT_EQ(presentText(eDataTagCodecPacketSize1), "2");
    EXPECT_EQ(presentText(eDataTagDoorOpener1Type), "2");
    EXPECT_EQ(presentText(eDataTagDoorOpener1DirectVideo), "2");
    EXPECT_EQ(presentText(eDataTagCamera2DoorOpener), "1");
    auto const lines = platform.logs(2);
    EXPECT_EQ(Texts(lines.begin(), lines.begin() + 3),
              (Texts{"DataCache::setDataValue - ERR storing into db failed\n",
                     "DataCache::setData - failed to set tag 50 \n", "DataCache::setData - failed to set tag 121 \n"}));
    EXPECT_EQ(platform.logs(3).front(), "DataSourceDB::writeDataValue failed to save tag 50 into database\n");
    platform.clearJournal();
    EXPECT_TRUE(Cache::setData(eDataTagDoorOpener1Type, 0, false)) << "is seen as a change again";
    EXPECT_EQ(presentText(eDataTagCamera2DoorOpener), "0");
    EXPECT_EQ(platform.calls({"setDataItems"}).size(), 0U) << "the codecs are not marked any more";
}

TEST_F(WriteGroup, AnExceptionLeavesNoneOpen)
{
    start();
    platform.onCall([](Scripted::Call const& call) {
        if (call.name == "endGroup")
            throw std::bad_alloc();
    });
    auto bulk = bulkOf({{eDataTagHandsetVolume, 7}});
    EXPECT_THROW(Cache::setDataBulk(bulk), std::bad_alloc);
    platform.database("AudioSettings", "HandsetVolume", "failure");
    Cache::readUserDataFromSourceDB(); // ends its group while nothing may be thrown
    platform.onCall({});
    EXPECT_TRUE(Cache::setData(eDataTagRingerVolume, 5, false));
    EXPECT_EQ(platform.databaseText("AudioSettings", "RingerVolume"), "5");
}

TEST_F(WriteGroup, WhoReadsTheLogOfALostOneWritesForItself)
{
    start();
    platform.onCall([&](Scripted::Call const& call) {
        if (call.name == "log" && call.arguments[0] == "DataCache::setData - failed to set tag 50 \n")
            Cache::setData(eDataTagRingerVolume, 5, false);
    });
    auto bulk = bulkOf({{eDataTagHandsetVolume, 7}});
    platform.failGroups(true);
    EXPECT_FALSE(Cache::setDataBulk(bulk));
    EXPECT_EQ(trace(), (Texts{"[", "HandsetVolume=7", "!", "RingerVolume=5"}));
    EXPECT_EQ(platform.databaseText("AudioSettings", "RingerVolume"), "5");
}

TEST_F(WriteGroup, WhatIsTakenBackWhileItsTableIsCheckedIsNotWrittenAgain)
{
    start();
    EXPECT_TRUE(Cache::setData(eDataTagDoorOpener1DirectVideo, 2, false));
    EXPECT_TRUE(Cache::setData(eDataTagDoorOpener1PhoneNumber, "100"s, false));
    listen({eDataTagDoorOpener1PhoneNumber}); // told in the middle of the check, which ends the part
    for (int const ends : {1, 100}) {
        int left = ends;
        platform.onCall([&](Scripted::Call const& call) {
            if (call.name == "endGroup")
                platform.failGroups(--left > 0);
        });
        platform.failGroups(true);
        platform.clearJournal();
        auto bulk = bulkOf({{eDataTagHandsetVolume, 7}});
        bulk.addTagValue(eDataTagDoorOpener1PhoneNumber, "200"s, false);
        EXPECT_FALSE(Cache::setDataBulk(bulk));
        platform.onCall({});
        platform.failGroups(false);
        EXPECT_EQ(bulk.getTagsNotSetInDb(), (std::set{eDataTagHandsetVolume, eDataTagDoorOpener1PhoneNumber}));
        EXPECT_EQ(platform.calls({"reportChanged"}).size(), 0U);
        EXPECT_TRUE(Cache::setData(eDataTagDoorOpener1Path, "/a" + std::to_string(ends), false));
        for (auto const tag : {eDataTagDoorOpener1PhoneNumber, eDataTagCamera2PhoneNumber})
            EXPECT_EQ(presentText(tag), "100") << tag << " after " << ends;
        EXPECT_EQ(platform.databaseText("OcmsSettings", "DoorOpener1Phonenumber"), "100");
        EXPECT_EQ(presentText(eDataTagHandsetVolume), "2");
    }
}

TEST_F(WriteGroup, AManagementSetThatIsNotStoredFailsWithoutReasons)
{
    start();
    auto request = record({{"handset-volume", "handset-volume", "7"}, {"ringer-volume", "ringer-volume", "6"}});
    platform.failGroups(true);
    EXPECT_FALSE(Cache::setDataOcms(request));
    EXPECT_TRUE(request.rejectReasons().empty());
    EXPECT_EQ(presentText(eDataTagHandsetVolume) + presentText(eDataTagRingerVolume), "23");
    EXPECT_EQ(platform.logs(2),
              (Texts{"DataCache::setDataValues - ERR storing into db failed, restoring original value for tag 50\n",
                     "DataCache::setDataValues - ERR storing into db failed, restoring original value for tag 61\n"}));
}

TEST_F(WriteGroup, OneTableAloneStaysInTheCacheWhenItIsNotStored)
{
    start();
    platform.failGroups(true);
    EXPECT_TRUE(Cache::setData(eDataTagAlertIdentifier0, "boss"s, false));
    EXPECT_EQ(trace().back(), "!");
    EXPECT_EQ(presentText(eDataTagAlertIdentifier0), "boss");
    EXPECT_EQ(platform.logs(2).back(),
              "DataCache::setDataValues - ERR storing into db failed, restoring original value for tag 129\n");
    platform.failGroups(false);
    EXPECT_TRUE(Cache::setData(eDataTagAlertIdentifier1, "chief"s, false));
    ASSERT_TRUE(platform.databaseTable("DistinctiveRinging"));
    EXPECT_NE(platform.databaseTable("DistinctiveRinging")->find("boss"), std::string::npos);
    platform.failCall(2, true); // all but the begin
    EXPECT_TRUE(Cache::setData(eDataTagCodecPacketSize1, 4, false));
    platform.failCall(0);
    EXPECT_EQ(presentText(eDataTagCodecPacketSize1), "4");
}

TEST_F(WriteGroup, OfABatchEndsWithARefusedWriteAndWithoutOneEachWriteStandsAlone)
{
    start();
    for (bool const begins : {true, false}) {
        platform.failCall(begins ? 3 : 1);
        auto const wanted = begins ? "7" : "6";
        EXPECT_EQ(set(record({{"handset-volume", "handset-volume", wanted}, {"ringer-volume", "ringer-volume", wanted}})),
                  !begins);
        EXPECT_EQ(trace(), (begins ? Texts{"[", "HandsetVolume=7", "RingerVolume=7", "]"}
                                   : Texts{"[", "HandsetVolume=6", "RingerVolume=6"}));
        EXPECT_EQ(platform.databaseText("AudioSettings", "HandsetVolume"), wanted);
        EXPECT_EQ(presentText(eDataTagRingerVolume), begins ? "3" : "6");
    }
}

} // namespace

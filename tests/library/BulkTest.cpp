// Many values at once: the bulk container, bulk operations, resets, mobility and the flag file through the whole library.
#include "LibraryTest.h"

#include "MgmtAgentIfc.h"

namespace {

struct ManyValues : LibraryTest {
    static void announceMobility(std::string const& value)
    {
        auto change = record("mobility-user-data-update", value);
        EXPECT_TRUE(Cache::manageableDataChanged(change));
    }
};

TEST_F(ManyValues, ABulkHoldsOnlyValuesOfTheItemsOwnType)
{
    start();
    BulkData bulk;
    EXPECT_FALSE(bulk.addTagValue(eDataTagOpusFec, 1, false));
    EXPECT_FALSE(bulk.setTag(eDataTagCodecSettings));
    EXPECT_FALSE(bulk.setTag(eDataTagEnd));
    EXPECT_TRUE(bulk.addTagValue(eDataTagIceServerUsername0, std::string("<b>"), false));
    EXPECT_TRUE(bulk.addTagValue(eDataTagIceServerPort0, 1, true));
    EXPECT_TRUE(bulk.setTagData(eDataTagIceServerPort0, 3, false));
    EXPECT_TRUE(bulk.setTag(eDataTagOpusFec));
    EXPECT_EQ(bulk.serialize(), "<item><tag>4</tag><value>3</value></item><item><tag>6</tag><value><b></value></item>");
    EXPECT_EQ(bulk.getTags(), (std::set{eDataTagIceServerPort0, eDataTagIceServerUsername0, eDataTagOpusFec}));
    EXPECT_EQ(bulk.getTagsNotSetInDb(), (std::set{eDataTagIceServerPort0, eDataTagIceServerUsername0}));

    BulkData copy(bulk);
    auto const& same = copy;
    copy = same;
    bulk.clear();
    EXPECT_EQ(bulk.serialize(), "");
    EXPECT_EQ(copy.getTags().size(), 3U);
    int value = 0;
    EXPECT_TRUE(copy.getTagValue(eDataTagIceServerPort0, value));
    EXPECT_EQ(value, 3);
}

TEST_F(ManyValues, ReadingAMissingValueFromABulkKeepsItsLock)
{
    start();
    int value = 7;
    {
        BulkData bulk;
        EXPECT_FALSE(bulk.getTagValue(eDataTagIceServerPort0, value));
        EXPECT_EQ(value, 7);
        EXPECT_EQ(Scripted::Platform::heldLocks(), 1);
        EXPECT_TRUE(bulk.addTag(eDataTagIceServerPort0)) << "its own thread goes on";
    }
    BulkData next;
    std::thread([&next] { next.addTag(eDataTagIceServerPort0); }).join(); // hangs where the next bulk gets that lock
}

TEST_F(ManyValues, ABulkSetStoresTheGoodReportsThemAndFlagsThem)
{
    start();
    Listener other;
    listen({eDataTagRingerVolume, eDataTagHeadsetVolume, eDataTagIceServerPort0});
    EXPECT_TRUE(Cache::registerCallback({eDataTagHandsetVolume, eDataTagRingerVolume}, &other));
    BulkData bulk;
    for (auto const tag : {eDataTagRingerVolume, eDataTagHandsetVolume})
        bulk.addTagValue(tag, 5, false);
    bulk.addTagValue(eDataTagHeadsetVolume, 9, false);
    bulk.addTagValue(eDataTagIceServerPort0, 3478, false);
    EXPECT_FALSE(Cache::setDataBulk(bulk));
    EXPECT_EQ(bulk.getTagsNotSetInDb(), std::set{eDataTagHeadsetVolume});
    EXPECT_EQ(platform.lines({"setDataItem", "reportChanged"}),
              (Texts{"setDataItem AudioSettings HandsetVolume 5 -> true", "setDataItem AudioSettings RingerVolume 5 -> true",
                     "reportChanged handset-volume=5 [handset-volume] -> true",
                     "reportChanged ringer-volume=5 [ringer-volume] -> true"}));
    EXPECT_EQ(
        platform.logs(2),
        (Texts{"DataCache::setDataValues - ERR invalid value given! 'The provided value '9' is not in valid range 1..8'\n",
               "DataCache::setData - failed to set tag 51 \n"}));
    EXPECT_EQ(listener.heard, Texts{"61=5"});
    EXPECT_EQ(other.heard, Texts{"50=5 61=5"}) << "once, of its own items";
}

TEST_F(ManyValues, ABulkReportsNoCellThatItsTableRefuses)
{
    start();
    BulkData bulk;
    bulk.addTagValue(eDataTagHeadsetRank1, presentText(eDataTagHeadsetRank1) == "1" ? 2 : 1, false);
    bulk.addTagValue(eDataTagRingerVolume, 5, false);
    EXPECT_FALSE(Cache::setDataBulk(bulk));
    EXPECT_EQ(platform.lines({"reportChanged"}), Texts{"reportChanged ringer-volume=5 [ringer-volume] -> true"});
    EXPECT_EQ(bulk.getTagsNotSetInDb(), std::set{eDataTagHeadsetRank1});
}

TEST_F(ManyValues, ABulkReadFillsInWhatItCanAndSaysWhatItCannot)
{
    start();
    BulkData bulk;
    for (auto const tag : {eDataTagRingerVolume, eDataTagCodecSettings, eDataTagFunctionKeyDef100})
        bulk.addTag(tag);
    EXPECT_FALSE(Cache::getDataBulk(bulk));
    EXPECT_EQ(bulk.serialize(), "<item><tag>61</tag><value>3</value></item>");
    EXPECT_EQ(platform.logs(2), (Texts{"DataCache::getDataBulk - invalid entry tag 108 \n",
                                       "DataCache::getDataBulk - failed to get tag 108 \n",
                                       "DataCache::getDataBulk - failed to find tag 653\n"}));
}

TEST_F(ManyValues, TheAudioResetIsStoredAtOnceAndAnnouncedByTheNextPass)
{
    start();
    EXPECT_TRUE(Cache::setData(eDataTagRingerVolume, 5, false));
    EXPECT_TRUE(Cache::setData(eDataTagRingerMinimumVolume, 2, false));
    listen({eDataTagRingerVolume, eDataTagRingerMinimumVolume});
    platform.clearJournal();
    Cache::resetDataSetUserAll();
    EXPECT_EQ(platform.lines({"setDataItem"}), Texts{"setDataItem AudioSettings RingerVolume 3 -> true"});
    EXPECT_EQ(presentText(eDataTagRingerMinimumVolume), "2") << "not one of the nineteen";
    EXPECT_EQ(listener.heard, Texts{});
    EXPECT_TRUE(Cache::setData(eDataTagHeadsetVolume, 4, false));
    EXPECT_EQ(listener.heard, Texts{"61=3"});
}

TEST_F(ManyValues, AnnouncedMobilityPushesTheUsersChangesOnce)
{
    start();
    announceMobility("unmanaged");
    EXPECT_TRUE(Cache::setData(eDataTagRingerVolume, 5, false));
    // The announcement itself was used up by its own pass.
    EXPECT_EQ(platform.lines({"reportChanged"}), Texts{});
    announceMobility("managed");
    EXPECT_TRUE(Cache::setData(eDataTagRingerVolume, 6, false));
    EXPECT_TRUE(Cache::setData(eDataTagIceServerPort0, 77, false));
    EXPECT_EQ(platform.lines({"reportChanged"}), Texts{}) << "managed data is collected and not sent";
    announceMobility("");
    EXPECT_EQ(platform.lines({"reportChanged"}), Texts{"reportChanged ringer-volume=6 [ringer-volume] -> true"});
    announceMobility("managed");
    EXPECT_TRUE(Cache::setData(eDataTagRingerVolume, 4, false));
    platform.clearJournal();
    platform.onCall([](Scripted::Call const& call) {
        EXPECT_TRUE(call.name == "reportChanged" ? Cache::setData(eDataTagRingerVolume, 7, false) : true);
    });
    announceMobility("");
    platform.onCall({});
    EXPECT_EQ(platform.lines({"reportChanged"}), (Texts{"reportChanged ringer-volume=4 [ringer-volume] -> true",
                                                        "reportChanged ringer-volume=7 [ringer-volume] -> true"}))
        << "a change while the push is under way is not lost";
    announceMobility("All");
    EXPECT_EQ(platform.logs(2).back(),
              "DataMobility::mobilityChanged -> unknown value >All< for mobility data update tag\n");
}

TEST_F(ManyValues, AnnouncedArrivalReadsTheUsersDataAgain)
{
    start();
    listen({eDataTagRingerVolume, eDataTagIceServerPort0});
    platform.database("ICESettings", "IceServerPort0", "99");
    for (Texts const& arrival : {Texts{"8", "all"}, Texts{"7", "all"}, Texts{"6", "managed"}}) {
        platform.database("AudioSettings", "RingerVolume", arrival[0]);
        announceMobility(arrival[1]);
    }
    EXPECT_EQ(presentText(eDataTagIceServerPort0), "3478") << "not the user's";
    EXPECT_EQ(listener.heard, (Texts{"61=8", "61=7", "61=6"}));
    EXPECT_EQ(listener.lockDepths, (std::vector{0, 0, 0})) << "a report's callbacks run outside the lock";
}

TEST_F(ManyValues, TheResetOfUserDataPushesAndAnnouncesAtOnce)
{
    start();
    EXPECT_TRUE(Cache::setData(eDataTagRingerVolume, 5, false));
    EXPECT_TRUE(Cache::setData(eDataTagIceServerPort0, 99, false));
    EXPECT_TRUE(Cache::setData(eDataTagAlertIdentifier5, std::string("mine"), false));
    listen({eDataTagRingerVolume, eDataTagIceServerPort0});
    platform.clearJournal();
    EXPECT_TRUE(Cache::managementAgent()->resetUserData());
    EXPECT_EQ(
        platform.lines({"setDataItem", "reportChanged"}),
        (Texts{"setDataItem AudioSettings RingerVolume 3 -> true",
               "reportChanged ringer-volume=3 alert-identifier-5=Alert.Call.Multiple [ringer-volume,alert-identifier-5] -> "
               "true"}));
    EXPECT_EQ(platform.calls({"reportChanged"}).front().lockDepth, 0);
    EXPECT_EQ(listener.heard, Texts{"61=3"});
    EXPECT_EQ(presentText(eDataTagIceServerPort0), "99");
    restart();
    EXPECT_EQ(presentText(eDataTagAlertIdentifier5), "Alert.Call.Multiple") << "the reset stored its table";
}

TEST_F(ManyValues, AFlagThatTheFileDoesNotNameGoesBackToItsDefault)
{
    start();
    listen({eDataTagOpusTest, eDataTagRtcpmuxDisabled, eDataTagForceEtsi, eDataTagCodecHardwareAllowed3});
    platform.flagFile("opus_test false\nrtcpmux_disabled\nforce_etsi\n");
    EXPECT_EQ(presentText(eDataTagForceEtsi), "true");
    platform.flagFile("rtcpmux_disabled\naes256_test\n");
    EXPECT_EQ(presentText(eDataTagForceEtsi), "false");
    EXPECT_EQ(presentText(eDataTagOpusTest), "false");
    EXPECT_EQ(presentText(eDataTagCodecHardwareAllowed3), "true") << "a default of opus_test is no verdict";
    platform.removeFlagFile();
    EXPECT_EQ(presentText(eDataTagRtcpmuxDisabled), "false");
    EXPECT_EQ(presentText(eDataTagAes256Test), "false");
    EXPECT_EQ(listener.heard, (Texts{"128=false 800=true 805=true", "128=true 805=false", "800=false"}));
}

TEST_F(ManyValues, ARefusedSecretIsNotQuotedInTheLog)
{
    start();
    for (auto const& [item, quoted] :
         {std::pair{"door-opener-pin-1", "***"}, std::pair{"door-opener-name-1", "much too long for a door opener"}}) {
        platform.clearLogs();
        auto request = record(item, "much too long for a door opener");
        EXPECT_FALSE(Cache::managementAgent()->setData(request));
        ASSERT_EQ(request.rejectReasons().size(), 1U);
        std::string const& reason = request.rejectReasons().front().reason;
        EXPECT_EQ(platform.logs(2), Texts{std::string("DataCache::setDataValues - ERR invalid value '") + quoted +
                                          "' given! '" + reason + "'\n"});
    }
}

} // namespace

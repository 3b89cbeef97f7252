// Every platform call of a clean run fails in turn, once and from then on, in scenarios that together use every operation of
// the facade and of the management agent. Whatever fails, no value is invented, lost or held by the cache alone.
#include "Sweep.h"

#include "MgmtAgentIfc.h"

#include "ClientUtils.h"

#include <iostream>
#include <set>
#include <tuple>
#include <type_traits>

using namespace Data;

namespace {

using Cache = Media::MediaDataCache;

template <class T> bool set(eDataTag tag, T const& value, bool toManagement = false)
{
    if constexpr (std::is_convertible_v<T, std::string>)
        return Cache::setData(tag, std::string(value), toManagement);
    else
        return Cache::setData(tag, value, toManagement);
}

bool readValues()
{
    std::string text;
    BulkData bulk;
    EXPECT_TRUE(Cache::getCountryRegion() == 1 && Cache::getCountry() == eCountryUnknown);
    EXPECT_TRUE(bulk.setTag(eDataTagRingerVolume) && bulk.setTag(eDataTagMohEnabled) && Cache::getDataBulk(bulk));
    Cache::unregisterCallback(nullptr);
    return Cache::getData(eDataTagFunctionKeyDef100, text);
}

bool writeBulk()
{
    BulkData bulk;
    bulk.addTagValue(eDataTagHandsetVolume, 7, false);
    bulk.addTagValue(eDataTagLoudspeechEnabled, false, false);
    bulk.addTagValue(eDataTagCodecPacketSize2, 4, false);
    bulk.addTagValue(eDataTagSRTPEncryptionAllowed5, false, false);
    bulk.addTagValue(eDataTagCountry, std::string("FR"), false);
    bulk.addTagValue(eDataTagIceServerUsername0, std::string("user"), false);
    bulk.addTagValue(eDataTagDoorOpener1Pin, std::string("4321"), false);
    bool const ok = Cache::setDataBulk(bulk);
    auto const notStored = bulk.getTagsNotSetInDb();
    for (auto const& [tag, item] : bulk.getTagsValues())
        EXPECT_TRUE(notStored.contains(tag) || presentText(tag) == valueText(*item)) << tag << " is said to be stored";
    return ok;
}

bool setByManagement()
{
    auto request = record({{"ringer-volume", "ringer-volume", "7"},
                           {"codecSettings", "codec[1]/allowed", "false"},
                           {"SRTPEncryptionSettings", "SRTPEncryption[1]/allowed", "false"},
                           {"headsetPriorities", "headset[3]/allowed", "false"}});
    auto another = record("headset-volume", "7");
    bool const ok = Cache::setDataOcms(request);
    return Cache::managementAgent()->setData(another) && ok;
}

bool readByManagement()
{
    ManageableData request;
    for (auto const* const item : {"codecSettings", "SRTPEncryptionSettings", "headsetPriorities"})
        request.setRootId(item, nullptr);
    return Cache::getDataOcms(request) && Cache::managementAgent()->getData(request);
}

bool userDataArrives()
{
    auto unmanaged = record("mobility-user-data-update", "unmanaged");
    Cache::manageableDataChanged(unmanaged);
    Scripted::Platform::current().database("AudioSettings", "RingerVolume", "8");
    Cache::readUserDataFromSourceDB();
    set(eDataTagHeadsetVolume, 8);
    auto end = record("mobility-user-data-update", "");
    Cache::managementAgent()->manageableDataChanged(end);
    return true;
}

bool resetEverything()
{
    Cache::resetDataSetUserAudio();
    Cache::resetDataSetUserAll();
    return Cache::managementAgent()->resetUserData();
}

bool flagFileArrives()
{
    bool etsi = false;
    Scripted::Platform::current().flagFile("opus_test false\naes256_test true\nforce_etsi\n");
    return Cache::getData(eDataTagForceEtsi, etsi) && etsi && set(eDataTagEmergencyRingerMode, 1);
}

struct Scenario {
    char const* name;
    bool (*run)();
    bool tells = true; ///< answers false when not all of it was done; what a table's check sets on its own is not told
};

Scenario const scenarios[]{
    {"start-up", [] { return Cache::init(Scripted::Platform::current()), true; }, false},
    {"single values",
     [] {
         return std::min({set(eDataTagRingerVolume, 6, true), set(eDataTagMohEnabled, false),
                          set(eDataTagCamera1Url, "/new"), set(eDataTagIceServerPwd0, "new secret"),
                          set(eDataTagQosStatistics, "report", true), set(eDataTagCountry, "DE"),
                          set(eDataTagFunctionKeyDef100, "dial")});
     }},
    {"reading", readValues},
    {"bulk", writeBulk},
    {"codecs", [] { return set(eDataTagCodecPacketSize1, 5); }},
    {"encryption", [] { return set(eDataTagSRTPEncryptionAllowed2, false); }},
    {"headsets", [] { return set(eDataTagHeadsetAllowed1, false); }},
    {"ringing", [] { return set(eDataTagAlertIdentifier3, "<sip:a&b>"); }},
    {"door opener shown", [] { return set(eDataTagDoorOpener2DirectVideo, 3); }, false},
    {"door opener cleared", [] { return set(eDataTagDoorOpener1Type, 0); }, false},
    {"group pickup", [] { return set(eDataTagGroupPickupToneType, 3); }, false},
    {"management set", setByManagement},
    {"management read", readByManagement},
    {"mobility", userDataArrives, false},
    {"reset", resetEverything, false},
    {"flag file", flagFileArrives, false},
};

/// What a failed call leaves behind although nobody is told, as required, concerns these tags only.
bool excuses(std::string const& call, std::vector<std::string> const& arguments, eDataTag tag)
{
    auto const* const schema = keepingSchema(tag);
    auto const* const element = databaseRow(tag).element;
    bool const inSchema = schema && *schema == arguments[0];
    // A schema out of reach at start-up stays so until the next start.
    if (call == "findDataAccessService")
        return inSchema;
    // What could not be read is the default, or stays, until it is read again.
    if (call == "getDataItem")
        return inSchema && (arguments[1].empty() || *element == arguments[1]);
    // A secret that cannot be deciphered is held as it is stored; one that cannot be encrypted is stored as nothing.
    return call.ends_with("EncryptedText") && element && ClientUtils::isKnownPasswordDAS(*element);
}

/// Told of every change: what it is told must be the value that is there.
struct Witness : DataUpdateCallback {
    void onDataUpdate(BulkData& changes) override
    {
        for (auto const& [tag, item] : changes.getTagsValues())
            EXPECT_EQ(valueText(*item), presentText(tag)) << "told of a value that is not there: " << tag;
    }
};

/// One change in every table and outside them; true when all were taken.
bool changeEachTable()
{
    bool ok = true;
    for (auto const tag :
         {eDataTagWarnToneVolume, eDataTagCodecPacketSize4, eDataTagAlertDuration5, eDataTagDoorOpener4Port})
        ok = set(tag, presentText(tag) == "3" ? 2 : 3) && ok;
    for (auto const tag : {eDataTagSRTPEncryptionAllowed3, eDataTagHeadsetAllowed2})
        ok = set(tag, presentText(tag) == "false") && ok;
    return ok;
}

/// A library that runs a scenario over a platform of its own.
class Trial {
public:
    explicit Trial(Scripted::Stored const& seed = {}) : platform(seed)
    {
        platform.emptyDatabase();
        platform.managementAccepts(true);
        platform.management("function-key-def-100", "function-key-def-100", "dial");
        platform.managementAnswersNothing();
        platform.keepJournal(false);
        platform.onCall([this](Scripted::Call const& call) {
            if (call.injected)
                m_failed.insert({call.name, call.arguments});
        });
    }
    ~Trial() { Cache::terminate(); }

    void begin(Scenario const& scenario)
    {
        if (&scenario != &scenarios[0])
            Cache::init(platform);
        Cache::registerCallback(heldTags(), &m_witness);
    }

    /// True when the failed calls are an excuse for what became of the tag.
    bool excused(eDataTag tag) const
    {
        return std::any_of(m_failed.begin(), m_failed.end(),
                           [tag](auto const& failed) { return excuses(failed.first, failed.second, tag); });
    }

    std::size_t failedCalls() const { return m_failed.size(); }

    Scripted::Platform platform;

private:
    std::set<std::pair<std::string, std::vector<std::string>>> m_failed;
    Witness m_witness;
};

/// What a scenario does when nothing fails.
struct Clean {
    DataTagValue_t before;
    DataTagValue_t after;
    std::size_t calls = 0;
};

Clean runClean(Scenario const& scenario, Scripted::Stored const& seed)
{
    Clean clean;
    Trial trial(seed);
    trial.begin(scenario);
    if (&scenario != &scenarios[0])
        clean.before = snapshot();
    auto const before = trial.platform.fallibleCalls();
    EXPECT_TRUE(scenario.run());
    clean.calls = trial.platform.fallibleCalls() - before;
    clean.after = snapshot();
    if (clean.before.empty())
        clean.before = clean.after;
    return clean;
}

/// What the database holds gives, after a restart, what the cache held.
void expectAgreement(Trial& trial)
{
    static std::set<std::tuple<decltype(Scripted::Stored::values), decltype(Scripted::Stored::tables), DataTagValue_t>> seen;
    auto const stored = trial.platform.stored();
    auto const written = kept(snapshot());
    // Most faults end in one of a few states; each is looked at once.
    if (!seen.emplace(stored.values, stored.tables, written).second)
        return;
    Cache::terminate();
    Cache::init(trial.platform);
    for (auto const& [tag, text] : written) {
        auto const again = presentText(tag);
        EXPECT_TRUE(text == again || trial.excused(tag)) << tag << ": the cache held " << text << ", the database " << again;
    }
}

/// Fails call k; true when that call was made.
bool runFaulty(Scenario const& scenario, Scripted::Stored const& seed, Clean const& clean, std::size_t k, bool forGood)
{
    Trial trial(seed);
    trial.begin(scenario);
    trial.platform.failCall(k, forGood);
    bool const answer = scenario.run();
    trial.platform.failCall(0);

    EXPECT_EQ(Scripted::Platform::heldLocks(), 0);
    for (auto const& [tag, text] : snapshot()) {
        bool const isNew = text == clean.after.at(tag);
        bool const mayBeOld = !scenario.tells || !answer;
        EXPECT_TRUE(isNew || (mayBeOld && text == clean.before.at(tag)) || trial.excused(tag))
            << tag << " became " << text << (answer ? " and nobody was told" : "");
    }

    for (auto const& [place, text] : trial.platform.stored().values)
        EXPECT_NE(text, "new secret") << "stored as it is";

    // A table whose text the database refused is stored whole with its next change.
    EXPECT_TRUE(changeEachTable() || trial.excused(eDataTagWarnToneVolume)) << "the next operation";
    expectAgreement(trial);
    EXPECT_EQ(trial.platform.unscripted(), std::vector<std::string>{});
    return trial.failedCalls() > 0;
}

TEST(FaultSweep, whateverPlatformCallFailsNoValueIsLostOrInventedAndNoLockStays)
{
    Scripted::Stored seed;
    {
        Trial trial;
        Cache::init(trial.platform);
        ASSERT_TRUE(set(eDataTagIceServerPwd0, "secret") && set(eDataTagDoorOpener1Pin, "1234"));
        ASSERT_TRUE(set(eDataTagDoorOpener1Type, 2) && set(eDataTagDoorOpener1DirectVideo, 1));
        ASSERT_TRUE(set(eDataTagHandsetVolume, 5) && set(eDataTagRingerVolume, 5) && changeEachTable());
        seed = trial.platform.stored();
    }
    std::size_t calls = 0;
    std::size_t hits = 0;
    for (auto const& scenario : scenarios) {
        auto const clean = runClean(scenario, seed);
        for (std::size_t k = 1; k <= clean.calls; ++k) {
            for (bool const forGood : {false, true}) {
                SCOPED_TRACE(std::string(scenario.name) + ", call " + std::to_string(k) + (forGood ? " and all after" : ""));
                hits += runFaulty(scenario, seed, clean, k, forGood);
            }
        }
        std::cout << "  " << scenario.name << ": " << clean.calls << " calls" << std::endl;
        calls += clean.calls;
    }
    std::cout << "fault sweep: " << std::size(scenarios) << " scenarios, " << calls
              << " platform calls, each failed once and "
              << "for good: " << hits << " of " << 2 * calls << " faults met (" << 100 * hits / (2 * calls) << " %)\n";
    EXPECT_EQ(hits, 2 * calls);
}

} // namespace

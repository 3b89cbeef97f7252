// Many threads on one cache, watched for a hang, and what a callback may do on the cache that called it.
#include "Sweep.h"

#include "MgmtAgentIfc.h"

#include <array>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <future>
#include <iostream>
#include <numeric>
#include <random>
#include <thread>

using namespace Data;

namespace {

using Cache = Media::MediaDataCache;

/// Uses the cache from within its notifications.
class Meddler : public DataUpdateCallback {
public:
    void onDataUpdate(BulkData& changes) override
    {
        if (++told % 4 == 0)
            Cache::setData(eDataTagKeyClickVolume, told % 3, false);
        Cache::getDataBulk(changes);
    }
    std::atomic<int> told = 0;
};

Meddler meddler;

struct Operation {
    char const* name;
    std::function<void(Scripted::Platform&, int random)> run;
};

Operation const operations[]{
    {"read",
     [](auto&, int) {
         std::string text;
         Cache::getData(eDataTagCamera1Url, text);
         Cache::getData(eDataTagFunctionKeyDef100, text);
         Cache::getCountryRegion();
     }},
    {"write", [](auto&, int random) { Cache::setData(eDataTagRingerVolume, 1 + random % 9, random % 2 == 0); }},
    {"write a secret", [](auto&, int random) { Cache::setData(eDataTagDoorOpener1Pin, std::to_string(random), false); }},
    {"write a text", [](auto&, int random) { Cache::setData(eDataTagCamera1Url, std::to_string(random), false); }},
    {"write a codec", [](auto&, int random) { Cache::setData(eDataTagCodecPacketSize1, random % 7, false); }},
    {"write a ringing row",
     [](auto&, int random) { Cache::setData(eDataTagAlertIdentifier4, "id" + std::to_string(random), false); }},
    {"write a door opener", [](auto&, int random) { Cache::setData(eDataTagDoorOpener2DirectVideo, random % 5, false); }},
    {"bulk",
     [](auto&, int random) {
         BulkData bulk;
         bulk.addTagValue(eDataTagHandsetVolume, 1 + random % 9, false);
         bulk.addTagValue(eDataTagSRTPEncryptionAllowed1, random % 2 == 0, false);
         bulk.addTagValue(eDataTagGroupPickupToneType, random % 4, false);
         Cache::setDataBulk(bulk);
         BulkData copy(bulk);
         Cache::getDataBulk(copy);
     }},
    {"register",
     [](auto&, int random) {
         Cache::registerCallback({eDataTagIceServerType, eDataTagRingerVolume, eDataTagHandsetVolume}, &meddler);
         if (random % 3 == 0)
             Cache::unregisterCallback(&meddler);
     }},
    {"management set",
     [](auto&, int random) {
         auto volume = record("headset-volume", std::to_string(random % 9));
         Cache::setDataOcms(volume);
         auto rank = record({{"codecSettings", "codec[1]/rank", std::to_string(1 + random % 4)}});
         Cache::managementAgent()->setData(rank);
     }},
    {"management get",
     [](auto&, int) {
         ManageableData request;
         for (auto const* const item : {"codecSettings", "SRTPEncryptionSettings", "headsetPriorities", "ringer-volume"})
             request.setRootId(item, nullptr);
         Cache::getDataOcms(request);
     }},
    {"change report",
     [](auto&, int random) {
         auto report = record("country", random % 2 == 0 ? "DE" : "CA");
         Cache::manageableDataChanged(report);
     }},
    {"mobility",
     [](auto&, int random) {
         constexpr std::array types{"all", "managed", "unmanaged", "", "unknown"};
         auto report = record("mobility-user-data-update", types[static_cast<std::size_t>(random) % types.size()]);
         Cache::managementAgent()->manageableDataChanged(report);
     }},
    {"flag file",
     [](auto& platform, int random) {
         bool flag = false;
         if (random % 8 == 0)
             platform.flagFile(random % 16 == 0 ? "aes256_test true\nopus_test false\n" : "force_etsi\n");
         Cache::getData(eDataTagForceEtsi, flag);
     }},
    {"reset",
     [](auto& platform, int random) {
         random % 8 == 0 ? void(Cache::managementAgent()->resetUserData()) : Cache::resetDataSetUserAll();
         platform.clearLogs();
     }},
};

class Threads : public LibraryTest {};

TEST_F(Threads, thatDoEverythingAtOnceNeitherHangNorLeaveCacheAndDatabaseApart)
{
    constexpr auto patience = std::chrono::seconds(60);
    auto const* const wanted = std::getenv("MEDIADATA_SOAK_SECONDS");
    auto const end = std::chrono::steady_clock::now() + std::chrono::seconds(wanted ? std::atoi(wanted) : 2);
    platform.keepJournal(false);
    start();

    std::array<std::atomic<char const*>, 8> current{};
    std::vector<std::future<int>> threads;
    for (unsigned i = 0; i < current.size(); ++i) {
        threads.push_back(std::async(std::launch::async, [&, i] {
            std::minstd_rand random(i + 1);
            int done = 0;
            for (; std::chrono::steady_clock::now() < end; ++done) {
                auto const& operation = operations[random() % std::size(operations)];
                current[i] = operation.name;
                operation.run(platform, static_cast<int>(random() % 1000));
            }
            return done;
        }));
    }
    bool hang = false;
    for (std::size_t i = 0; i < threads.size(); ++i) {
        if (threads[i].wait_until(end + patience) == std::future_status::ready)
            continue;
        std::cerr << "thread " << i << " hangs in: " << current[i] << std::endl;
        hang = true;
    }
    if (hang)
        std::abort();
    int const done =
        std::accumulate(threads.begin(), threads.end(), 0, [](int sum, auto& each) { return sum + each.get(); });
    std::cout << "threads: " << threads.size() << " threads, " << done << " operations of " << std::size(operations)
              << " kinds, " << meddler.told << " notifications, no hang\n";
    EXPECT_GT(meddler.told, 0);
    EXPECT_EQ(Scripted::Platform::heldLocks(), 0);

    auto const written = kept(snapshot());
    restart();
    for (auto const& [tag, text] : written)
        EXPECT_EQ(text, presentText(tag)) << tag << ": the cache held it, the database did not";
}

/// What a callback that hears of the ringer volume does, and what comes of it.
struct Deed {
    char const* name;
    std::function<void()> run;
    std::vector<std::string> heard;
    int ringerVolume = 5;
    int headsetVolume = 2;
};

void PrintTo(Deed const& deed, std::ostream* out)
{
    *out << deed.name;
}

class Callback : public LibraryTest, public testing::WithParamInterface<Deed> {
public:
    static std::thread pushing;
    static Listener* self;
};

std::thread Callback::pushing;
Listener* Callback::self = nullptr;

TEST_P(Callback, mayDoThisOnTheCacheThatCalledIt)
{
    auto const& deed = GetParam();
    platform.logLevel(3);
    start();
    listen({eDataTagRingerVolume, eDataTagHeadsetVolume});
    self = &listener;
    listener.onNews = [&] {
        if (listener.heard.size() == 1)
            deed.run();
    };
    EXPECT_TRUE(Cache::setData(eDataTagRingerVolume, 5, false));
    if (pushing.joinable())
        pushing.join();
    EXPECT_EQ(listener.heard, deed.heard);
    EXPECT_EQ(number(eDataTagRingerVolume), deed.ringerVolume);
    EXPECT_EQ(number(eDataTagHeadsetVolume), deed.headsetVolume);
    EXPECT_EQ(platform.databaseText("AudioSettings", "RingerVolume"), std::to_string(deed.ringerVolume));
}

void pushHeadsetVolume()
{
    auto volume = record("headset-volume", "6");
    EXPECT_TRUE(Cache::managementAgent()->setData(volume));
}

void writeBulk()
{
    BulkData bulk;
    bulk.addTagValue(eDataTagRingerVolume, 7, false);
    bulk.addTagValue(eDataTagHeadsetVolume, 6, false);
    EXPECT_TRUE(Cache::setDataBulk(bulk));
}

/// The push starts while the lock is held, so that it waits until the announcing operation is over.
void meetPush()
{
    std::atomic<bool> begun = false;
    Callback::pushing = std::thread([&begun] {
        begun = true;
        pushHeadsetVolume();
    });
    while (!begun)
        std::this_thread::yield();
    EXPECT_EQ(presentText(eDataTagHeadsetVolume), "2");
}

INSTANTIATE_TEST_SUITE_P(
    All, Callback,
    testing::Values(
        Deed{"read", [] { EXPECT_EQ(presentText(eDataTagRingerVolume), "5"); }, {"61=5"}},
        Deed{"writeTheSame", [] { EXPECT_TRUE(Cache::setData(eDataTagRingerVolume, 7, false)); }, {"61=5", "61=7"}, 7},
        Deed{"writeTheSameValue", [] { EXPECT_TRUE(Cache::setData(eDataTagRingerVolume, 5, false)); }, {"61=5"}},
        Deed{"writeAnother", [] { EXPECT_TRUE(Cache::setData(eDataTagHeadsetVolume, 6, false)); }, {"61=5", "51=6"}, 5, 6},
        Deed{"writeWhatIsRefused", [] { EXPECT_FALSE(Cache::setData(eDataTagRingerVolume, 9, false)); }, {"61=5"}},
        Deed{"writeBulk", writeBulk, {"61=5", "51=6 61=7"}, 7, 6},
        Deed{"register",
             [] {
                 EXPECT_TRUE(Cache::registerCallback({eDataTagWarnToneVolume}, Callback::self));
                 EXPECT_TRUE(Cache::setData(eDataTagWarnToneVolume, 1, false));
             },
             {"61=5", "81=1"}},
        Deed{"unregister",
             [] {
                 Cache::unregisterCallback(Callback::self);
                 EXPECT_TRUE(Cache::setData(eDataTagHeadsetVolume, 6, false));
             },
             {"61=5", "51=6"},
             5,
             6},
        Deed{"reset", [] { Cache::resetDataSetUserAudio(); }, {"61=5"}, 3},
        Deed{"resetByManagement", [] { EXPECT_TRUE(Cache::managementAgent()->resetUserData()); }, {"61=5", "61=3"}, 3},
        Deed{"bePushedOnItsThread", pushHeadsetVolume, {"61=5", "51=6"}, 5, 6},
        Deed{"bePushedFromAnotherThread", meetPush, {"61=5", "51=6"}, 5, 6}),
    [](auto const& test) { return std::string(test.param.name); });

} // namespace

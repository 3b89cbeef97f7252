// Many threads on one cache, watched for a hang, and what a callback may do on the cache that called it.
#include "Sweep.h"

#include "../Workload.h"

namespace {

using Cache = Media::MediaDataCache;

using Threads = LibraryTest;

TEST_F(Threads, ThatDoEverythingAtOnceNeitherHangNorLeaveCacheAndDatabaseApart)
{
    constexpr auto patience = std::chrono::seconds(60);
    auto const end = std::chrono::steady_clock::now() + std::chrono::seconds(Workload::seconds);
    platform.keepJournal(false);
    platform.flagFile(""); // makes its folder
    start();

    std::array<std::atomic<std::size_t>, 8> current{}; // operations, by their place in the list
    std::vector<std::future<int>> threads;
    for (unsigned i = 0; i < current.size(); ++i) {
        threads.push_back(std::async(std::launch::async, [&, i] {
            std::minstd_rand random(i + 1);
            int done = 0;
            for (; std::chrono::steady_clock::now() < end; ++done) {
                current[i] = random() % std::size(Workload::operations);
                Workload::operations[current[i]](static_cast<int>(random() % 1000));
                platform.clearLogs();
            }
            return done;
        }));
    }
    for (std::size_t i = 0; i < threads.size(); ++i)
        if (threads[i].wait_until(end + patience) != std::future_status::ready) {
            std::cerr << "thread " << i << " hangs in: " << current[i] << std::endl;
            std::abort();
        }
    int const done =
        std::accumulate(threads.begin(), threads.end(), 0, [](int sum, auto& each) { return sum + each.get(); });
    std::cout << "threads: " << threads.size() << " threads, " << done << " operations of "
              << std::size(Workload::operations) << " kinds, " << Workload::meddler.told << " notifications, no hang\n";
    EXPECT_GT(Workload::meddler.told, 0);
    EXPECT_EQ(Scripted::Platform::heldLocks(), 0);

    auto const written = kept(snapshot());
    restart();
    for (auto const& [tag, text] : written)
        EXPECT_EQ(text, presentText(tag)) << tag << ": the cache held it, the database did not";
}

/// What a callback that hears of the ringer volume does, and what comes of it.
struct Deed {
    char const* name;
    std::function<void(Listener&)> run;
    std::vector<std::string> heard;
    int ringerVolume = 5;
    int headsetVolume = 2;
};

void pushHeadsetVolume(Listener&)
{
    auto volume = record("headset-volume", "6");
    EXPECT_TRUE(Cache::managementAgent()->setData(volume));
}

/// The push starts while the lock is held, so that it waits until the announcing operation is over.
std::future<void> pushing;
void meetPush(Listener& listener)
{
    std::promise<void> begun;
    pushing = std::async(std::launch::async, [&] {
        begun.set_value();
        pushHeadsetVolume(listener);
    });
    begun.get_future().get();
    EXPECT_EQ(presentText(eDataTagHeadsetVolume), "2");
}

template <eDataTag tag, int value> void write(Listener&)
{
    EXPECT_EQ(Cache::setData(tag, value, false), value < 9);
}

void writeBulk(Listener&)
{
    BulkData bulk;
    EXPECT_TRUE(bulk.addTagValue(eDataTagRingerVolume, 7, false));
    EXPECT_TRUE(bulk.addTagValue(eDataTagHeadsetVolume, 6, false));
    EXPECT_TRUE(Cache::setDataBulk(bulk));
}

Deed const deeds[]{
    {"read", [](auto&) { EXPECT_EQ(presentText(eDataTagRingerVolume), "5"); }, {"61=5"}},
    {"write the same", write<eDataTagRingerVolume, 7>, {"61=5", "61=7"}, 7},
    {"write the same value", write<eDataTagRingerVolume, 5>, {"61=5"}},
    {"write another", write<eDataTagHeadsetVolume, 6>, {"61=5", "51=6"}, 5, 6},
    {"write what is refused", write<eDataTagRingerVolume, 9>, {"61=5"}},
    {"write a bulk", writeBulk, {"61=5", "51=6 61=7"}, 7, 6},
    {"register",
     [](auto& listener) {
         EXPECT_TRUE(Cache::registerCallback({eDataTagWarnToneVolume}, &listener));
         write<eDataTagWarnToneVolume, 1>(listener);
     },
     {"61=5", "81=1"}},
    {"unregister",
     [](auto& listener) {
         Cache::unregisterCallback(&listener);
         write<eDataTagHeadsetVolume, 6>(listener);
     },
     {"61=5", "51=6"},
     5,
     6},
    {"reset", [](auto&) { Cache::resetDataSetUserAudio(); }, {"61=5"}, 3},
    {"reset by management", [](auto&) { EXPECT_TRUE(Cache::managementAgent()->resetUserData()); }, {"61=5", "61=3"}, 3},
    {"be pushed on its thread", pushHeadsetVolume, {"61=5", "51=6"}, 5, 6},
    {"be pushed from another thread", meetPush, {"61=5", "51=6"}, 5, 6}};

TEST_F(Threads, ACallbackMayUseTheCacheThatCalledIt)
{
    platform.logLevel(3);
    for (auto const& [name, run, heard, ringerVolume, headsetVolume] : deeds) {
        SCOPED_TRACE(name);
        platform.database("AudioSettings", "RingerVolume", "3");
        platform.database("AudioSettings", "HeadsetVolume", "2");
        restart();
        listener.onNews = [&, deed = run] {
            if (listener.heard.size() == 1)
                deed(listener);
        };
        listen({eDataTagRingerVolume, eDataTagHeadsetVolume});
        EXPECT_TRUE(Cache::setData(eDataTagRingerVolume, 5, false));
        if (pushing.valid())
            pushing.get();
        EXPECT_EQ(listener.heard, heard);
        EXPECT_EQ(presentText(eDataTagRingerVolume), std::to_string(ringerVolume));
        EXPECT_EQ(presentText(eDataTagHeadsetVolume), std::to_string(headsetVolume));
        EXPECT_EQ(platform.databaseText("AudioSettings", "RingerVolume"), std::to_string(ringerVolume));
        EXPECT_EQ(platform.databaseText("AudioSettings", "HeadsetVolume"), std::to_string(headsetVolume));
    }
}

/// In a process of its own, since nobody can give the kept lock back.
void useABulkWhoseLockIsKept(bool (*operation)(BulkData&))
{
    using std::chrono::milliseconds;
    static BulkData bulk;
    bulk.addTagValue(eDataTagRingerVolume, 5, false);
    int none = 0;
    std::promise<void> kept;
    std::thread([&] {
        bulk.getTagValue(eDataTagHeadsetVolume, none); // keeps it, as it has no such value
        kept.set_value();
        std::promise<void>().get_future().wait(); // lives on: the next thread would have its number
    }).detach();
    kept.get_future().get();
    std::promise<void> begun;
    std::thread([&] {
        begun.set_value();
        operation(bulk);
    }).detach();
    begun.get_future().get();
    std::this_thread::sleep_for(milliseconds(200)); // for the other to get where it waits; is no part of the claim
    auto reading = std::async(std::launch::async, [] { return presentText(eDataTagRingerVolume); });
    std::_Exit(reading.wait_for(milliseconds(10000)) == std::future_status::ready ? 0 : 1);
}

TEST_F(Threads, ABulkWhoseLockIsKeptHoldsUpItsOwnUserAlone)
{
    start();
    for (auto const operation : {&Cache::setDataBulk, &Cache::getDataBulk})
        EXPECT_EXIT(useABulkWhoseLockIsKept(operation), testing::ExitedWithCode(0), "");
}

TEST_F(Threads, ACallbackThatThrowsKeepsNobodyFromHearing)
{
    start();
    std::array<Listener, 3> listeners; // told in the order of their addresses
    for (std::size_t i = 0; i < listeners.size(); ++i) {
        EXPECT_TRUE(Cache::registerCallback({eDataTagRingerVolume}, &listeners[i]));
        if (i < 2)
            listeners[i].onNews = [i] { throw std::runtime_error("listener " + std::to_string(i)); };
    }
    EXPECT_TRUE(Cache::registerCallback({eDataTagRingerVolume}, nullptr));
    auto push = record("ringer-volume", "6");
    std::function<void()> const changes[]{[] { Cache::setData(eDataTagRingerVolume, 5, false); },
                                          [&] { Cache::managementAgent()->setData(push); }};
    Texts expected;
    for (auto const& change : changes) {
        expected.push_back("61=" + std::to_string(5 + expected.size()));
        std::string thrown;
        try {
            change();
        } catch (std::runtime_error const& error) {
            thrown = error.what();
        }
        EXPECT_EQ(thrown, "listener 0");
        for (auto const& each : listeners)
            EXPECT_EQ(each.heard, expected);
        EXPECT_EQ(Scripted::Platform::heldLocks(), 0);
    }
    EXPECT_EQ(platform.databaseText("AudioSettings", "RingerVolume"), "6");
}

} // namespace

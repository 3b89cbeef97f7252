// The host's lock under contention: nobody is lost, who has waited for long is next, and who gives up leaves no trace.
#include "Semaphore.h"
#include "../Standard.h"

using namespace std::chrono_literals;

TEST(HostSemaphore, IsHandedInOrderOfArrivalToThoseWhoHaveWaitedForLong)
{
    Semaphore lock(1, 0, true);
    std::vector<int> order;
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        std::atomic<bool> ready = false;
        threads.emplace_back([&lock, &order, &ready, i] {
            ready = true;
            lock.take(-1);
            order.push_back(i);
            lock.give();
        });
        while (!ready)
            std::this_thread::yield();
        std::this_thread::sleep_for(20ms); // ample for the few instructions from there to the queue
    }
    lock.give();
    for (std::thread& each : threads)
        each.join();
    EXPECT_EQ(order, (std::vector<int>{0, 1, 2, 3, 4, 5, 6, 7}));
}

TEST(HostSemaphore, ExcludesThroughNestedTakesAndThreadsThatGiveUp)
{
    Semaphore lock(1, 1, true);
    int guarded = 0;
    std::atomic<int> taken = 0;
    auto const work = [&](int timeout) {
        for (int i = 0; i < 20000; ++i) {
            if (!lock.take(timeout))
                continue;
            lock.take(-1);
            ++guarded;
            ++taken;
            lock.give();
            lock.give();
        }
    };
    std::vector<std::thread> threads;
    for (int const timeout : {-1, 0, 1, -1, 1, 0})
        threads.emplace_back(work, timeout);
    for (std::thread& each : threads)
        each.join();
    EXPECT_EQ(guarded, taken);
    EXPECT_GE(guarded, 2 * 20000);
    EXPECT_TRUE(lock.take(0));
}

TEST(HostSemaphore, StaysWithAThreadThatEndedWithIt)
{
    Semaphore lock(1, 1, true);
    std::thread([&lock] { lock.take(-1); }).join();
    for (int i = 0; i < 8; ++i) // the system gives the next thread the last one's place in memory
        std::thread([&lock] {
            EXPECT_FALSE(lock.give());
            EXPECT_FALSE(lock.take(0));
        }).join();
}

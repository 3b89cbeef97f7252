// The lock: who holds it, how often, and who may give it.
#include "Semaphore.h"
#include "PlatformUnderTest.h"

namespace {

constexpr int noWait = 0;
constexpr int noLimit = -1;

template <typename Operation> bool onAnotherThread(Operation operation)
{
    return std::async(std::launch::async, operation).get();
}

/// True when nobody holds it; leaves it as it was.
bool isFree(Semaphore& semaphore)
{
    return onAnotherThread([&] { return semaphore.take(noWait) && semaphore.give(); });
}

} // namespace

class SemaphorePromise : public testing::Test {
    std::unique_ptr<PlatformUnderTest> m_platform = PlatformUnderTest::make();
};

TEST_F(SemaphorePromise, ARecursiveHolderGivesAsOftenAsItTook)
{
    for (int const initial : {0, 1}) {
        Semaphore semaphore(1, initial, true);
        ASSERT_TRUE(initial == 0 ? true : semaphore.take(noLimit));
        EXPECT_TRUE(semaphore.take(noLimit));
        EXPECT_TRUE(semaphore.take(noWait));
        EXPECT_TRUE(semaphore.give());
        EXPECT_TRUE(semaphore.give());
        EXPECT_FALSE(isFree(semaphore)) << "given twice of three";
        EXPECT_TRUE(semaphore.give());
        EXPECT_TRUE(isFree(semaphore));
    }
}

TEST_F(SemaphorePromise, OneThatIsNotRecursiveRefusesItsHolder)
{
    Semaphore semaphore(1, 1, false);
    EXPECT_TRUE(semaphore.take(noWait));
    EXPECT_FALSE(semaphore.take(noWait));
    EXPECT_TRUE(semaphore.give());
    EXPECT_TRUE(isFree(semaphore));
}

TEST_F(SemaphorePromise, GivingWhatAnotherHoldsOrNobodyTookIsRefusedAndChangesNothing)
{
    Semaphore semaphore(1, 0, true);
    EXPECT_FALSE(onAnotherThread([&] { return semaphore.give(); }));
    EXPECT_FALSE(isFree(semaphore));
    EXPECT_TRUE(semaphore.give());
    EXPECT_FALSE(semaphore.give());
    EXPECT_TRUE(semaphore.take(noWait));
    EXPECT_FALSE(isFree(semaphore)) << "a refused give must not let two in";
    EXPECT_TRUE(semaphore.give());
}

TEST_F(SemaphorePromise, AWaitEndsWithItsTimeoutOrWithTheSemaphore)
{
    Semaphore semaphore(1, 0, true);
    EXPECT_FALSE(onAnotherThread([&] { return semaphore.take(5); }));
    std::future<bool> waiting = std::async(std::launch::async, [&] { return semaphore.take(noLimit) && semaphore.give(); });
    EXPECT_TRUE(semaphore.give());
    EXPECT_TRUE(waiting.get());
}

TEST_F(SemaphorePromise, NobodyWaitsWithoutBoundForOneThatIsTakenAgainAndAgain)
{
    int rounds = 0; // one or two for each of those who wait; hundreds where they take it by chance
    for (int i = 0; i < 10; ++i) {
        Semaphore semaphore(1, 0, true);
        std::atomic<bool> isThere = false;
        std::atomic<bool> isTaken = false;
        std::thread waiting([&] {
            isThere = true;
            semaphore.take(noLimit);
            isTaken = true;
            semaphore.give();
        });
        while (!isTaken && rounds < 100) {
            std::this_thread::sleep_for(std::chrono::milliseconds(3));
            semaphore.give();
            semaphore.take(noLimit);
            rounds += isThere;
        }
        EXPECT_TRUE(semaphore.give());
        waiting.join();
    }
    EXPECT_LT(rounds, 100);
}

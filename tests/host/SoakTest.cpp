// Mixed work on the library over the host platform, while what the process holds is measured: it must not grow.
#include "HostTest.h"

#include "../Workload.h"
#include "ManagementService.h"

using Workload::Cache;
using Clock = std::chrono::steady_clock;

namespace {

long entriesOf(char const* folder)
{
    return std::distance(std::filesystem::directory_iterator(folder), {});
}

struct Soak : HostTest {
    void start()
    {
        ASSERT_TRUE(open()) << m_error;
        Cache::init(*m_platform);
        m_platform->management().setAgent(Cache::managementAgent());
        m_platform->management().reportAll();
    }

    void stop()
    {
        m_platform->management().setAgent(nullptr);
        Cache::terminate();
        close();
    }
};

TEST_F(Soak, LeavesMemoryDescriptorsThreadsAndLogAsTheyAre)
{
    std::chrono::milliseconds const length = std::chrono::seconds(Workload::seconds);
    auto const begin = Clock::now();
    std::array<long, 3> warm{}; // after a tenth of the time: memory in kB, descriptors, threads
    long log = 0;               // kB, the largest seen
    std::minstd_rand random;
    long operations = 0;
    int starts = 1;
    start();
    std::cout << "seconds  operations  starts  memory kB  descriptors  threads  log kB\n";
    for (int tenth = 1; tenth <= 10; ++tenth) {
        auto const end = begin + length * tenth / 10;
        for (int i = 0; Clock::now() < end; ++i, ++operations) {
            // Each tenth begins with short runs, so that there are many starts; from half time on one run lasts.
            if (tenth <= 5 && i % 50 == 0 && Clock::now() < end - length * 9 / 100) {
                stop();
                start();
                ++starts;
            }
            auto const number = static_cast<int>(random() % 1000);
            Workload::operations[random() % std::size(Workload::operations)](number);
            auto country = record("country", std::to_string(number));
            if (number % 8 == 0)
                m_platform->management().change(country);
            m_platform->management().dispatch();
            std::error_code none;
            auto const size = std::filesystem::file_size(pathOf("mediadata.db-wal"), none);
            log = none ? log : std::max(log, static_cast<long>(size / 1024));
        }
        long pages = 0;
        std::ifstream("/proc/self/statm") >> pages >> pages;
        std::array const now{pages * ::sysconf(_SC_PAGESIZE) / 1024, entriesOf("/proc/self/fd"),
                             entriesOf("/proc/self/task")};
        warm = tenth == 1 ? now : warm;
        std::printf("%7lld  %10ld  %6d  %9ld  %11ld  %7ld  %6ld\n",
                    static_cast<long long>(std::chrono::duration_cast<std::chrono::seconds>(Clock::now() - begin).count()),
                    operations, starts, now[0], now[1], now[2], log);
        std::fflush(stdout);
        EXPECT_LE(now[0], warm[0] + 2048 + (Workload::wantedSeconds ? 0 : now[0])) << "two seconds are no warm-up";
        EXPECT_EQ(now[1], warm[1]);
        EXPECT_EQ(now[2], warm[2]);
    }
    stop();
    EXPECT_LE(log, 2048) << "kB of write-ahead log";
    EXPECT_GT(Workload::meddler.told, 0);
}

} // namespace

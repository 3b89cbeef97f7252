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
    // Memory in kB, descriptors, threads: after the warm-up, a tenth of the time, and after each further tenth.
    std::array<std::array<long, 3>, 11> samples{};
    long log = 0; // kB, the largest seen
    std::minstd_rand random;
    long operations = 0;
    int starts = 0;
    std::cout << "seconds  operations  starts  memory kB  descriptors  threads  log kB\n";
    for (std::size_t tenth = 1; tenth < samples.size(); ++tenth) {
        auto const end = begin + length * tenth / 10;
        // Each tenth begins with short runs, so that there are many starts; from half time on one run lasts.
        for (bool isLast = false; !isLast;) {
            isLast = tenth > 5 || Clock::now() > end - length * 9 / 100;
            if (tenth <= 5 && starts++ > 0)
                stop();
            if (m_platform == nullptr)
                start();
            for (int i = 0; (isLast || i < 50) && Clock::now() < end; ++i, ++operations) {
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
        }
        long pages = 0;
        std::ifstream("/proc/self/statm") >> pages >> pages;
        auto const& [memory, descriptors, threads] = samples[tenth] = {
            pages * ::sysconf(_SC_PAGESIZE) / 1024, entriesOf("/proc/self/fd"), entriesOf("/proc/self/task")};
        std::printf("%7lld  %10ld  %6d  %9ld  %11ld  %7ld  %6ld\n",
                    static_cast<long long>(std::chrono::duration_cast<std::chrono::seconds>(Clock::now() - begin).count()),
                    operations, starts, memory, descriptors, threads, log);
        std::fflush(stdout);
        EXPECT_LE(memory, samples[1][0] + 2048 + (Workload::wantedSeconds ? 0 : memory)) << "two seconds are no warm-up";
        EXPECT_EQ(descriptors, samples[1][1]);
        EXPECT_EQ(threads, samples[1][2]);
    }
    stop();
    EXPECT_LE(log, 2048) << "kB of write-ahead log";
    EXPECT_GT(Workload::meddler.told, 0);
}

} // namespace

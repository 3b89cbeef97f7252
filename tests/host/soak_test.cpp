// Mixed work on the library over the host platform, while what the process holds is measured: it must not grow.
// MEDIADATA_SOAK_SECONDS says how long (make soak: ten minutes); without it two seconds.
#include "HostTest.h"

#include "Data/BulkData.h"
#include "ManageableData.h"
#include "ManagementService.h"
#include "Media/MediaDataCache.h"
#include "MgmtAgentIfc.h"

#include <unistd.h>

#include <array>
#include <chrono>
#include <functional>
#include <iostream>
#include <random>

using namespace Data;
using Cache = Media::MediaDataCache;
using Clock = std::chrono::steady_clock;

namespace {

struct Sample {
    long memory = 0; // kB
    long descriptors = 0;
    long threads = 0;
    long log = 0; // kB, the largest seen
};

long entriesOf(char const* folder)
{
    return std::distance(std::filesystem::directory_iterator(folder), {});
}

class Soak : public HostTest, public DataUpdateCallback {
protected:
    void onDataUpdate(BulkData& changes) override
    {
        ++told;
        Cache::getDataBulk(changes);
    }

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

    void work(unsigned random)
    {
        auto const number = static_cast<int>(random / 16 % 1000);
        std::string const text = std::to_string(number);
        auto& service = m_platform->management();
        auto const record = [](std::string const& item, std::string const& subItem, std::string const& value) {
            ManageableData result;
            result.populate(item, subItem, value);
            return result;
        };
        auto rank = record("codecSettings", "codec[1]/rank", std::to_string(1 + number % 4));
        auto country = record("country", "country", number % 2 == 0 ? "DE" : "CA");
        auto mobility = record("mobility-user-data-update", "mobility-user-data-update", number % 2 == 0 ? "all" : "");
        BulkData bulk;
        bulk.addTagValue(eDataTagHandsetVolume, 1 + number % 9, false);
        bulk.addTagValue(eDataTagSRTPEncryptionAllowed1, number % 2 == 0, false);
        bulk.addTagValue(eDataTagGroupPickupToneType, number % 4, false);
        bool flag = false;
        std::function<void()> const operations[]{
            [&] { Cache::setData(eDataTagRingerVolume, 1 + number % 9, number % 2 == 0); },
            [&] { Cache::setData(eDataTagDoorOpener1Pin, text, false); },
            [&] { Cache::setData(eDataTagDoorOpener2DirectVideo, number % 5, false); },
            [&] { Cache::setData(eDataTagAlertIdentifier4, "id" + text, false); },
            [&] { Cache::setDataBulk(bulk); },
            [&] { service.setOwned(rank); },
            [&] { service.getOwned(rank); },
            [&] { service.change(country); },
            [&] { service.change(mobility); },
            [&] {
                Cache::registerCallback({eDataTagRingerVolume, eDataTagHandsetVolume}, this);
            },
            [&] { std::ofstream(pathOf("data/database/media_config")) << (number % 2 ? "aes256_test\n" : "force_etsi\n"); },
            [&] { Cache::getData(eDataTagForceEtsi, flag); },
            [&] { number % 20 == 0 ? void(service.resetUserData()) : Cache::resetDataSetUserAll(); },
            [&] { service.dispatch(); }};
        operations[random % std::size(operations)]();
    }

    Sample sample()
    {
        long pages = 0;
        std::ifstream("/proc/self/statm") >> pages >> pages;
        return {pages * ::sysconf(_SC_PAGESIZE) / 1024, entriesOf("/proc/self/fd"), entriesOf("/proc/self/task"), log};
    }

    int told = 0;
    long log = 0;
};

TEST_F(Soak, leavesMemoryDescriptorsThreadsAndLogAsTheyAre)
{
    auto const* const wanted = std::getenv("MEDIADATA_SOAK_SECONDS");
    auto const length = std::chrono::seconds(wanted ? std::atoi(wanted) : 2);
    auto const begin = Clock::now();
    std::array<Sample, 11> samples; // one after the warm-up, a tenth of the time, and one after each further tenth
    std::minstd_rand random;
    long operations = 0;
    int starts = 0;
    std::cout << "seconds  operations  starts  memory kB  descriptors  threads  log kB\n";
    for (std::size_t tenth = 1; tenth < samples.size(); ++tenth) {
        for (; Clock::now() < begin + length * tenth / 10; ++starts) {
            start();
            // A start lasts as long as some work, and then the next one; the last ends with the tenth.
            for (int i = 0; i < 3000 && Clock::now() < begin + length * tenth / 10; ++i, ++operations) {
                work(static_cast<unsigned>(random()));
                std::error_code none;
                auto const size = std::filesystem::file_size(pathOf("mediadata.db-wal"), none);
                log = none ? log : std::max(log, static_cast<long>(size / 1024));
            }
            stop();
        }
        samples[tenth] = sample();
        auto const& [memory, descriptors, threads, largest] = samples[tenth];
        std::printf("%7lld  %10ld  %6d  %9ld  %11ld  %7ld  %6ld\n",
                    static_cast<long long>(std::chrono::duration_cast<std::chrono::seconds>(Clock::now() - begin).count()),
                    operations, starts, memory, descriptors, threads, largest);
        std::fflush(stdout);
    }
    for (std::size_t tenth = 2; tenth < samples.size(); ++tenth) {
        if (wanted) { // two seconds are no warm-up
            EXPECT_LE(samples[tenth].memory, samples[1].memory + 2048) << "kB, tenth " << tenth;
        }
        EXPECT_EQ(samples[tenth].descriptors, samples[1].descriptors);
        EXPECT_EQ(samples[tenth].threads, samples[1].threads);
    }
    EXPECT_LE(log, 2048) << "kB of write-ahead log";
    EXPECT_GT(told, 0);
}

} // namespace

// Readers without a lock: all interleavings of publications with one read, numbers that wrap, and threads that do it all at once.
#include "LibraryTest.h"

#include "Data/DataCache.h"
#include "Data/DataItem.h"
#include "Media/Setting.h"
#include "Setting/Publication.h"

using namespace Data;

namespace {

/// The writer's stores, of which the reader has seen the first `seen`; a reader's load may let it see more.
struct Steps {
    std::vector<std::function<void(bool undo)>> stores;
    std::size_t seen = 0;
    std::vector<std::pair<std::size_t, std::size_t>> choices; ///< before each load: how many more it sees, of how many
    std::size_t load = 0;
    bool isReading = false;

    void look()
    {
        if (load == choices.size())
            choices.emplace_back();
        auto& [more, all] = choices[load++];
        all = stores.size() - seen;
        for (auto const last = seen + more; seen < last;)
            goOn();
    }

    /// Who begins anew meets a writer that has gone on.
    void goOn()
    {
        if (seen < stores.size())
            stores[seen++](false);
    }

    /// Runs `read` under every schedule.
    std::size_t runAll(std::function<void()> const& read)
    {
        isReading = true;
        for (std::size_t runs = 1;; ++runs) {
            load = 0;
            read();
            choices.resize(load);
            while (seen > 0)
                stores[--seen](true);
            while (!choices.empty() && choices.back().first == choices.back().second)
                choices.pop_back();
            if (choices.empty()) {
                isReading = false;
                return runs;
            }
            ++choices.back().first;
        }
    }
};
Steps* steps = nullptr;

/// In the place of std::atomic: what the writer has stored, and what the reader sees of it.
template <class T> class Stepped {
public:
    Stepped(T value = {}) : m_written(value), m_seen(value) {} // NOLINT(google-explicit-constructor): as std::atomic
    T load(std::memory_order) const
    {
        if (!steps->isReading)
            return m_written;
        steps->look();
        return m_seen;
    }
    void store(T value, std::memory_order)
    {
        steps->stores.emplace_back([this, value, before = m_written](bool undo) { m_seen = undo ? before : value; });
        m_written = value;
    }

private:
    T m_written;
    T m_seen;
};

template <class Sides, class Value> void expectAllReadsCurrent(std::vector<Value> const& values, Value const& first)
{
    Steps all;
    steps = &all;
    Stepped<PublicationNumber> number;
    Sides sides;
    std::vector<Value> expected{first};
    for (auto const& value : values) {
        sides.write(static_cast<PublicationNumber>(expected.size()), value);
        number.store(static_cast<PublicationNumber>(expected.size()), std::memory_order_release);
        expected.push_back(value);
    }
    std::size_t wrong = 0;
    auto const runs = all.runAll([&] {
        Value value{};
        PublicationNumber n = 0;
        for (n = number.load(std::memory_order_acquire); !sides.read(n, value); n = number.load(std::memory_order_acquire))
            all.goOn();
        wrong += value != expected[n] ? 1 : 0;
    });
    EXPECT_EQ(wrong, 0U) << "of " << runs;
    EXPECT_GT(runs, 100U);
}

TEST(Publication, IsReadWholeUnderEveryInterleaving)
{
    expectAllReadsCurrent<NumberSides<Stepped>, std::uint32_t>({7, 8, 9, 10}, 0);
    expectAllReadsCurrent<TextSides<Stepped>, std::string>({"word", "two words"}, "");
    expectAllReadsCurrent<TextSides<Stepped>, std::string>({"ab", "cd", "ef"}, "");
}

TEST(Publication, RenewsItsNumbersBeforeTheyAreTooOld)
{
    constexpr PublicationNumber half = 1U << 31;
    Publication publication(half - 20); // whose defaults have the number 0, or this one
    DataItem<int> volume(eDataTagRingerVolume, eDataSourceNone);
    DataItem<std::string> url(eDataTagCamera1Url, eDataSourceNone);
    std::string reason;
    for (int i = 0; i < 40; ++i) {
        EXPECT_TRUE(volume.setValue(i, reason));
        EXPECT_TRUE(url.setValue(std::to_string(i), reason));
        publication.write(eDataTagRingerVolume, volume);
        publication.write(eDataTagCamera1Url, url);
        publication.finish();
        std::string text;
        publication.text(eDataTagCamera1Url, text);
        EXPECT_EQ(text, std::to_string(i));
        EXPECT_EQ(publication.number(eDataTagRingerVolume), static_cast<std::uint32_t>(i));
        publication.text(eDataTagCamera2Url, text); // never changed
        EXPECT_EQ(text, "");
        EXPECT_EQ(publication.number(eDataTagIceServerPort0), 3478U);
    }
}

using Stress = GroupingTest;

TEST_F(Stress, BeginsWithinAnOperationAndIsDoneAtItsEnd)
{
    start(); // a bulk asks the facade for the types of its values
    for (bool const isStored : {false, true}) {
        Publication publication;
        DataCache cache(platform, {}, eDataComponentMedia);
        platform.failGroups(!isStored);
        platform.onCall([&](Scripted::Call const& call) {
            if (call.name != "endGroup")
                return;
            cache.publishTo(publication);
            EXPECT_TRUE(std::async([&] { return publication.isClaimed(); }).get()) << "who reads now waits for the cache";
        });
        BulkData bulk;
        bulk.addTagValue(eDataTagHandsetVolume, 7, false);
        bulk.addTagValue(eDataTagHeadsetVolume, 7, false);
        EXPECT_EQ(cache.setDataBulk(bulk), isStored);
        platform.onCall({});
        EXPECT_FALSE(publication.isClaimed());
        EXPECT_EQ(publication.number(eDataTagHandsetVolume), isStored ? 7U : 2U);
    }
}

/// Writers, bulks that are taken back, callbacks, and readers that check what they may see.
TEST_F(Stress, ShowsOnlyWhatWasVisible)
{
    Media::Setting<eDataTagHandsetVolume> handset;
    Media::Setting<eDataTagHeadsetVolume> headset;
    Media::Setting<eDataTagCamera1Url> url;
    Media::Setting<eDataTagIceGatheringTimeout> count;
    platform.keepJournal(false);
    start();
    ASSERT_TRUE(Media::Batch().set(handset, 2).set(headset, 2).set(url, "1000").set(count, 1000).commit().ok());
    std::atomic<bool> isOver = false;
    std::atomic<int> told = 0;
    auto const subscription = count.onChange([&](int value) {
        EXPECT_EQ(count.get(), value);
        told = value;
    });

    auto const writePairs = [&] {
        for (int i = 0; !isOver; ++i) {
            bool const isTakenBack = i % 4 == 3;
            int const value = isTakenBack ? 8 : 1 + i % 7;
            platform.failGroups(isTakenBack);
            EXPECT_EQ(Media::Batch().set(handset, value).set(headset, value).commit().ok(), !isTakenBack);
            platform.failGroups(false);
            platform.clearLogs();
        }
    };
    auto const countUp = [&] {
        for (int i = 1000; i < 65000 && !isOver; ++i) {
            EXPECT_TRUE(count.set(i).ok());
            EXPECT_TRUE(url.set(std::to_string(i) + std::string(static_cast<std::size_t>(i % 40), 'x')).ok());
        }
    };
    auto const readAll = [&] {
        int last = 0;
        std::string text;
        long reads = 0;
        for (; !isOver; ++reads) {
            auto const [one, other] = Media::read(handset, headset);
            EXPECT_EQ(one, other);
            EXPECT_NE(one, 8) << "was taken back";
            int const known = told;
            int const now = count.get();
            EXPECT_GE(now, std::max(known, last)) << "older than what was told or seen";
            last = now;
            url.get(text);
            auto const number = std::stoi(text);
            EXPECT_EQ(text.size(),
                      std::to_string(number).size() + static_cast<std::size_t>(number > 1000 ? number % 40 : 0));
        }
        return reads;
    };
    std::jthread const pairs(writePairs), counter(countUp);
    std::vector<std::future<long>> readers;
    for (int i = 0; i < 3; ++i)
        readers.push_back(std::async(std::launch::async, readAll));
    std::this_thread::sleep_for(std::chrono::milliseconds(1500));
    isOver = true;
    long reads = 0;
    for (auto& reader : readers)
        reads += reader.get();
    std::cout << "publication: " << reads << " rounds of reads, " << told - 1000 << " publications of a number\n";
}

} // namespace

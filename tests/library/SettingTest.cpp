// The typed settings: which tags have a value, that what is read without the lock is what the cache holds, why a value is not
// taken, and functions that are told until they are ended.
#include "Sweep.h"

#include "../Workload.h"
#include "Data/DataItemBuilder.h"
#include "Media/Setting.h"
#include "MgmtAgentIfc.h"

using namespace Data;
using Media::Result;

namespace {

/// A setting's value as text, null for a tag that is none.
using Reader = std::string (*)();

template <eDataTag tag> std::string textOf()
{
    return (std::ostringstream() << std::boolalpha << Media::Setting<tag>().get()).str();
}

template <eDataTag tag> constexpr Reader readerOf()
{
    if constexpr (Media::HasValue<tag>)
        return textOf<tag>;
    else
        return nullptr;
}

template <class... Given> constexpr int acceptedAsInt = (Media::Detail::isAccepted<Given, int> + ...);

auto const readers = []<std::size_t... tags>(std::index_sequence<tags...>)
{
    return std::array<Reader, sizeof...(tags)>{readerOf<static_cast<eDataTag>(tags)>()...};
}
(std::make_index_sequence<eDataTagEnd + 2>());

class Settings : public GroupingTest {
protected:
    static void expectAll(std::function<std::string(eDataTag)> const& wanted, std::string const& when)
    {
        for (std::size_t tag = 0; tag < readers.size(); ++tag) {
            if (readers[tag]) {
                EXPECT_EQ(readers[tag](), wanted(static_cast<eDataTag>(tag))) << tag << " " << when;
            }
        }
    }

    Media::Setting<eDataTagRingerVolume> volume;
    Media::Setting<eDataTagHandsetVolume> handset;
    Media::Setting<eDataTagCamera1Url> url;
};

/// Runs it on another thread, to its end.
template <class Function> auto elsewhere(Function function)
{
    return std::async(std::launch::async, function).get();
}

TEST_F(Settings, AreTheTagsOfWhichTheCacheHasAValue)
{
    start();
    auto const held = heldTags();
    for (std::size_t tag = 0; tag < readers.size(); ++tag) {
        bool const isHeld = std::ranges::count(held, static_cast<eDataTag>(tag)) > 0;
        bool const isTable = Cache::getItemType(static_cast<eDataTag>(tag)) == eDataItemTypeComplex;
        EXPECT_EQ(readers[tag] != nullptr, isHeld && !isTable) << tag;
    }
    static_assert(!Media::IsPublished<eDataTagDoorOpener1Pin>);
    static_assert(!Media::IsPublished<eDataTagForceEtsi>);
    static_assert(acceptedAsInt<bool, char, char8_t, char16_t, char32_t, wchar_t, unsigned, long long, double> == 0);
    static_assert(acceptedAsInt<signed char, unsigned char, short, unsigned short, int> == 5);
    static_assert(!Media::Detail::isAccepted<int, bool>);
}

TEST_F(Settings, ShowWhatTheCacheHoldsWhateverChangedIt)
{
    auto const defaults = [](eDataTag tag) {
        auto const& record = DataCache::DataItemBuilder::dataItemDefaultTable[tag];
        return record.value.type == eDataItemTypeInt ? std::to_string(std::stoi(record.value.text)) : record.value.text;
    };
    expectAll(defaults, "before init");
    platform.keepJournal(false);
    platform.flagFile("");
    start();
    std::minstd_rand random(1);
    for (int i = 0; i < 600; ++i) {
        auto const operation = random() % std::size(Workload::operations);
        platform.failGroups(random() % 4 == 0);
        if (random() % 4 == 0)
            platform.failCall(1 + random() % 6);
        Workload::operations[operation](static_cast<int>(random() % 1000));
        platform.failGroups(false);
        platform.failCall(0);
        platform.clearLogs();
        expectAll(presentText, "after operation " + std::to_string(operation));
        if (HasFailure())
            break;
    }
    Cache::terminate();
    expectAll(defaults, "after terminate");
}

TEST_F(Settings, SayWhyAValueIsNotTaken)
{
    EXPECT_EQ(volume.set(5).kind(), Result::Absent);
    start();
    auto record = ::record("ringer-volume", "9");
    EXPECT_FALSE(Cache::setDataOcms(record));
    auto const outOfRange = record.rejectReasons().begin()->reason;
    struct Case {
        char const* name;
        std::function<Result()> set;
        Result::Kind kind;
        std::string reason;
        std::string volume;
    };
    Case const cases[]{
        {"ok", [&] { return volume.set(5); }, Result::Ok, "", "5"},
        {"unchanged", [&] { return volume.set(5, Media::tellManagement); }, Result::Ok, "", "5"},
        {"a validator", [&] { return volume.set(9); }, Result::Refused, outOfRange, "5"},
        {"a table's check", [] { return Media::Setting<eDataTagCodecType1>().set(1); }, Result::Refused,
         "the table's check refused it", "5"},
        {"the database", [&] { return platform.failCall(1), volume.set(6); }, Result::NotStored,
         "the database did not store it", "5"},
        {"a group", [&] { return platform.failGroups(true), Media::Setting<eDataTagGroupPickupToneType>().set(3); },
         Result::NotStored, "the database did not store it", "5"},
        {"management",
         [&] { return platform.failGroups(false), platform.failCall(2), volume.set(7, Media::tellManagement); },
         Result::NotStored, "the management service did not take it", "7"}};
    for (auto const& each : cases) {
        auto const result = each.set();
        EXPECT_EQ(result.kind(), each.kind) << each.name;
        EXPECT_EQ(result.reason(), each.reason) << each.name;
        EXPECT_EQ(result.ok(), each.kind == Result::Ok) << each.name;
        EXPECT_EQ(textOf<eDataTagRingerVolume>(), each.volume) << each.name;
    }
    platform.clearJournal();
    EXPECT_TRUE(volume.set(2).ok());
    EXPECT_EQ(platform.calls({"reportChanged"}).size(), 0U);
    EXPECT_TRUE(volume.set(3, Media::tellManagement).ok());
    EXPECT_EQ(platform.calls({"reportChanged"}).size(), 1U);
}

TEST_F(Settings, OfABatchAreStoredAndAnnouncedTogether)
{
    Media::Batch batch;
    batch.set(volume, 9).set(volume, 5).set(handset, 9).set(url, "door").set(Media::Setting<eDataTagCodecType1>(), 1);
    EXPECT_EQ(batch.commit().refused().size(), 5U) << "no cache";
    start();
    listen({eDataTagRingerVolume, eDataTagHandsetVolume, eDataTagCamera1Url});
    auto const result = batch.commit();
    EXPECT_FALSE(result.ok());
    ASSERT_EQ(result.refused().size(), 2U);
    EXPECT_EQ(result.refused()[0].tag, eDataTagHandsetVolume);
    EXPECT_EQ(result.refused()[0].kind, Result::Refused);
    EXPECT_NE(result.refused()[0].reason, "");
    EXPECT_EQ(result.refused()[1].tag, eDataTagCodecType1);
    EXPECT_EQ(result.refused()[1].reason, "the table's check refused it");
    EXPECT_EQ(listener.heard, Texts{"61=5 " + std::to_string(eDataTagCamera1Url) + "=door"});
    EXPECT_EQ(Media::read(volume, url), std::tuple(5, std::string("door")));
    platform.failGroups(true);
    auto const lost = Media::Batch().set(volume, 6).set(handset, 6).commit();
    EXPECT_EQ(lost.refused().size(), 2U);
    for (auto const& each : lost.refused())
        EXPECT_EQ(each.kind, Result::NotStored) << each.tag;
    EXPECT_EQ(volume.get(), 5);
    platform.failGroups(false);
    EXPECT_TRUE(Media::Batch().set(volume, 6).commit().ok());
}

TEST_F(Settings, AreSeenByOthersWhenTheOperationEndsOrTellsSomebody)
{
    start();
    std::string seen;
    platform.onCall([&](Scripted::Call const& call) {
        if (call.name == "setDataItem" || call.name == "endGroup")
            seen +=
                call.name[0] + std::to_string(volume.get()) + std::to_string(elsewhere([&] { return volume.get(); })) + " ";
    });
    EXPECT_TRUE(Media::Batch().set(volume, 5).set(handset, 5).commit().ok());
    EXPECT_EQ(seen, "s33 s53 e53 ") << "one's own, the others'";
    platform.failGroups(true);
    seen.clear();
    EXPECT_FALSE(Media::Batch().set(volume, 6).set(handset, 6).commit().ok());
    EXPECT_EQ(seen, "s55 s65 e65 ");
    platform.failGroups(false);
    platform.onCall({});
    listen({eDataTagRingerVolume});
    int told = 0;
    listener.onNews = [&] { told = elsewhere([&] { return volume.get(); }); };
    EXPECT_TRUE(volume.set(7).ok());
    EXPECT_EQ(told, 7);
    auto report = record("ringer-volume", "8");
    EXPECT_TRUE(Cache::setDataOcms(report));
    EXPECT_EQ(told, 8);
    // A table's check tells somebody in the middle of a bulk: what is done by then is seen, the rest at the end.
    Media::Setting<eDataTagDoorOpener1PhoneNumber> const number;
    EXPECT_TRUE(Media::Setting<eDataTagDoorOpener1DirectVideo>().set(2).ok());
    listen({eDataTagDoorOpener1PhoneNumber, eDataTagCamera2PhoneNumber});
    seen.clear();
    platform.onCall([&](Scripted::Call const& call) { seen += call.name == "endGroup" ? "e" : ""; });
    listener.onNews = [&] { seen += std::to_string(elsewhere([&] { return handset.get(); })); };
    EXPECT_TRUE(Media::Batch().set(handset, 7).set(number, "200").commit().ok());
    EXPECT_EQ(seen, "e7e7");
    platform.onCall({});
    // What is lost behind that call is named, what was stored before it is not.
    listener.onNews = [&] { platform.failGroups(true); };
    auto const half = Media::Batch().set(handset, 6).set(number, "300").commit();
    platform.failGroups(false);
    ASSERT_EQ(half.refused().size(), 2U);
    EXPECT_EQ(half.refused()[0].tag, eDataTagCamera2PhoneNumber);
    EXPECT_EQ(half.refused()[0].reason, "the database did not store it");
    EXPECT_EQ(half.refused()[1].tag, eDataTagDoorOpener1PhoneNumber);
    EXPECT_EQ(half.refused()[1].reason, "it is not stored before the next change");
    EXPECT_EQ(handset.get(), 6);
}

class Subscriptions : public Settings {
protected:
    std::vector<int> heard;
    std::function<void(int)> const note = [this](int value) { heard.push_back(value); };
};

TEST_F(Subscriptions, EndForAllTheirTags)
{
    auto const early = volume.onChange(note);
    EXPECT_FALSE(early);
    start();
    EXPECT_FALSE(volume.onChange({}));
    auto const kept = std::make_shared<int>();
    EXPECT_FALSE(Media::onChange({eDataTagQosLayer3, eDataTagNone}, [kept](auto&) {}));
    EXPECT_EQ(kept.use_count(), 1);
    Texts changes;
    {
        auto const one = volume.onChange(note);
        auto const several = Media::onChange({eDataTagRingerVolume, eDataTagHandsetVolume}, [&](BulkData const& changed) {
            changes.push_back(std::to_string(changed.getTags().size()));
        });
        EXPECT_TRUE(one);
        EXPECT_TRUE(Media::Batch().set(volume, 5).set(handset, 5).commit().ok());
        EXPECT_TRUE(handset.set(6).ok());
    }
    EXPECT_TRUE(Media::Batch().set(volume, 7).set(handset, 7).commit().ok());
    EXPECT_EQ(heard, std::vector{5});
    EXPECT_EQ(changes, (Texts{"2", "1"}));
    EXPECT_FALSE(early) << "init does not revive it";
}

TEST_F(Subscriptions, HarmNobodyWhenTheyThrowEndOrOutliveTheCache)
{
    start();
    auto thrower = volume.onChange([](int) { throw std::runtime_error("no"); });
    Media::Subscription selfish;
    selfish = volume.onChange([&](int value) {
        note(value);
        selfish = {}; // within its own call
        note(-value);
    });
    auto second = volume.onChange(note);
    auto const moved = std::move(second);
    EXPECT_TRUE(volume.set(5).ok());
    EXPECT_EQ(std::accumulate(heard.begin(), heard.end(), 0), 5);
    EXPECT_EQ(heard.size(), 3U);
    EXPECT_TRUE(volume.set(6).ok());
    EXPECT_EQ(heard.size(), 4U);
    EXPECT_EQ(platform.logs(2).size(), 2U) << "one for each throw";
    platform.onCall(
        [](Scripted::Call const& call) { return call.name == "log" ? throw std::runtime_error("log") : void(); });
    EXPECT_THROW(std::ignore = volume.set(7), std::runtime_error);
    platform.onCall({});
    heard.pop_back();
    thrower = {}; // does not wait for the call that the log ended
    restart();
    EXPECT_FALSE(moved);
    EXPECT_TRUE(volume.set(7).ok());
    EXPECT_EQ(heard.size(), 4U);
}

TEST_F(Subscriptions, WaitForACallOnAnotherThreadUnlessWithinAnOperation)
{
    start();
    std::promise<void> entered;
    std::promise<void> leave;
    std::atomic<bool> isOver = false;
    auto slow = std::make_unique<Media::Subscription>(handset.onChange([&](int) {
        entered.set_value();
        leave.get_future().wait();
        isOver = true;
    }));
    auto push = std::async(std::launch::async, [] {
        auto report = record("handset-volume", "5");
        return Cache::setDataOcms(report); // tells without the lock
    });
    entered.get_future().wait();
    auto unmoved = std::make_unique<Media::Subscription>(volume.onChange(note));
    auto ender = volume.onChange([&](int) { unmoved.reset(); });
    EXPECT_TRUE(volume.set(5).ok()) << "within an operation nobody waits";
    auto ending = std::async(std::launch::async, [&] {
        slow.reset();
        return isOver.load();
    });
    EXPECT_EQ(ending.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    leave.set_value();
    EXPECT_TRUE(ending.get()) << "its call was over when it had ended";
    EXPECT_TRUE(push.get());
}

TEST_F(Settings, AreFoundByEachOfTheirNames)
{
    EXPECT_EQ(findTag("ringer-volume"), eDataTagRingerVolume);
    EXPECT_EQ(findTag("AudioSettings/RingerVolume"), eDataTagRingerVolume);
    EXPECT_EQ(findTag("RingerVolume"), eDataTagRingerVolume);
    EXPECT_EQ(findTag("codec[1]/rank"), eDataTagCodecRank1);
    for (auto const* const nobodys :
         {"", "/", "AudioSettings/", "RingerVolume/", "AudioSettingz/RingerVolume", "None", "End", "ringer-volum"})
        EXPECT_EQ(findTag(nobodys), std::nullopt) << nobodys;
}

} // namespace

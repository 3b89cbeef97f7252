// The library as a system. Which platform it runs on is decided by what this file is linked with: makeContext is there.
#include "LibraryContext.h"
#include "Measure.h"

#include "Data/BulkData.h"
#include "Data/DataCache.h"
#include "Data/DataUpdateCallback.h"
#include "Media/MediaDataCache.h"
#include "Media/Setting.h"

#include "ManageableData.h"
#include "MgmtAgentIfc.h"

namespace Bench {

namespace {

using Media::MediaDataCache;

Data::eDataTag tagOf(Key const& key)
{
    return static_cast<Data::eDataTag>(key.tag);
}

void demand(bool done)
{
    if (!done)
        std::abort(); // the benchmark would measure something else
}

// One of the two telephones between which an import, a management set and a reset change.

/// The ranked tables by the first of their ranks.
constexpr std::pair<Data::eDataTag, int> rankedTables[]{
    {Data::eDataTagCodecRank1, 4}, {Data::eDataTagSRTPEncryptionRank1, 5}, {Data::eDataTagHeadsetRank1, 3}};

int rankOf(int row, int rows, int variant)
{
    return variant == 0 ? row + 1 : rows - row;
}

Data::BulkData telephone(int variant)
{
    Data::BulkData bulk;
    for (Key const& key : keysKept({Kept::Alone, Kept::InGroup, Kept::InTextTable}))
        each(key, [&](auto value) {
            key.value(variant, value);
            bulk.addTagValue(tagOf(key), value, false);
        });
    for (auto const& [first, rows] : rankedTables)
        for (int row = 0; row < rows; ++row)
            bulk.addTagValue(static_cast<Data::eDataTag>(first + row), rankOf(row, rows, variant), false);
    return bulk;
}

/// Values of four tables: ringers, door openers, codecs, headsets.
ManageableData tableRecord(int variant)
{
    ManageableData record;
    auto const set = [&](std::string const& item, int row) {
        record.populate(item + std::to_string(row), item + std::to_string(row), "row " + std::to_string(row + 20 * variant));
    };
    for (int row = 0; row < 15; ++row)
        set("alert-identifier-", row);
    for (int row = 1; row <= 4; ++row)
        set("door-opener-name-", row);
    for (auto const& [table, item, rows] : {std::tuple{"codecSettings", "codec[", 4}, {"headsetPriorities", "headset[", 3}})
        for (int row = 0; row < rows; ++row)
            record.populate(table, item + std::to_string(row + 1) + "]/rank", std::to_string(rankOf(row, rows, variant)));
    return record;
}

class LibraryStore {
public:
    static constexpr bool validates = true;
    static constexpr bool persists = platformPersists;
    static constexpr bool notifies = true;

    explicit LibraryStore(Setup const& setup) : m_context(makeContext(setup.directory)) { MediaDataCache::init(*m_context); }
    ~LibraryStore()
    {
        if (m_context)
            MediaDataCache::terminate();
    }

    template <class T> bool read(Key const& key, T& value) { return MediaDataCache::getData(tagOf(key), value); }
    template <class T> bool write(Key const& key, T const& value)
    {
        return MediaDataCache::setData(tagOf(key), value, false);
    }
    void save() {}

    /// The request is made once and kept, as others prepare a statement.
    void readMany(std::vector<Key> const& keys)
    {
        if (m_requested != keys.size())
            for (Key const& key : keys)
                m_request.addTag(tagOf(key));
        m_requested = keys.size();
        MediaDataCache::getDataBulk(m_request);
        for (Key const& key : keys)
            each(key, [&](auto value) {
                m_request.getTagValue(tagOf(key), value);
                keep(value);
            });
    }

    void writeMany(std::vector<Key> const& keys, int variant)
    {
        Data::BulkData bulk;
        for (Key const& key : keys)
            each(key, [&](auto value) {
                key.value(variant, value);
                if (key.isStored())
                    bulk.addTagValue(tagOf(key), value, false);
            });
        demand(MediaDataCache::setDataBulk(bulk));
    }

    void listen(Key const& key, int& heard)
    {
        m_listener.heard = &heard;
        MediaDataCache::registerCallback({tagOf(key)}, &m_listener);
    }
    void await(int const& heard, int count) { demand(heard == count); }

    void ownOperations(Runner& runner)
    {
        runner.operation("table change, 15 rows", 0.3, [](std::size_t i) {
            Data::BulkData rows;
            for (int row = 0; row < 15; ++row)
                rows.addTagValue(static_cast<Data::eDataTag>(Data::eDataTagAlertIdentifier0 + row), std::to_string(i),
                                 false);
            demand(MediaDataCache::setDataBulk(rows));
        });
        operationsOnAll(runner);
        if constexpr (!platformPersists) {
            changeBesideOthers(runner, "change beside 10 items", 10);
            changeBesideOthers(runner, "change beside 640 items", 640);
        }
    }

    std::unique_ptr<LibraryStore> another() { return std::unique_ptr<LibraryStore>(new LibraryStore); }

protected:
    LibraryStore() = default;

private:
    struct Listener : DataUpdateCallback {
        void onDataUpdate(Data::BulkData&) override { ++*heard; }
        int unasked = 0;
        int* heard = &unasked;
    };

    static void operationsOnAll(Runner& runner)
    {
        auto const variantOf = [](std::size_t i) { return static_cast<int>(i % 2); };
        Data::BulkData given;
        ManageableData record;
        runner.operation(
            "import of a whole telephone", 0.4, [&](std::size_t) { demand(MediaDataCache::setDataBulk(given)); },
            [&](std::size_t i) { given = telephone(variantOf(i)); });
        runner.operation(
            "management set over four tables", 0.2,
            [&](std::size_t) { demand(MediaDataCache::managementAgent()->setData(record)); },
            [&](std::size_t i) { record = tableRecord(variantOf(i)); });
        auto const useAll = [](std::size_t) {
            auto used = telephone(1);
            demand(MediaDataCache::setDataBulk(used));
        };
        runner.operation(
            "reset of the audio settings", 0.3, [](std::size_t) { MediaDataCache::resetDataSetUserAudio(); }, useAll);
        runner.operation(
            "reset of all user data", 0.3, [](std::size_t) { demand(MediaDataCache::managementAgent()->resetUserData()); },
            useAll);
        if (runner.wants("values")) {
            Runner::report("values of an import", static_cast<double>(telephone(0).getTags().size()));
            Runner::report("values of a management set", static_cast<double>(tableRecord(0).entries().size()));
            Runner::report("single settings", static_cast<double>(keysKept({Kept::Alone}).size()));
        }
    }

    /// Changes one of many observed items in a cache of its own.
    void changeBesideOthers(Runner& runner, char const* name, std::size_t others)
    {
        std::list<Data::eDataTag> tags;
        for (std::size_t i = 0; i < others; ++i)
            tags.push_back(tagOf(allKeys()[i]));
        Data::DataCache cache(*m_context, tags, Data::eDataComponentNone);
        cache.registerCallback(tags, &m_listener);
        static Key const changed = keysOf(Type::Int, true).front();
        runner.operation(name, 0.2, [&](std::size_t i) {
            int value = 0;
            changed.value(static_cast<int>(i % 2), value);
            cache.setData(tagOf(changed), value, false);
        });
    }

    std::unique_ptr<SvcRTEContext> m_context;
    Listener m_listener;
    Data::BulkData m_request;
    std::size_t m_requested = 0;
};

/// The same, read as Media::Setting::get does. Its tags are known while compiling; these are not, so the functions behind it are
/// called.
class TypedStore : public LibraryStore {
public:
    explicit TypedStore(Setup const& setup) : LibraryStore(setup) { Media::Detail::beginPublication(); }

    bool read(Key const& key, int& value)
    {
        value = Media::Detail::publishedNumber(tagOf(key));
        return true;
    }
    bool read(Key const& key, std::string& value)
    {
        if (Data::traitsOf(tagOf(key)).kind == Data::ValueKind::Value)
            Media::Detail::publishedText(tagOf(key), value);
        else
            Media::Detail::lockedValue({tagOf(key), &value}); // a secret
        return true;
    }

    void ownOperations(Runner& runner)
    {
        Media::Setting<Data::eDataTagRingerVolume> const volume;
        runner.operation("get of a setting", 0.1, [&](std::size_t) { keep(volume.get()); });
        Media::Setting<Data::eDataTagCamera1Url> const address;
        std::string text;
        runner.operation("get of a text", 0.1, [&](std::size_t) {
            address.get(text);
            if (text.size() != textLength)
                std::abort();
            keep(text);
        });
    }

    std::unique_ptr<TypedStore> another() { return std::unique_ptr<TypedStore>(new TypedStore); }

private:
    TypedStore() = default;
};

} // namespace

} // namespace Bench

int main(int argc, char** argv)
{
    if (argc > 1 && std::string(argv[1]) == "typed")
        return Bench::measure<Bench::TypedStore>(argc, argv);
    return Bench::measure<Bench::LibraryStore>(argc, argv);
}

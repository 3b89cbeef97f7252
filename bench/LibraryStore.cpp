// The library as a system. Which platform it runs on is decided by what this file is linked with: makeContext is there.
#include "LibraryContext.h"
#include "Measure.h"

#include "Data/BulkData.h"
#include "Data/DataCache.h"
#include "Data/DataUpdateCallback.h"
#include "Media/MediaDataCache.h"

namespace Bench {

namespace {

using Media::MediaDataCache;

Data::eDataTag tagOf(Key const& key)
{
    return static_cast<Data::eDataTag>(key.tag);
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
                if (key.stored)
                    bulk.addTagValue(tagOf(key), value, false);
            });
        MediaDataCache::setDataBulk(bulk);
    }

    void listen(Key const& key, int& heard)
    {
        m_listener.heard = &heard;
        MediaDataCache::registerCallback({tagOf(key)}, &m_listener);
    }
    void await(int const& heard, int count)
    {
        if (heard != count)
            std::abort();
    }

    void ownOperations(Runner& runner)
    {
        runner.operation("table change, 15 rows", 0.3, [](std::size_t i) {
            Data::BulkData rows;
            for (int row = 0; row < 15; ++row)
                rows.addTagValue(static_cast<Data::eDataTag>(Data::eDataTagAlertIdentifier0 + row), std::to_string(i),
                                 false);
            if (!MediaDataCache::setDataBulk(rows))
                std::abort();
        });
        if constexpr (!platformPersists) {
            changeBesideOthers(runner, "change beside 10 items", 10);
            changeBesideOthers(runner, "change beside 640 items", 640);
        }
    }

    std::unique_ptr<LibraryStore> another() { return std::unique_ptr<LibraryStore>(new LibraryStore); }

private:
    struct Listener : DataUpdateCallback {
        void onDataUpdate(Data::BulkData&) override { ++*heard; }
        int* heard = nullptr;
    };

    LibraryStore() = default;

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

} // namespace

} // namespace Bench

int main(int argc, char** argv)
{
    return Bench::measure<Bench::LibraryStore>(argc, argv);
}

// Holds the cache's lock for an operation that can write, or that calls somebody who can.
#pragma once

#include "Data/DataCache.h"

#include "DataCache/CacheLock.h"

#include <utility>

namespace Data {

/// Counts, so that the outermost operation is known: before it gives the lock, what changed is published to those who read
/// without it (src/Setting/Publication.h).
class [[nodiscard]] MEDIADATA_SCOPED_CAPABILITY DataCache::Operation {
public:
    explicit Operation(DataCache& cache) MEDIADATA_ACQUIRE(*cache.m_lock) : m_cache(cache)
    {
        m_cache.m_lock->take();
        ++m_cache.m_operations;
    }
    ~Operation() MEDIADATA_RELEASE()
    {
        --m_cache.m_operations;
        if (m_cache.m_hasUnpublished)
            m_cache.publishAtTheEnd();
        m_cache.m_lock->give();
    }
    Operation(Operation const&) = delete;
    Operation& operator=(Operation const&) = delete;

private:
    DataCache& m_cache;
};

/// Has the operation with this number, counted from the outermost, tell why a value is not taken.
class [[nodiscard]] DataCache::Asking {
public:
    Asking(DataCache& cache, Media::Result& result, int operation)
        : m_cache(cache), m_before(std::exchange(cache.m_question, {&result, operation}))
    {}
    ~Asking() { m_cache.m_question = m_before; }
    Asking(Asking const&) = delete;
    Asking& operator=(Asking const&) = delete;

private:
    DataCache& m_cache;
    Question const m_before;
};

/// The item's value is not what it was.
inline void DataCache::touch(eDataTag tag)
{
    m_touched.insert(tag);
    if (m_publication)
        noteUnpublished(tag);
}

} // namespace Data

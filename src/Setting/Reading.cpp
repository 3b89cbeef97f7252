// Reading without the lock: the way that is short.
#include "Data/DataCache.h"
#include "Media/Setting.h"

#include "Setting/CacheAccess.h"
#include "Setting/Publication.h"

namespace Media::Detail {

using namespace Data;

namespace {

/// Rare: this thread is in an operation of the cache, or it has just begun to publish.
[[gnu::cold, gnu::noinline]] int lockedNumber(eDataTag tag)
{
    int number = 0;
    bool flag = false;
    bool const isFlag = traitsOf(tag).type() == eDataItemTypeBool;
    lockedValue({tag, isFlag ? static_cast<void*>(&flag) : &number});
    return isFlag ? flag : number;
}

} // namespace

int publishedNumber(eDataTag tag)
{
    auto const& publication = *Publication::begun();
    if (publication.isClaimed()) [[unlikely]]
        return lockedNumber(tag);
    return static_cast<int>(publication.number(tag));
}

void publishedText(eDataTag tag, std::string& text)
{
    auto const& publication = *Publication::begun();
    if (publication.isClaimed()) [[unlikely]]
        return lockedValue({tag, &text});
    publication.text(tag, text);
}

void publishedTogether(Wanted const* wanted, std::size_t count)
{
    auto const& publication = *Publication::begun();
    auto* const cache = publication.isClaimed() ? CacheAccess::cache() : nullptr;
    if (cache)
        cache->readTogether({wanted, count});
    else
        publication.readTogether({wanted, count});
}

} // namespace Media::Detail

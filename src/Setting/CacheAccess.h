// The facade's cache, for what stands beside the facade.
#pragma once

#include "Media/MediaDataCache.h"

namespace Media {

struct CacheAccess {
    /// Null without cache.
    static Data::DataCache* cache() { return MediaDataCache::cache(); }
};

} // namespace Media

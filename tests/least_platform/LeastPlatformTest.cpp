// The library over a platform of exactly the functions that it cannot do without: there is no platformPath.
#include "../../bench/LibraryContext.h"
#include "../Standard.h"
#include "Media/MediaDataCache.h"

#include <cerrno>

#include <sys/stat.h>

namespace {

std::string asked;

} // namespace

/// In the place of the system's, so that the library's question comes here.
extern "C" int stat(char const* __restrict path, struct stat* __restrict) noexcept
{
    asked = path;
    errno = ENOENT;
    return -1;
}

TEST(LeastPlatform, RunsTheLibraryWhichThenUsesPathsAsTheyAre)
{
    auto const context = Bench::makeContext("");
    Media::MediaDataCache::init(*context);
    bool flag = true;
    asked.clear();
    EXPECT_TRUE(Media::MediaDataCache::getData(Data::eDataTagForceEtsi, flag));
    EXPECT_FALSE(flag);
    EXPECT_EQ(asked, "/data/database/media_config");
    EXPECT_TRUE(Media::MediaDataCache::setData(Data::eDataTagRingerVolume, 5, false));
    Media::MediaDataCache::terminate();
}

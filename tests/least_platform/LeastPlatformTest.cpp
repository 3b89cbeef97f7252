// The library over a platform of exactly the functions that it cannot do without: there is no platformPath.
#include "../Standard.h"
#include "Media/MediaDataCache.h"
#include "Platform.h"

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
    Telephone telephone;
    Media::MediaDataCache::init(telephone);
    bool flag = true;
    asked.clear();
    EXPECT_TRUE(Media::MediaDataCache::getData(Data::eDataTagForceEtsi, flag));
    EXPECT_FALSE(flag);
    EXPECT_EQ(asked, "/data/database/media_config");
    int volume = 0;
    EXPECT_TRUE(Media::MediaDataCache::getData(Data::eDataTagRingerVolume, volume));
    EXPECT_EQ(volume, 3);
    Media::MediaDataCache::terminate();
}

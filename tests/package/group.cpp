// A bulk through the installed libraries is one commit: the library finds the platform's groups across them. The data directory
// is the first argument.
#include <Data/BulkData.h>
#include <HostPlatform.h>
#include <Media/MediaDataCache.h>

static int syncs = 0;

/// In the place of the system's: SQLite waits so for each commit.
extern "C" int fdatasync(int)
{
    ++syncs;
    return 0;
}

int main(int, char** arguments)
{
    std::string error;
    auto const platform = Host::Platform::open({arguments[1], std::nullopt}, error);
    Media::MediaDataCache::init(*platform);
    Data::BulkData bulk;
    for (auto const tag : {Data::eDataTagRingerVolume, Data::eDataTagHandsetVolume, Data::eDataTagHeadsetVolume})
        bulk.addTagValue(tag, 7, false);
    Media::MediaDataCache::setData(Data::eDataTagRingerVolume, 6, false); // begins the log
    syncs = 0;
    bool const isStored = Media::MediaDataCache::setDataBulk(bulk);
    int const commits = syncs;
    Media::MediaDataCache::terminate();
    return isStored && commits == 1 ? 0 : 1;
}

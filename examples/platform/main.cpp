// The library over the platform that is being made: it starts, and every setting has its default.
#include "Platform.h"

#include <Media/MediaDataCache.h>

#include <iostream>

using Media::MediaDataCache;

int main()
{
    Telephone telephone;
    MediaDataCache::init(telephone);
    int volume = 0;
    bool const isKnown = MediaDataCache::getData(Data::eDataTagRingerVolume, volume);
    bool const isStored = MediaDataCache::setData(Data::eDataTagRingerVolume, 5, false);
    std::cout << "ringer volume " << (isKnown ? std::to_string(volume) : "unknown") << ", another is "
              << (isStored ? "stored" : "refused") << '\n';
    MediaDataCache::terminate();
}

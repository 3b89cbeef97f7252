// A small client of libmediadata: starts the library over the workstation's platform, listens, reads and writes.
//
//     cmake -B build && cmake --build build && build/client /tmp/telephone
//     c++ -std=c++20 client.cpp -o client $(pkg-config --cflags --libs mediadata-host)
//
// On a telephone only the first and the last lines of main() differ: its own platform supplies the context.
#include <Data/BulkData.h>
#include <Media/MediaDataCache.h>

#include <HostPlatform.h>
#include <ManagementService.h>

#include <iostream>

using Media::MediaDataCache;

namespace {

// Hears of the items that it is registered for: once per change, with the new values of all that changed together. It runs
// on the thread that made the change and must live longer than the cache.
class Listener : public DataUpdateCallback {
    void onDataUpdate(Data::BulkData& changes) override { std::cout << "heard " << changes.serialize() << '\n'; }
};

void showVolume()
{
    int volume = 0;
    if (MediaDataCache::getData(Data::eDataTagRingerVolume, volume)) // false: another type, or it cannot be read
        std::cout << "ringer volume is " << volume << '\n';
}

void setVolume(int volume)
{
    constexpr bool tellTheManagementService = true;
    auto const stored = MediaDataCache::setData(Data::eDataTagRingerVolume, volume, tellTheManagementService);
    std::cout << "ringer volume " << volume << (stored ? " is stored\n" : " is refused\n"); // stored means durable
}

} // namespace

int main(int argc, char** argv)
{
    Host::Options options;
    options.directory = argc > 1 ? argv[1] : "telephone"; // everything stored; made when it is missing
    std::string error;
    auto const platform = Host::Platform::open(options, error);
    if (!platform) {
        std::cerr << "client: " << error << '\n';
        return 1;
    }
    MediaDataCache::init(*platform); // reads everything stored; the platform must live longer than the cache
    platform->management().setAgent(MediaDataCache::managementAgent());

    Listener listener;
    MediaDataCache::registerCallback({Data::eDataTagRingerVolume, Data::eDataTagRingerMelody}, &listener);
    showVolume();
    setVolume(5);
    setVolume(9); // the range is 1 to 8: nobody hears of it, and the log says why
    showVolume();

    Data::BulkData changes; // many values at once: stored together, announced together
    changes.addTagValue(Data::eDataTagRingerVolume, 6, false);
    changes.addTagValue(Data::eDataTagRingerMelody, 2, false);
    MediaDataCache::setDataBulk(changes);

    platform->management().setAgent(nullptr);
    MediaDataCache::terminate();
}

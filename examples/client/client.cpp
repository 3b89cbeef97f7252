// A small client of libmediadata: starts the library over the workstation's platform, listens, reads and writes.
//
//     cmake -B build && cmake --build build && build/client /tmp/telephone
//     c++ -std=c++20 client.cpp -o client $(pkg-config --cflags --libs mediadata-host)
//
// On a telephone only the first and the last lines of main() differ: its own platform supplies the context.
#include <HostPlatform.h>
#include <Media/Setting.h>

#include <iostream>

using Media::MediaDataCache;

namespace {

Media::Setting<Data::eDataTagRingerVolume> const volume; // its type is the catalogue's
Media::Setting<Data::eDataTagRingerMelody> const melody;

void showVolume()
{
    std::cout << "ringer volume is " << volume.get() << '\n'; // never waits
}

void setVolume(int value)
{
    auto const result = volume.set(value, Media::tellManagement);
    if (result.ok()) // it is durable
        std::cout << "ringer volume " << value << " is stored\n";
    else
        std::cout << "ringer volume " << value << " is not: " << result.reason() << '\n';
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

    {
        // Called on the thread that made the change, until the subscription ends.
        auto const subscription = Media::onChange({Data::eDataTagRingerVolume, Data::eDataTagRingerMelody},
                                                  [](Data::BulkData const& changed) { // with all that changed together
                                                      std::cout << changed.getTags().size() << " changed\n";
                                                  });
        showVolume();
        setVolume(5);
        setVolume(9); // the range is 1 to 8: nobody hears of it
        showVolume();

        Media::Batch batch; // stored together, announced together
        if (!batch.set(volume, 6).set(melody, 2).commit().ok())
            std::cout << "not all of it is stored\n";
    }

    platform->management().setAgent(nullptr);
    MediaDataCache::terminate();
}

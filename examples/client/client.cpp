// A small client of libmediadata: starts the library over the workstation's platform, listens, reads and writes.
//
//     cmake -B build && cmake --build build && build/client /tmp/telephone
//     c++ -std=c++20 client.cpp -o client $(pkg-config --cflags --libs mediadata-workbench)
//
// With a further argument it stays until SIGTERM: `mediadata --data-dir /tmp/telephone set ringer-volume=7` is heard here.
// On a telephone only the first and the last lines of main() differ: its own platform supplies the context.
#include <HostPlatform.h>
#include <Media/Setting.h>
#include <Workbench/Holder.h>

#include <csignal>
#include <iostream>

using Media::MediaDataCache;

namespace {

Media::Setting<Data::eDataTagRingerVolume> const volume; // its type is the catalogue's
Media::Setting<Data::eDataTagRingerMelody> const melody;

// Lets the tool in until the process is told to end.
void letToolIn(Host::Platform& platform)
{
    sigset_t ends;
    sigemptyset(&ends);
    sigaddset(&ends, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &ends, nullptr);
    auto const heard = volume.onChange([](int now) { std::cout << "ringer volume is now " << now << std::endl; });
    Workbench::Holder const holder(platform); // goes before terminate; what the tool changes is heard on a thread of its own
    std::cout << (holder ? "the tool is let in" : holder.error()) << std::endl;
    for (int signal = 0; holder && signal != SIGTERM;)
        sigwait(&ends, &signal);
}

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

    if (argc > 2)
        letToolIn(*platform);

    platform->management().setAgent(nullptr);
    MediaDataCache::terminate();
}

// The limits of the machine: what a read and a durable change cost at least. Also starts other programs and says how long they
// take to their first value, since it is small itself, and gives the memory of a program that does nothing.
#include "Keys.h"
#include "Runner.h"

#include <algorithm>
#include <array>
#include <map>
#include <mutex>
#include <vector>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>

extern char** environ;

namespace {

using namespace Bench;

void measureLimits(std::string const& directory)
{
    std::thread([] {}).join();
    pin(0);
    Runner runner("", 0);
    std::recursive_mutex mutex;
    runner.operation("recursive mutex, lock and unlock", 0.1, [&](std::size_t) { std::lock_guard const held(mutex); });

    std::map<int, int> ordered;
    std::array<int, 1024> array{};
    auto const keys = keysOf(Type::Int, false);
    for (Key const& key : allKeys())
        ordered[key.tag] = array[static_cast<std::size_t>(key.tag)] = key.tag;
    runner.operation("ordered map, look-up", 0.1,
                     [&](std::size_t i) { keep(ordered.find(keys[i % keys.size()].tag)->second); });
    static std::atomic<int> plain = 1;
    runner.operation("plain atomic, load", 0.1, [](std::size_t) { keep(plain.load(std::memory_order_acquire)); });
    runner.operation("array, look-up", 0.1,
                     [&](std::size_t i) { keep(array[static_cast<std::size_t>(keys[i % keys.size()].tag)]); });

    std::array<char, 4096> const page{};
    int const file = open((directory + "/appended").c_str(), O_CREAT | O_RDWR | O_APPEND | O_CLOEXEC, 0600);
    runner.operation("4 KiB append and fdatasync", 0.6, [&](std::size_t) {
        if (write(file, page.data(), page.size()) < 0 || fdatasync(file) != 0)
            std::abort();
    });
    int const again = open((directory + "/rewritten").c_str(), O_CREAT | O_RDWR | O_CLOEXEC, 0600);
    runner.operation("4 KiB rewritten and fdatasync", 0.6, [&](std::size_t) {
        if (pwrite(again, page.data(), page.size(), 0) < 0 || fdatasync(again) != 0)
            std::abort();
    });
}

/// Nanoseconds from before the program is started until the time that it prints.
double launch(char** arguments)
{
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0)
        std::abort();
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    pid_t child = 0;
    auto const start = Clock::now().time_since_epoch().count();
    if (posix_spawn(&child, arguments[0], &actions, nullptr, arguments, environ) != 0)
        std::abort();
    close(ends[1]);
    posix_spawn_file_actions_destroy(&actions);
    std::array<char, 64> text{};
    if (read(ends[0], text.data(), text.size() - 1) <= 0)
        std::abort();
    close(ends[0]);
    waitpid(child, nullptr, 0);
    return static_cast<double>(std::strtoll(text.data(), nullptr, 10) - start);
}

} // namespace

/// Arguments: `limits` directory, `memory`, or `launch` program arguments...
int main(int argc, char** argv)
{
    std::string const job = argc > 1 ? argv[1] : "";
    if (job == "memory")
        showMemory();
    else if (job == "limits" && argc > 2)
        measureLimits(argv[2]);
    else if (job == "launch" && argc > 2) {
        std::vector<double> times(11);
        for (double& each : times)
            each = launch(argv + 2);
        std::nth_element(times.begin(), times.begin() + 5, times.end());
        Runner::report("start-up from exec", times[5]);
    } else
        return 2;
    return 0;
}

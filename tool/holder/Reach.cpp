#include "holder/Reach.h"

#include "holder/Remote.h"
#include "report/Console.h"
#include "report/Text.h"

#include "HostPlatform.h"

#include <fmt/format.h>

#include <chrono>
#include <filesystem>
#include <ostream>
#include <system_error>
#include <thread>
#include <utility>

namespace Tool {

namespace {

using namespace std::chrono_literals;

constexpr auto silence = 1s;
constexpr auto pause = 20ms;

Request requestOf(std::vector<std::string> const& words, Console const& console)
{
    std::error_code ignored;
    return {words,
            std::filesystem::current_path(ignored).string(),
            console.colourOut,
            console.colourErr,
            console.outIsTerminal,
            console.columns};
}

/// By the process that serves the directory; nothing when it did not begin.
std::optional<Reached> reachThrough(Remote& holder, Options const& options, Console& console, Request const& request,
                                    Wish wish, Remote::Deadline begun)
{
    if (wish == Wish::Hold)
        return Reached{.failure = "data directory " + options.dataDirectory.string() + ": in use by process " +
                                  std::to_string(holder.process()) + ", which serves it"};
    std::string failure;
    auto const status = holder.run(request, console, wish == Wish::Changes, begun, failure);
    if (!status && failure.empty())
        return std::nullopt;
    return Reached{.status = status, .failure = std::move(failure)};
}

/// What opening it did to the directory.
void tell(Workbench& workbench, Console& console)
{
    auto const& platform = workbench.platform();
    auto const say = [&](std::string const& text) {
        console.quiet();
        console.err << "mediadata: " << escaped(text) << std::endl;
    };
    if (workbench.isNew())
        say("made a new telephone in " + platform.directory());
    for (auto const& notice : platform.notices())
        say(notice);
}

} // namespace

Reached reach(Options const& options, Console& console, std::vector<std::string> const& words, Wish wish,
              std::chrono::seconds patience)
{
    auto const request = requestOf(words, console);
    bool told = false;
    for (auto const begin = std::chrono::steady_clock::now(), end = begin + patience;;) {
        if (auto holder = Remote::find(options.dataDirectory)) {
            if (auto reached = reachThrough(*holder, options, console, request, wish, end))
                return std::move(*reached);
        }
        Reached here;
        bool inUse = false;
        here.workbench = Workbench::open(options, here.failure, inUse);
        if (here.workbench)
            tell(*here.workbench, console);
        if (here.workbench || !inUse)
            return here;
        // A short command is soon over, and a process that has just begun will serve.
        auto const now = std::chrono::steady_clock::now();
        if (now >= end) {
            here.failure += fmt::format("; waited {} s for it", patience.count());
            return here;
        }
        if (!std::exchange(told, told || now - begin > silence) && told)
            console.err << "mediadata: " << escaped(here.failure) << "; waiting" << std::endl;
        std::this_thread::sleep_for(pause);
    }
}

} // namespace Tool

// How the seam's functions reach the scripted platform: each goes through `call`, which counts, injects faults, keeps the
// journal and calls the hook. Only for the sources of this folder.
#pragma once

#include "ScriptedPlatform.h"

#include <functional>
#include <string>
#include <vector>

namespace Scripted {

/// Holds of this thread over all semaphores that were made held.
int lockDepthOfThisThread();

struct Seam {
    using Arguments = std::vector<std::string>;

    /// Journals a call that answers a text. With `failure` it is fallible, and `failure` is its answer when it fails;
    /// `answer` runs without the platform's lock.
    static std::string text(std::string const& name, Arguments arguments, char const* failure,
                            std::function<std::string()> const& answer)
    {
        return Platform::current().call(name, std::move(arguments), failure, answer);
    }

    /// The same for a call that answers yes or no.
    static bool truth(std::string const& name, Arguments arguments, bool fallible, std::function<bool()> const& answer)
    {
        return text(name, std::move(arguments), fallible ? "false" : nullptr,
                    [&] { return std::string(answer() ? "true" : "false"); }) == "true";
    }

    static bool reachable(std::string const& schema);
    static std::string read(std::string const& schema, std::string const& element, bool whole);
    static bool write(std::string const& schema, std::string const& element, std::string const& text);
    static void replaceTable(std::string const& schema, std::string const& xml);
    static bool beginGroup();
    static bool endGroup(bool store);
    static std::size_t groupLimits();
    static std::string failedEncryption();
    static bool hardware(std::string const& question);
    static void log(int level, char const* file, std::string text);
    static bool logWanted(int level);
};

} // namespace Scripted

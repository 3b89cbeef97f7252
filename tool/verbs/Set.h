// Values are set, all in one bulk set: `set`.
#pragma once

#include "verbs/Verb.h"

#include <optional>
#include <string>

namespace Tool::Verbs::Set {

struct Options {
    Words assignments;                  ///< ITEM=VALUE
    std::string file;                   ///< with more of them, a line each
    std::optional<std::string> content; ///< of the file, by gather()
    bool dryRun = false;
    bool atomic = false;
    bool watch = false;
    General general;
};

Report gather(Options& options, Console& console);

/// Each value is accounted for. Nothing is set when something is no assignment.
Report run(Options const& options, Workbench& workbench);

Verb verb();

} // namespace Tool::Verbs::Set

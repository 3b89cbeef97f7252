// The flag file: `flags`.
#pragma once

#include "verbs/Verb.h"

namespace Tool::Verbs::Flags {

struct Options {
    Words changes;      ///< FLAG, FLAG=VALUE, or FLAG=, which takes its line away
    bool clear = false; ///< removes the file
};

/// Shows the flags, after the changes if there are any.
Report run(Options const& options, Workbench& workbench);
Verb verb();

} // namespace Tool::Verbs::Flags

// Back to the defaults: `reset`.
#pragma once

#include "verbs/Verb.h"

namespace Tool::Verbs::Reset {

struct Options {
    Words what;          ///< "audio" or "user-data", which the library resets by operations of its own; or items
    bool dryRun = false; ///< says what would change and changes nothing
};

/// A table's or group's name stands for all its cells.
Report run(Options const& options, Workbench& workbench);
Verb verb();

} // namespace Tool::Verbs::Reset

// What entries of the history changed is taken back.
#pragma once

#include "report/Report.h"

#include <cstdint>
#include <optional>
#include <string>

namespace Tool {

class Workbench;

struct UndoOptions {
    std::optional<std::int64_t> number; ///< an entry; otherwise the last one that is in force and no undo
    std::optional<std::int64_t> since;  ///< everything from this time on, in milliseconds since 1970
    bool dryRun = false;
    bool force = false; ///< also what changed meanwhile, and the rest of an entry of which something cannot be taken back
    bool yes = false;   ///< wipes texts that the entry does not name; otherwise the report asks first
};

/// Gives items the values that they had before, as an import would: settings in one commit, flags, device and what the service holds
/// behind it. Nothing is changed when something stands in the way.
Report undo(Workbench& workbench, UndoOptions const& options);

} // namespace Tool

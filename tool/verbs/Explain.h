// Where an item's value comes from: `explain`.
#pragma once

#include "verbs/Verb.h"

namespace Tool::Verbs::Explain {

struct Options {
    std::string item; ///< a name, or a tag number
};

/// Every layer that could give the item its value, what it holds and says, which one won, and why a table's row is hidden from
/// the management service. Asks without changing anything.
Report run(Options const& options, Workbench& workbench);
Verb verb();

} // namespace Tool::Verbs::Explain

// How the user's data is handled: `mobility`.
#pragma once

#include "verbs/Verb.h"

namespace Tool::Verbs::Mobility {

struct Options {
    std::string type; ///< all, managed, unmanaged or the empty text
};

/// Announces it.
Report run(Options const& options, Workbench& workbench);
Verb verb();

} // namespace Tool::Verbs::Mobility

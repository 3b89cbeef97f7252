// Who changed what, and when: `history`.
#pragma once

#include "verbs/Verb.h"

namespace Tool::Verbs::History {

struct Options {
    std::string pattern; ///< a glob or a part of a name; empty: all items
    std::size_t limit = 100;
};

/// The last entries of the items that match.
Report run(Options const& options, Workbench& workbench);
Verb verb();

} // namespace Tool::Verbs::History

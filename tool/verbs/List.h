// Items with their values: `list`.
#pragma once

#include "verbs/Verb.h"

namespace Tool::Verbs::List {

struct Options {
    std::string pattern; ///< a glob or a part of a name; empty: all items
    bool changedOnly = false;
};

Report run(Options const& options, Workbench& workbench);
Verb verb();

} // namespace Tool::Verbs::List

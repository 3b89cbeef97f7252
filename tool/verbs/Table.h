// The table-valued settings as people read them: `table codec` and its like.
#pragma once

#include "verbs/Verb.h"

namespace Tool::Verbs::Table {

struct Options {
    std::string name;
    std::string alert; ///< of the ringing table: only the row that a call with this alert identifier rings by
};

Report run(Options const& options, Workbench& workbench);
Verb verb();

} // namespace Tool::Verbs::Table

// Values, one or several: `get`.
#pragma once

#include "verbs/Verb.h"

namespace Tool::Verbs::Get {

struct Options {
    Words items; ///< names, or tag numbers
};

Report run(Options const& options, Workbench& workbench);
Verb verb();

} // namespace Tool::Verbs::Get

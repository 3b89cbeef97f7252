// Everything that the catalogue says about an item: `describe`.
#pragma once

#include "verbs/Verb.h"

namespace Tool::Verbs::Describe {

struct Options {
    std::string item; ///< a name, or a tag number
};

Report run(Options const& options, Workbench& workbench);
Verb verb();

} // namespace Tool::Verbs::Describe

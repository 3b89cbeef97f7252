// The country and what it means: `country`.
#pragma once

#include "verbs/Verb.h"

namespace Tool::Verbs::Country {

struct Options {
    std::optional<std::string> code; ///< two capital letters; is reported as the new country first
};

Report run(Options const& options, Workbench& workbench);
Verb verb();

} // namespace Tool::Verbs::Country

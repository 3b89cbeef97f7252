// How the user's data is handled: `mobility`.
#pragma once

#include "verbs/Verb.h"

#include <optional>
#include <string>

namespace Tool::Verbs::Mobility {

struct Options {
    std::optional<std::string> type;    ///< all, managed, unmanaged or the empty text; nothing: shows what there is
    std::string from;                   ///< a document with the data of the user who arrives
    std::optional<std::string> content; ///< of that file, by gather()
};

Report gather(Options& options, Console& console);

/// Announces the type, after the arriving user's data was stored.
Report run(Options const& options, Workbench& workbench);

Verb verb();

} // namespace Tool::Verbs::Mobility

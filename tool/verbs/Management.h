// The verbs that act as the telephone's management service: `mgmt get` and its like.
#pragma once

#include "verbs/Verb.h"

#include <vector>

namespace Tool::Verbs::Management {

struct GetOptions {
    Words items; ///< as the service names them, or tables
};

/// What the service is told, table rows that the hardware cannot use left out.
Report run(GetOptions const& options, Workbench& workbench);

struct SetOptions {
    Words assignments; ///< ITEM=VALUE
    General general;
};

/// A set request, with its reject reasons and what it changed.
Report run(SetOptions const& options, Workbench& workbench);

struct ChangedOptions {
    Words assignments; ///< ITEM=VALUE
    General general;
};

/// A report that items of other components changed.
Report run(ChangedOptions const& options, Workbench& workbench);

/// `mgmt` and the verbs below it; reset-user-data and journal have no options.
std::vector<Verb> verbs();

} // namespace Tool::Verbs::Management

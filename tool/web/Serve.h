// The telephone's page as the verb `web` has it.
#pragma once

#include "verbs/WebOptions.h"

namespace Tool::Web {

/// Serves until the process is to end, and answers the exit status.
int serve(WebOptions const& options, Holding const& holding);

} // namespace Tool::Web

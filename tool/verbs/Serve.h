// A process that only holds the data directory for others: `serve`.
#pragma once

#include "verbs/Verb.h"

namespace Tool::Verbs::Serve {

/// Says that it serves, and waits for the end.
int hold(Holding const& holding);

Verb verb();

} // namespace Tool::Verbs::Serve

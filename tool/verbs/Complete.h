// The hidden verb for the completion of command shells: `complete -- WORDS...`, of which the last is the one that is typed, or
// `complete --line LINE`, cut as the shell cuts it. It takes its words as they are, before anything else looks at them.
#pragma once

#include "verbs/Verb.h"

namespace Tool::Verbs::Complete {

struct Options {
    Words words;
};

/// A line for each answer. Needs no data directory.
Report run(Options const& options);

} // namespace Tool::Verbs::Complete

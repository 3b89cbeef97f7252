// All verbs in one running process, with line editing, history, completion and change notifications: `shell`.
#pragma once

#include "verbs/Verb.h"

namespace Tool::Verbs::Shell {

/// Reads commands until "exit" or the end of the input. Answers the gravest exit status of the commands.
int hold(Holding const& holding);

Verb verb();

} // namespace Tool::Verbs::Shell

// The door for all words: those of a process, of a line of the shell, of a request at the socket.
#pragma once

#include "cli/Invocation.h"

namespace Tool {

/// Runs one command, words without the program's name, and answers the exit status.
int runCommand(Invocation& invocation, Words words);

} // namespace Tool

// How a program of this tool begins and ends.
#pragma once

#include "cli/Invocation.h"

namespace Tool {

/// Runs the words of a process, of which the first is the program's name, and answers its exit status.
int runProgram(Invocation& invocation, int count, char** words);

} // namespace Tool

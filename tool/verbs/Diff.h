// The commands that make this telephone anew: `diff --commands`.
#pragma once

#include "report/Report.h"

namespace Tool {

class Workbench;

/// The fewest commands that make this telephone out of one on which nothing was changed. `asRows` gives them as rows instead
/// of a text for the shell.
Report diffCommands(Workbench& workbench, bool asRows);

} // namespace Tool

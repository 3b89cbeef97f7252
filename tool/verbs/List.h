// Items with their values: `list`.
#pragma once

#include "report/Report.h"

#include <string>

namespace Tool {

class Workbench;

Report list(Workbench& workbench, std::string const& pattern, bool changedOnly);

} // namespace Tool

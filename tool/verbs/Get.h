// Values, one or several: `get`.
#pragma once

#include "report/Report.h"

#include <string>
#include <vector>

namespace Tool {

class Workbench;

Report get(Workbench& workbench, std::vector<std::string> const& items);

} // namespace Tool

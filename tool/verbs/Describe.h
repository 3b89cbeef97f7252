// Everything that the catalogue says about an item: `describe`.
#pragma once

#include "report/Report.h"

#include <string>

namespace Tool {

class Workbench;

Report describe(Workbench& workbench, std::string const& item);

} // namespace Tool

// Back to the defaults: `reset`.
#pragma once

#include "report/Report.h"

#include <string>
#include <vector>

namespace Tool {

class Workbench;

/// `what` is "audio" or "user-data", which the library resets by operations of its own, or items. A table's or group's name
/// stands for all its cells. With `dryRun` nothing changes and the report says what would.
Report reset(Workbench& workbench, std::vector<std::string> const& what, bool dryRun);

} // namespace Tool

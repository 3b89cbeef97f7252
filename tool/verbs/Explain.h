// Where an item's value comes from: `explain`.
#pragma once

#include "report/Report.h"

#include <string>

namespace Tool {

class Workbench;

/// Every layer that could give the item its value, what it holds and says, which one won, and why a table's row is hidden from
/// the management service. Asks without changing anything.
Report explain(Workbench& workbench, std::string const& item);

} // namespace Tool

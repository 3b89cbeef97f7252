// The table-valued settings as people read them: `table codec` and its like.
#pragma once

#include "report/Report.h"

#include <string>
#include <vector>

namespace Tool {

class Workbench;

/// The words that `table` knows.
std::vector<std::string> tableNames();

/// One table; `name` is one of tableNames(). With an alert identifier only the row that a call carrying it rings by, which
/// needs the ringing table.
Report table(Workbench& workbench, std::string const& name, std::string const& alert);

} // namespace Tool

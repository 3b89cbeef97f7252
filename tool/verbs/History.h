// Who changed what, and when: `history`.
#pragma once

#include "report/Report.h"

#include <cstddef>
#include <string>

namespace Tool {

class Workbench;

/// The last `limit` entries of the items that match the pattern, of all items when it is empty.
Report history(Workbench& workbench, std::string const& pattern, std::size_t limit);

} // namespace Tool

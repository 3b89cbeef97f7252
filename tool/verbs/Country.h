// The country and what it means: `country`.
#pragma once

#include "report/Report.h"

#include <optional>
#include <string>

namespace Tool {

class Workbench;

/// The country and what it means; a code, two capital letters, is reported as the new country first.
Report country(Workbench& workbench, std::optional<std::string> const& code);

} // namespace Tool

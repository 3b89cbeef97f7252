// How the user's data is handled: `mobility`.
#pragma once

#include "report/Report.h"

#include <string>

namespace Tool {

class Workbench;

/// Announces how the user's data is handled.
Report mobility(Workbench& workbench, std::string const& type);

} // namespace Tool

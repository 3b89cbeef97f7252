// The device profile, which the hardware rules ask: `device`.
#pragma once

#include "report/Report.h"

#include <string>

namespace Tool {

class Workbench;

/// Shows the profile; a model (entry, top, other) or USB (yes, no) that is not empty is stored first.
Report device(Workbench& workbench, std::string const& model, std::string const& usb);

} // namespace Tool

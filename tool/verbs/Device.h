// The device profile, which the hardware rules ask: `device`.
#pragma once

#include "verbs/Verb.h"

namespace Tool::Verbs::Device {

struct Options {
    std::string model; ///< entry, top or other; empty: stays
    std::string usb;   ///< yes or no; empty: stays
};

/// Shows the profile, after what is to change.
Report run(Options const& options, Workbench& workbench);
Verb verb();

} // namespace Tool::Verbs::Device

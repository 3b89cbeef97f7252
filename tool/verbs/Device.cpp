// The device profile, which the hardware rules ask: `device`.
#include "verbs/Verbs.h"

#include "workbench/Device.h"

namespace Tool::Verbs {

namespace {

struct DeviceOptions {
    std::string model; ///< entry, top or other; empty: stays
    std::string usb;   ///< yes or no; empty: stays
};

} // namespace

Verb deviceVerb()
{
    auto const options = std::make_shared<DeviceOptions>();
    return {
        .name = "device",
        .help = "Show or change the device profile",
        .arguments =
            {{.name = "--model",
              .target = &options->model,
              .help = "entry, top or other",
              .value = "MODEL",
              .choices = {"entry", "top", "other"}},
             {.name = "--usb", .target = &options->usb, .help = "yes or no", .value = "ANSWER", .choices = {"yes", "no"}}},
        .changesAs = "device",
        .action = [options](Workbench& workbench) { return device(workbench, options->model, options->usb); },
        .onlyReads = [options] { return options->model.empty() && options->usb.empty(); }};
}

} // namespace Tool::Verbs

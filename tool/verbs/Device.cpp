#include "verbs/Device.h"

#include "workbench/Device.h"

namespace Tool::Verbs::Device {

Report run(Options const& options, Workbench& workbench)
{
    return device(workbench, options.model, options.usb);
}

Verb verb()
{
    auto const options = std::make_shared<Options>();
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
        .action = onWorkbench(options)};
}

} // namespace Tool::Verbs::Device

#include "workbench/Device.h"

#include "workbench/Workbench.h"

#include "HostPlatform.h"

namespace Tool {

Report device(Workbench& workbench, std::string const& model, std::string const& usb)
{
    Report report;
    auto profile = workbench.platform().deviceProfile();
    if (!model.empty())
        Host::modelNamed(model, profile.model);
    if (!usb.empty())
        profile.usb = usb == "yes";
    if (profile != workbench.platform().deviceProfile() && !workbench.platform().setDeviceProfile(profile))
        return failure(exitStorage, "", "the device profile could not be stored");
    report.sections.push_back({"device", Layout::Pairs, {"model", "usb"}, {{Host::modelName(profile.model), profile.usb}}});
    return report;
}

} // namespace Tool

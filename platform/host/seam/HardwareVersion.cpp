// The hardware of the device profile that the process's platform has.
#include "HardwareVersion.h"

#include "seam/HostPlatform.h"

using Host::DeviceProfile;

bool HardwareVersion::is_TL20()
{
    return Host::Platform::currentProfile().model == DeviceProfile::Model::entry;
}

bool HardwareVersion::is_TL70()
{
    return Host::Platform::currentProfile().model == DeviceProfile::Model::top;
}

bool HardwareVersion::is_USBSupported()
{
    return Host::Platform::currentProfile().usb;
}

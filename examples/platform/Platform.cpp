// The context and the device, with the answers that are prescribed while the thing itself is out of reach. Storage.cpp has those of
// the database and of secrets; Semaphore.cpp and Log.cpp are ready for use. The conversions, the management record and the XML
// parser come from platform/common.
#include "Platform.h"

#include <HardwareVersion.h>

Executable* Telephone::findService(std::string const&)
{
    return nullptr;
}

// The device. To do: which model it is.

bool HardwareVersion::is_TL20()
{
    return false;
}

bool HardwareVersion::is_TL70()
{
    return false;
}

bool HardwareVersion::is_USBSupported()
{
    return false;
}

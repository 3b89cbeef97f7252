// The telephone's files lie below the data directory of the process's platform.
#include "PlatformPath.h"

#include "seam/HostPlatform.h"

std::string platformPath(std::string const& path)
{
    Host::Platform const* const platform = Host::Platform::current();
    return platform != nullptr ? platform->pathOf(path) : path;
}

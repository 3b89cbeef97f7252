#include "LibraryContext.h"

#include "HostLog.h"
#include "HostPlatform.h"

#include <cstdlib>

std::unique_ptr<SvcRTEContext> Bench::makeContext(std::string const& directory)
{
    Host::setLogSink([](Host::LogLine const&) {}); // refusals are logged
    std::string error;
    auto platform = Host::Platform::open({directory, std::nullopt}, error);
    if (!platform)
        std::abort();
    return platform;
}

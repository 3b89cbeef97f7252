// What an application sees of the tool: libmediadata-workbench exports this class alone.
#include "Workbench/Holder.h"

#include "cli/Serving.h"

#include "Media/MediaDataCache.h"

#include "HostPlatform.h"

#include <atomic>
#include <exception>
#include <stdexcept>
#include <tuple>

#include <unistd.h>

namespace Workbench {

namespace {

/// A second holder would take the socket's name from the first.
class OnlyOne {
public:
    OnlyOne()
    {
        if (s_exists.exchange(true))
            throw std::runtime_error("this process has a holder already");
    }
    ~OnlyOne() { s_exists = false; }
    OnlyOne(OnlyOne const&) = delete;
    OnlyOne& operator=(OnlyOne const&) = delete;

private:
    static inline std::atomic<bool> s_exists = false;
};

Tool::Invocation over(Host::Platform& platform)
{
    if (!Media::MediaDataCache::managementAgent())
        throw std::runtime_error("the library does not run");
    Tool::Invocation invocation;
    invocation.options.dataDirectory = platform.directory();
    invocation.workbench = Tool::Workbench::attach(platform, invocation.options);
    return invocation;
}

} // namespace

struct Holder::State {
    explicit State(Host::Platform& platform) : invocation(over(platform))
    {
        if (!serving.server())
            throw std::runtime_error(serving.failure());
    }

    pid_t const process = ::getpid();
    OnlyOne const only = {};
    Tool::Invocation invocation;
    Tool::Serving serving{invocation};
};

Holder::Holder(Host::Platform& platform)
{
    try {
        m_state = std::make_unique<State>(platform);
    } catch (std::exception const& fault) {
        m_error = fault.what();
    }
}

Holder::~Holder()
{
    // A fork's child has neither the threads nor a right to the socket's name.
    if (m_state && m_state->process != ::getpid())
        std::ignore = m_state.release();
}

} // namespace Workbench

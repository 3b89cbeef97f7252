#include "cli/Seclusion.h"

#include <cerrno>
#include <system_error>

#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>

namespace Tool {

std::string secludeProcess()
{
    rlimit const none{0, 0};
    ::setrlimit(RLIMIT_CORE, &none);
    ::prctl(PR_SET_DUMPABLE, 0, 0, 0, 0);
    // Within a limit, memory that is asked for later could be refused: it must be all or nothing. What no one touches, such as the
    // rest of a thread's stack, is not made resident.
    rlimit const all{RLIM_INFINITY, RLIM_INFINITY};
    if (::setrlimit(RLIMIT_MEMLOCK, &all) == 0 && ::mlockall(MCL_CURRENT | MCL_FUTURE | MCL_ONFAULT) == 0)
        return "";
    return "memory can be swapped out: " + std::generic_category().message(errno);
}

} // namespace Tool

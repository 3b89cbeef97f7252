// A process of this tool that holds a telephone for long has its secrets in memory: it leaves no core dump, cannot be traced by
// other processes of the user, and is not swapped out where that is allowed.
#pragma once

#include <string>

namespace Tool {

/// Of the whole process, for good; to be called before it opens anything. Says what could not be had, empty when nothing.
std::string secludeProcess();

} // namespace Tool

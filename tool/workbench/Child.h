// The tool runs itself: another process for another data directory, since a process has one platform.
#pragma once

#include <string>
#include <vector>

#include <sys/types.h>

namespace Tool {

/// Starts this program with the words, its standard streams on the descriptors; no signal is kept from
/// it, and it has no terminal. -1 with errno.
pid_t startChild(std::vector<std::string> words, int in, int out, int err);

/// The same for another program, the first word, which is looked for where the environment says; all streams on one descriptor.
pid_t startProgram(std::vector<std::string> words, int streams);

/// Waits for it: its exit status, or -1 when it ended by a signal.
int endOfChild(pid_t child);

} // namespace Tool

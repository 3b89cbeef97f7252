#include "cli/Program.h"

#include "cli/CommandLine.h"

#include <csignal>
#include <exception>
#include <iostream>

#include <fcntl.h>
#include <unistd.h>

namespace Tool {

namespace {

/// A standard stream that the caller closed must not become a file of the data directory: reads from it find the end, writes
/// fail.
void holdStandardStreams()
{
    int file = STDIN_FILENO;
    while (file >= STDIN_FILENO && file <= STDERR_FILENO)
        file = ::open("/dev/null", O_RDONLY);
    ::close(file);
}

} // namespace

int runProgram(Invocation& invocation, int count, char** words)
{
    holdStandardStreams();
    std::signal(SIGXFSZ, SIG_IGN); // A write beyond the limit of a file's size fails like one to a full disk.
    try {
        return runCommand(invocation, {words + (count > 0 ? 1 : 0), words + count});
    } catch (std::exception const& error) {
        std::cerr << "mediadata: " << error.what() << '\n';
        return exitInternal;
    }
}

} // namespace Tool

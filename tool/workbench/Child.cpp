#include "workbench/Child.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <utility>

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Tool {

namespace {

pid_t start(char const* program, std::vector<std::string> words, int in, int out, int err)
{
    std::vector<char*> arguments(words.size() + 1); // The last one stays null.
    std::ranges::transform(words, arguments.begin(), [](std::string& word) { return word.data(); });
    posix_spawn_file_actions_t streams;
    ::posix_spawn_file_actions_init(&streams);
    ::posix_spawn_file_actions_adddup2(&streams, in, STDIN_FILENO);
    ::posix_spawn_file_actions_adddup2(&streams, out, STDOUT_FILENO);
    ::posix_spawn_file_actions_adddup2(&streams, err, STDERR_FILENO);
    // The child may end at once, whatever this process keeps for later. It has no terminal to ask at, and does not hear a Ctrl-C.
    posix_spawnattr_t attributes;
    sigset_t none;
    sigemptyset(&none);
    ::posix_spawnattr_init(&attributes);
    ::posix_spawnattr_setsigmask(&attributes, &none);
    ::posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSID);
    pid_t child = -1;
    int const fault = ::posix_spawnp(&child, program, &streams, &attributes, arguments.data(), ::environ);
    ::posix_spawnattr_destroy(&attributes);
    ::posix_spawn_file_actions_destroy(&streams);
    errno = fault;
    return fault == 0 ? child : -1;
}

} // namespace

pid_t startChild(std::vector<std::string> words, int in, int out, int err)
{
    words.insert(words.begin(), "mediadata");
    // Under an emulator the process's own file is the emulator.
    auto const* const program = std::getenv("MEDIADATA_PROGRAM");
    return start(program && *program ? program : "/proc/self/exe", std::move(words), in, out, err);
}

pid_t startProgram(std::vector<std::string> words, int streams)
{
    auto const program = words.front();
    return start(program.c_str(), std::move(words), streams, streams, streams);
}

int endOfChild(pid_t child)
{
    int status = 0;
    while (::waitpid(child, &status, 0) < 0) {
        if (errno != EINTR)
            return -1;
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

} // namespace Tool

// The other end of Server: finds the process that holds a data directory and has it run a command.
#pragma once

#include "holder/Channel.h"
#include "report/Console.h"

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>

namespace Tool {

class Remote {
public:
    /// Nothing when no process serves the directory. One that does not even take connections serves nobody.
    static std::optional<Remote> find(std::filesystem::path const& dataDirectory);

    pid_t process() const { return m_process; }

    using Deadline = std::chrono::steady_clock::time_point;

    /// Runs the command there and shows what it says. Answers the exit status; nothing when it has not begun, since the process
    /// ended or has not come to it until `begun`. `failure` says why there is no answer although it had begun.
    /// `untilRead` ends it, with status 0, when the reader of the standard output has gone.
    std::optional<int> run(Request request, Console& console, bool untilRead, Deadline begun, std::string& failure);

private:
    Remote(Host::FileDescriptor socket, pid_t process) : m_channel(std::move(socket)), m_process(process) {}
    Channel::Event first(Message& message, Console& console, Deadline begun);
    Channel::Event next(Message& message, int output);
    bool supply(Request& request, std::string const& asked, Console& console) const;

    Channel m_channel;
    pid_t m_process;
    bool m_begun = false;
};

} // namespace Tool

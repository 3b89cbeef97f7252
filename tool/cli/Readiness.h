// How a process that lasts tells others that it is ready: people by a line on the error stream, scripts by a descriptor, and a
// service manager by the datagrams that it names a socket for (NOTIFY_SOCKET).
#pragma once

#include "report/Console.h"
#include "verbs/Verb.h"

#include <string>

namespace Tool {

/// Tells a service manager, too, that the process ends, when the object does.
class Readiness {
public:
    /// Of a verb that tells nobody `lasting` is null.
    Readiness(Console& console, Lasting const* lasting, std::string const& directory);
    ~Readiness();
    Readiness(Readiness const&) = delete;
    Readiness& operator=(Readiness const&) = delete;

    /// Why what was named for it cannot be told; empty when it can. Asked before the process opens anything.
    static std::string fault(Lasting const& lasting);

    /// To be called once.
    void tell();

    /// For a handler of signals that ends the process: tells the service manager, if it was told that one is ready.
    static void endBySignal();

private:
    Console& m_console;
    Lasting const* m_lasting;
    std::string m_directory;
    bool m_told = false;
};

} // namespace Tool

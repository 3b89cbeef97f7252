// Lets the tool `mediadata` into an application that runs libmediadata over the workstation's platform.
#pragma once

#include <memory>
#include <string>

namespace Host {
class Platform;
}

namespace Workbench {

/// While it lives, what `mediadata` is told to do with the application's data directory, by any process of the same user, is done
/// to the library in this process: every verb, with the history and with watchers. The application hears of what the tool
/// changes as of any change.
///
/// Lifetime: made after MediaDataCache::init and destroyed before MediaDataCache::terminate and before the platform, which it
/// borrows. There is one in a process at a time. In the child of a fork it does nothing.
///
/// Threads: it has threads of its own, which take no signals of the process, and carries out one command at a time on one of
/// them. There the application's callbacks are called for what the tool changes, and may do what they may do on any thread. A
/// holder is made and destroyed by a thread that is in no callback and holds nothing that a callback waits for: its destructor
/// lets a command that runs end, and sends watchers away.
class Holder {
public:
    /// Listens in the data directory, throws nothing, and leaves log and management service to the application. When the tool
    /// cannot be let in, the object is false, and the application works as it would without it.
    explicit Holder(Host::Platform& platform);
    ~Holder();
    Holder(Holder const&) = delete;
    Holder& operator=(Holder const&) = delete;

    /// The tool is let in.
    explicit operator bool() const { return m_state != nullptr; }

    /// Why it is not: the library does not run, there is a holder already, or the socket cannot be made.
    std::string const& error() const { return m_error; }

private:
    struct State;

    std::unique_ptr<State> m_state;
    std::string m_error;
};

} // namespace Workbench

#include "holder/EndSignals.h"

#include <csignal>

#include <sys/signalfd.h>

namespace Tool {

EndSignals::EndSignals()
{
    sigset_t blocked;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGPIPE); // Not read: a broken stream is noticed where it is written to.
    ::pthread_sigmask(SIG_BLOCK, &blocked, nullptr);
    sigdelset(&blocked, SIGPIPE);
    for (int const signal : {SIGINT, SIGTERM, SIGHUP})
        sigaddset(&blocked, signal);
    ::pthread_sigmask(SIG_BLOCK, &blocked, nullptr);
    m_descriptor = Host::FileDescriptor(::signalfd(-1, &blocked, SFD_CLOEXEC));
}

} // namespace Tool

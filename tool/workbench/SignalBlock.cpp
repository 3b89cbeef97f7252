#include "workbench/SignalBlock.h"

#include <initializer_list>

namespace Tool {

SignalBlock::SignalBlock()
{
    sigset_t blocked;
    sigfillset(&blocked);
    for (int const fault : {SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGABRT, SIGTRAP, SIGSYS})
        sigdelset(&blocked, fault);
    ::pthread_sigmask(SIG_SETMASK, &blocked, &m_before);
}

SignalBlock::~SignalBlock()
{
    ::pthread_sigmask(SIG_SETMASK, &m_before, nullptr);
}

} // namespace Tool

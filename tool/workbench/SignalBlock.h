// Keeps signals away from a piece of work.
#pragma once

#include <csignal>

namespace Tool {

/// While it lives, its thread and those that it makes take no signals but for faults of their own: they wait, or go to other threads.
class SignalBlock {
public:
    SignalBlock();
    ~SignalBlock();
    SignalBlock(SignalBlock const&) = delete;
    SignalBlock& operator=(SignalBlock const&) = delete;

private:
    sigset_t m_before{};
};

} // namespace Tool

// The platform's lock.
#pragma once

#include <memory>

/// Counts up to `maximum`, starting with `initial`. With `initial` 0 it is held by the thread that made it; a recursive one
/// may be taken again by its holder and is free when given as often as taken (the first hold of a held construction counts
/// once). Safe from any thread. A thread that runs may take it again ahead of those that wait, but nobody waits without bound
/// while it is given again and again.
class Semaphore {
public:
    Semaphore(int maximum, int initial, bool recursive);
    ~Semaphore();
    Semaphore(Semaphore const&) = delete;
    Semaphore& operator=(Semaphore const&) = delete;

    /// Waits at most `timeoutMs` milliseconds, -1: without limit, 0: not at all. True when taken.
    bool take(int timeoutMs);

    /// Gives one hold back. False, and nothing changes, when another thread holds it or when it is not taken.
    bool give();

private:
    class State;
    std::unique_ptr<State> const m_state;
};

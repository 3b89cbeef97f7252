// The library's lock: the platform's re-entrant Semaphore as a capability, so that clang checks who holds it, and the guard that
// holds it for a scope, so that no return can forget to give it.
#pragma once

#include "Data/ThreadSafety.h"

#include "Semaphore.h"

namespace Data {

/// The thread that holds it may take it again. Clang's analysis looks at one function at a time and knows nothing of that: what
/// it checks is that guarded members are touched, and operations that require the lock are called, only where it is held.
class MEDIADATA_CAPABILITY("lock") CacheLock {
public:
    enum class State { Free, Held };

    /// With `Held` the constructing thread holds it.
    explicit CacheLock(State state) : m_semaphore(1, state == State::Free ? 1 : 0, true) {}

    /// Waits without limit.
    [[gnu::always_inline]] void take() MEDIADATA_ACQUIRE() { m_semaphore.take(-1); }
    void give() MEDIADATA_RELEASE() { m_semaphore.give(); }

private:
    Semaphore m_semaphore;
};

/// Holds the lock, which must outlive it, from construction to destruction.
class [[nodiscard]] MEDIADATA_SCOPED_CAPABILITY ScopedLock {
public:
    explicit ScopedLock(CacheLock& lock) MEDIADATA_ACQUIRE(lock) : m_lock(lock) { m_lock.take(); }
    ~ScopedLock() MEDIADATA_RELEASE() { m_lock.give(); }
    ScopedLock(ScopedLock const&) = delete;
    ScopedLock& operator=(ScopedLock const&) = delete;

private:
    CacheLock& m_lock;
};

} // namespace Data

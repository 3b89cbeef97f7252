// Holds a platform lock for a scope, so that no return can forget to give it.
#pragma once

#include "Semaphore.h"

namespace Data {

/// Takes the lock without time limit and gives it at the end of the scope. The lock must outlive the scope.
class [[nodiscard]] ScopedLock {
public:
    explicit ScopedLock(Semaphore& lock) : m_lock(lock) { m_lock.take(-1); }
    ~ScopedLock() { m_lock.give(); }
    ScopedLock(ScopedLock const&) = delete;
    ScopedLock& operator=(ScopedLock const&) = delete;

private:
    Semaphore& m_lock;
};

} // namespace Data

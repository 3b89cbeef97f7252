// The standard library's mutex, lock and condition, annotated so that clang checks who holds what: see Data/ThreadSafety.h.
#pragma once

#include "Data/ThreadSafety.h"

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace Threads {

/// Held through a Lock.
class MEDIADATA_CAPABILITY("mutex") Mutex {
private:
    friend class Lock;
    std::mutex m_mutex;
};

/// Holds a mutex for its own lifetime, but for the times between unlock() and lock().
class MEDIADATA_SCOPED_CAPABILITY Lock {
public:
    explicit Lock(Mutex& mutex) MEDIADATA_ACQUIRE(mutex) : m_lock(mutex.m_mutex) {}
    ~Lock() MEDIADATA_RELEASE() = default;
    Lock(Lock const&) = delete;
    Lock& operator=(Lock const&) = delete;

    void lock() MEDIADATA_ACQUIRE() { m_lock.lock(); }
    void unlock() MEDIADATA_RELEASE() { m_lock.unlock(); }

private:
    friend class Condition;
    std::unique_lock<std::mutex> m_lock;
};

/// Waits give the mutex and have it back when they return. They may return too early, hence stand in a loop; the loop's
/// condition is written there and not in a lambda, whose lock clang would not see.
class Condition {
public:
    void wait(Lock& lock) { m_condition.wait(lock.m_lock); }

    /// False when the time is over.
    template <class Clock, class Duration> bool waitUntil(Lock& lock, std::chrono::time_point<Clock, Duration> const& end)
    {
        return m_condition.wait_until(lock.m_lock, end) == std::cv_status::no_timeout;
    }

    void notifyOne() { m_condition.notify_one(); }
    void notifyAll() { m_condition.notify_all(); }

private:
    std::condition_variable m_condition;
};

} // namespace Threads

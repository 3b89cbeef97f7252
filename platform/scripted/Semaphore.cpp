// The lock of the scripted platform: really blocking, and able to tell who holds what. One mutex guards the state of all
// semaphores, so that the depth of a thread and the sum of all holds are exact at any moment.
#include "Semaphore.h"

#include "Seam.h"

#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <set>
#include <thread>

namespace {

/// What one thread has of a semaphore: how often it took it, and how many of the semaphore's units that keeps.
struct Hold {
    int depth = 0;
    int units = 0;
};

struct Lock {
    Lock(int initial, int missing, bool isRecursive) : free(initial), recursive(isRecursive), madeHeld(initial == 0)
    {
        if (missing > 0)
            holds[std::this_thread::get_id()] = {recursive ? 1 : missing, missing};
    }

    bool tryTake()
    {
        std::thread::id const self = std::this_thread::get_id();
        if (recursive && holds.contains(self)) {
            ++holds[self].depth;
            return true;
        }
        if (free == 0)
            return false;
        --free;
        Hold& hold = holds[self];
        ++hold.depth;
        ++hold.units;
        return true;
    }

    /// How many units come free when the holder gives once.
    int unitsGiven(Hold const& hold) const { return !recursive ? 1 : hold.depth == 1 ? hold.units : 0; }

    int free;
    bool const recursive;
    bool const madeHeld;
    std::map<std::thread::id, Hold> holds;
    std::condition_variable given;
};

std::mutex mutex;
std::set<Lock const*> locks;
std::size_t taken = 0;

} // namespace

struct Semaphore::State : Lock {
    using Lock::Lock;
};

Semaphore::Semaphore(int maximum, int initial, bool recursive)
    : m_state(std::make_unique<State>(initial, maximum - initial, recursive))
{
    std::lock_guard const guard(mutex);
    locks.insert(m_state.get());
}

Semaphore::~Semaphore()
{
    std::lock_guard const guard(mutex);
    locks.erase(m_state.get());
}

bool Semaphore::take(int timeoutMs)
{
    std::unique_lock guard(mutex);
    auto const tryTake = [this] { return m_state->tryTake(); };
    if (timeoutMs < 0)
        m_state->given.wait(guard, tryTake);
    else if (!m_state->given.wait_for(guard, std::chrono::milliseconds(timeoutMs), tryTake))
        return false;
    ++taken;
    return true;
}

bool Semaphore::give()
{
    std::lock_guard const guard(mutex);
    auto const held = m_state->holds.find(std::this_thread::get_id());
    if (held == m_state->holds.end())
        return false;
    Hold& hold = held->second;
    int const units = m_state->unitsGiven(hold);
    m_state->free += units;
    hold.units -= units;
    if (--hold.depth == 0)
        m_state->holds.erase(held);
    if (units > 0)
        m_state->given.notify_all();
    return true;
}

namespace Scripted {

int lockDepthOfThisThread()
{
    std::lock_guard const guard(mutex);
    int depth = 0;
    for (Lock const* lock : locks) {
        auto const held = lock->holds.find(std::this_thread::get_id());
        if (lock->madeHeld && held != lock->holds.end())
            depth += held->second.depth;
    }
    return depth;
}

int Platform::heldLocks()
{
    std::lock_guard const guard(mutex);
    int holds = 0;
    for (Lock const* lock : locks)
        for (auto const& [thread, hold] : lock->holds)
            holds += hold.depth;
    return holds;
}

std::size_t Platform::takenLocks()
{
    std::lock_guard const guard(mutex);
    return taken;
}

} // namespace Scripted

// The lock of the scripted platform: really blocking, in order of arrival, and able to tell who holds what. One mutex guards the
// state of all semaphores, so that the depth of a thread and the sum of all holds are exact at any moment.
#include "Semaphore.h"

#include "AnnotatedMutex.h"
#include "Seam.h"

#include <chrono>
#include <list>
#include <map>
#include <set>
#include <thread>

namespace {

Threads::Mutex mutex;

/// What one thread has of a semaphore: how often it took it, and how many of the semaphore's units that keeps.
struct Hold {
    int depth = 0;
    int units = 0;
};

/// The units of a semaphore: those that are free, and who holds the others.
struct Units {
    Units(int initial, int missing, bool isRecursive) : free(initial), recursive(isRecursive), madeHeld(initial == 0)
    {
        if (missing > 0)
            holds[std::this_thread::get_id()] = {recursive ? 1 : missing, missing};
    }

    /// `isTurn`: nobody came before.
    bool tryTake(bool isTurn) MEDIADATA_REQUIRES(mutex)
    {
        std::thread::id const self = std::this_thread::get_id();
        if (recursive && holds.contains(self)) {
            ++holds[self].depth;
            return true;
        }
        if (free == 0 || !isTurn)
            return false;
        --free;
        Hold& hold = holds[self];
        ++hold.depth;
        ++hold.units;
        return true;
    }

    /// How many units come free when the holder gives once.
    int unitsGiven(Hold const& hold) const { return !recursive ? 1 : hold.depth == 1 ? hold.units : 0; }

    int free MEDIADATA_GUARDED_BY(mutex);
    bool const recursive;
    bool const madeHeld;
    std::map<std::thread::id, Hold> holds MEDIADATA_GUARDED_BY(mutex);
    std::list<std::thread::id> line MEDIADATA_GUARDED_BY(mutex); ///< of those who wait
    Threads::Condition given;
};

std::set<Units const*> semaphores MEDIADATA_GUARDED_BY(mutex);
std::size_t taken MEDIADATA_GUARDED_BY(mutex) = 0;

} // namespace

class Semaphore::State : public Units {
    using Units::Units;
};

Semaphore::Semaphore(int maximum, int initial, bool recursive)
    : m_state(std::make_unique<State>(initial, maximum - initial, recursive))
{
    Threads::Lock const guard(mutex);
    semaphores.insert(m_state.get());
}

Semaphore::~Semaphore()
{
    Threads::Lock const guard(mutex);
    semaphores.erase(m_state.get());
}

bool Semaphore::take(int timeoutMs)
{
    Threads::Lock guard(mutex);
    auto const end = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    auto& line = m_state->line;
    auto const place = line.insert(line.end(), std::this_thread::get_id());
    bool isTaken = false;
    for (bool isInTime = true; !(isTaken = m_state->tryTake(place == line.begin())) && isInTime;) {
        if (timeoutMs < 0)
            m_state->given.wait(guard);
        else
            isInTime = m_state->given.waitUntil(guard, end);
    }
    line.erase(place);
    m_state->given.notifyAll(); // another is the first now
    taken += isTaken;
    return isTaken;
}

bool Semaphore::give()
{
    Threads::Lock const guard(mutex);
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
        m_state->given.notifyAll();
    return true;
}

namespace Scripted {

int lockDepthOfThisThread()
{
    Threads::Lock const guard(mutex);
    int depth = 0;
    for (Units const* each : semaphores) {
        auto const held = each->holds.find(std::this_thread::get_id());
        if (each->madeHeld && held != each->holds.end())
            depth += held->second.depth;
    }
    return depth;
}

int Platform::heldLocks()
{
    Threads::Lock const guard(mutex);
    int holds = 0;
    for (Units const* each : semaphores)
        for (auto const& [thread, hold] : each->holds)
            holds += hold.depth;
    return holds;
}

std::size_t Platform::takenLocks()
{
    Threads::Lock const guard(mutex);
    return taken;
}

} // namespace Scripted

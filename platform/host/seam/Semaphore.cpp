// The lock of the host platform. One atomic word counts the free units: without contention, take and give are one atomic
// operation each, and a holder's further takes touch nothing shared. Under contention a thread that runs may take the lock again
// and again ahead of one that sleeps, since handing it over costs a context switch each time. But not for long: whoever has waited
// for `patience` is due, and the next unit that is given is handed to the first of those directly.
//
// A waiter first looks out for a free unit for some microseconds, since most holds are over by then and sleeping costs more.
//
// Locking: `m_word` is twice the number of free units, plus 1 while threads are queued; only a holder of `m_mutex` sets or clears
// that 1, or gives a unit while it is set. `m_mutex` guards the waiters, too. `m_depth` belongs to the owner.
#include "Semaphore.h"

#include "AnnotatedMutex.h"
#include "seam/LockMark.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <utility>

namespace {

using Clock = std::chrono::steady_clock;

constexpr auto patience = std::chrono::milliseconds(1);
constexpr int spins = 4000;

// Of the initial-exec model, since a call for their addresses would be a good part of what taking the lock costs.
[[gnu::tls_model("initial-exec")]] thread_local std::uint64_t t_taken = 0;
[[gnu::tls_model("initial-exec")]] thread_local std::uint64_t t_thread = 0;

/// The thread's number, from 1 and never that of another one, as ids and addresses are: who ended with a lock keeps it.
std::uint64_t thisThread()
{
    static std::atomic<std::uint64_t> last = 0;
    if (t_thread == 0)
        t_thread = ++last;
    return t_thread;
}

struct Waiter {
    bool isDue = false; ///< has waited long enough: the next unit is its own
    bool isGranted = false;
    bool isWoken = false; ///< and has not looked yet
    Threads::Condition wake;
    Waiter* next = nullptr;
};

constexpr unsigned queued = 1;
constexpr unsigned unit = 2;

} // namespace

class Semaphore::State {
public:
    State(int maximum, int initial, bool recursive)
        : m_recursive(recursive), m_exclusive(recursive || maximum <= 1),
          m_capacity(m_exclusive ? unit : unit * static_cast<unsigned>(maximum)),
          m_word(std::min(m_capacity, unit * static_cast<unsigned>(std::max(initial, 0))))
    {
        if (m_exclusive && m_word == 0)
            own();
    }

    bool take(int timeoutMs);
    bool give();

private:
    void own()
    {
        m_depth = 1;
        m_owner.store(thisThread(), std::memory_order_relaxed);
    }

    bool isOwnedHere() const { return m_owner.load(std::memory_order_relaxed) == thisThread(); }

    bool tryTake();
    bool spin();
    bool waitForUnit(int timeoutMs);
    bool giveUnit();
    bool giveToWaiters();
    void push(Waiter& waiter) MEDIADATA_REQUIRES(m_mutex);
    void remove(Waiter const& waiter) MEDIADATA_REQUIRES(m_mutex);
    void wakeFirst() MEDIADATA_REQUIRES(m_mutex);

    bool const m_recursive;
    bool const m_exclusive; // one unit, and only the thread that has it may give it
    unsigned const m_capacity;
    std::atomic<unsigned> m_word;
    std::atomic<std::uint64_t> m_owner = 0; // only compared with the caller, which alone can have put itself there
    int m_depth = 0;

    Threads::Mutex m_mutex;
    Waiter* m_first MEDIADATA_GUARDED_BY(m_mutex) = nullptr; // in order of arrival, each on its thread's stack
};

bool Semaphore::State::tryTake()
{
    unsigned now = m_word.load(std::memory_order_relaxed);
    while (now >= unit)
        if (m_word.compare_exchange_weak(now, now - unit, std::memory_order_acquire, std::memory_order_relaxed))
            return true;
    return false;
}

bool Semaphore::State::spin()
{
    for (int i = 0; i < spins; ++i) {
        if (tryTake())
            return true;
        std::atomic_signal_fence(std::memory_order_seq_cst);
    }
    return false;
}

bool Semaphore::State::waitForUnit(int timeoutMs)
{
    auto const start = Clock::now();
    auto const end = start + std::chrono::milliseconds(timeoutMs);
    Waiter self;
    Threads::Lock lock(m_mutex);
    push(self);
    for (;;) {
        if (self.isGranted)
            return true;
        bool const isTaken = tryTake();
        auto const now = Clock::now();
        if (isTaken || (timeoutMs > 0 && now >= end)) {
            remove(self);
            return isTaken;
        }
        self.isDue = now >= start + patience;
        self.isWoken = false;
        if (!self.isDue)
            self.wake.waitUntil(lock, timeoutMs > 0 ? std::min(end, start + patience) : start + patience);
        else if (timeoutMs > 0)
            self.wake.waitUntil(lock, end);
        else
            self.wake.wait(lock);
    }
}

void Semaphore::State::push(Waiter& waiter)
{
    Waiter** place = &m_first;
    while (*place)
        place = &(*place)->next;
    *place = &waiter;
    m_word.fetch_or(queued, std::memory_order_relaxed);
}

void Semaphore::State::remove(Waiter const& waiter)
{
    Waiter** place = &m_first;
    while (*place != &waiter)
        place = &(*place)->next;
    *place = waiter.next;
    if (!m_first)
        m_word.fetch_and(~queued, std::memory_order_relaxed);
    else if (m_word.load(std::memory_order_relaxed) >= unit)
        wakeFirst(); // a unit may have been announced to the one that goes
}

void Semaphore::State::wakeFirst()
{
    if (!std::exchange(m_first->isWoken, true))
        m_first->wake.notifyOne();
}

bool Semaphore::State::giveUnit()
{
    unsigned now = m_word.load(std::memory_order_relaxed);
    while ((now & queued) == 0) {
        if (now >= m_capacity)
            return false;
        if (m_word.compare_exchange_weak(now, now + unit, std::memory_order_release, std::memory_order_relaxed))
            return true;
    }
    return giveToWaiters();
}

bool Semaphore::State::giveToWaiters()
{
    Threads::Lock const lock(m_mutex);
    if ((m_word.load(std::memory_order_relaxed) & ~queued) >= m_capacity)
        return false;
    if (m_first && m_first->isDue) {
        Waiter& next = *m_first;
        remove(next);
        next.isGranted = true;
        next.wake.notifyOne();
        return true;
    }
    m_word.fetch_add(unit, std::memory_order_release);
    if (m_first)
        wakeFirst();
    return true;
}

bool Semaphore::State::take(int timeoutMs)
{
    if (m_recursive && isOwnedHere()) {
        ++m_depth;
        return true;
    }
    if (!tryTake() && (timeoutMs == 0 || (!spin() && !waitForUnit(timeoutMs))))
        return false;
    if (m_exclusive)
        own();
    return true;
}

bool Semaphore::State::give()
{
    if (!m_exclusive)
        return giveUnit();
    if (!isOwnedHere())
        return false;
    if (--m_depth > 0)
        return true;
    m_owner.store(0, std::memory_order_relaxed);
    return giveUnit();
}

Semaphore::Semaphore(int maximum, int initial, bool recursive)
    : m_state(std::make_unique<State>(maximum, initial, recursive))
{}

Semaphore::~Semaphore() = default;

bool Semaphore::take(int timeoutMs)
{
    ++t_taken;
    return m_state->take(timeoutMs);
}

bool Semaphore::give()
{
    return m_state->give();
}

Host::LockMark Host::lockMark()
{
    return {thisThread(), t_taken};
}

void Host::changeLockMark()
{
    ++t_taken;
}

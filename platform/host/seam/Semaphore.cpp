// The lock of the host platform. One atomic word counts the free units: without contention, take and give are one atomic
// operation each, and a holder's further takes touch nothing shared. Under contention threads queue, and a unit is handed to
// the first of them directly: nobody overtakes, because a unit that somebody waits for never becomes free.
//
// A waiter first looks out for its turn for some microseconds, since most holds are over by then and sleeping costs more.
//
// Locking: `m_word` is twice the number of free units, plus 1 while threads may be queued; only a holder of `m_mutex` sets or
// clears that 1. `m_depth` belongs to the owner. A waiter lies on its thread's stack and is gone as soon as it sees `granted`,
// so that setting it is the last that others do to it.
#include "Semaphore.h"

#include "AnnotatedMutex.h"
#include "seam/LockMark.h"

#include <algorithm>
#include <atomic>
#include <chrono>

namespace {

// Of the initial-exec model, since a call for its address would be a good part of what taking the lock costs.
[[gnu::tls_model("initial-exec")]] thread_local std::uint64_t t_taken = 0;

/// The address of a thread's own variable names the thread and is cheaper to ask for than its id.
void const* thisThread()
{
    return &t_taken;
}

struct Waiter {
    explicit Waiter(void const* waiting) : thread(waiting) {}

    /// Looks out for the turn without sleeping.
    bool spin() const
    {
        for (int i = 0; i < spins && !isGranted(); ++i)
            std::atomic_signal_fence(std::memory_order_seq_cst);
        return isGranted();
    }

    bool isGranted() const { return granted.load(std::memory_order_acquire); }

    static constexpr int spins = 4000;

    void const* const thread;
    std::atomic<bool> granted = false;
    Threads::Condition wake;
    Waiter* next = nullptr;
};

/// Waiters in order of arrival.
class WaitingLine {
public:
    bool empty() const { return m_first == nullptr; }

    void push(Waiter& waiter)
    {
        *m_end = &waiter;
        m_end = &waiter.next;
    }

    Waiter& pop()
    {
        Waiter& first = *m_first;
        remove(first);
        return first;
    }

    void remove(Waiter const& waiter)
    {
        Waiter** place = &m_first;
        while (*place != &waiter)
            place = &(*place)->next;
        *place = waiter.next;
        if (waiter.next == nullptr)
            m_end = place;
    }

private:
    Waiter* m_first = nullptr;
    Waiter** m_end = &m_first;
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
            own(thisThread());
    }

    bool take(int timeoutMs);
    bool give();

private:
    void own(void const* thread)
    {
        m_depth = 1;
        m_owner.store(thread, std::memory_order_relaxed);
    }

    bool isOwnedHere() const { return m_owner.load(std::memory_order_relaxed) == thisThread(); }

    bool tryTake();
    bool waitForTurn(int timeoutMs);
    bool giveUnit();
    bool handOver();

    bool const m_recursive;
    bool const m_exclusive; // one unit, and only the thread that has it may give it
    unsigned const m_capacity;
    std::atomic<unsigned> m_word;
    std::atomic<void const*> m_owner = nullptr; // only compared with the caller, which alone can have put itself there
    int m_depth = 0;

    Threads::Mutex m_mutex;
    WaitingLine m_queue MEDIADATA_GUARDED_BY(m_mutex);
};

bool Semaphore::State::tryTake()
{
    unsigned now = m_word.load(std::memory_order_relaxed);
    while (now >= unit && (now & queued) == 0)
        if (m_word.compare_exchange_weak(now, now - unit, std::memory_order_acquire, std::memory_order_relaxed))
            return true;
    return false;
}

bool Semaphore::State::waitForTurn(int timeoutMs)
{
    Threads::Lock lock(m_mutex);
    // Announce the waiter before looking once more: from here on nobody changes the word without the mutex.
    unsigned const now = m_word.fetch_or(queued, std::memory_order_acquire);
    if (m_queue.empty() && now >= unit) {
        m_word.store((now & ~queued) - unit, std::memory_order_relaxed);
        if (m_exclusive)
            own(thisThread());
        return true;
    }
    Waiter self(thisThread());
    m_queue.push(self);
    if (timeoutMs < 0) {
        lock.unlock();
        if (self.spin())
            return true;
        lock.lock();
        while (!self.isGranted())
            self.wake.wait(lock);
        return true;
    }
    auto const end = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    while (!self.isGranted() && self.wake.waitUntil(lock, end)) {
    }
    if (!self.isGranted())
        m_queue.remove(self);
    return self.isGranted();
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
    return handOver();
}

/// Gives a unit to the first in the queue.
bool Semaphore::State::handOver()
{
    Threads::Lock const lock(m_mutex);
    if (m_queue.empty()) { // those who waited gave up
        unsigned const now = m_word.load(std::memory_order_relaxed) & ~queued;
        if (now >= m_capacity)
            return false;
        m_word.store(now + unit, std::memory_order_release);
        return true;
    }
    Waiter& next = m_queue.pop();
    if (m_exclusive)
        own(next.thread);
    if (m_queue.empty())
        m_word.fetch_and(~queued, std::memory_order_release);
    next.wake.notifyOne();
    next.granted.store(true, std::memory_order_release);
    return true;
}

bool Semaphore::State::take(int timeoutMs)
{
    if (m_recursive && isOwnedHere()) {
        ++m_depth;
        return true;
    }
    if (tryTake()) {
        if (m_exclusive)
            own(thisThread());
        return true;
    }
    return timeoutMs != 0 && waitForTurn(timeoutMs);
}

bool Semaphore::State::give()
{
    if (!m_exclusive)
        return giveUnit();
    if (!isOwnedHere())
        return false;
    if (--m_depth > 0)
        return true;
    m_owner.store(nullptr, std::memory_order_relaxed);
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
    return {std::this_thread::get_id(), t_taken};
}

void Host::changeLockMark()
{
    ++t_taken;
}

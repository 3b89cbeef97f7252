// The lock of the host platform. One atomic word counts what is free, so that taking and giving without contention is one
// exchange each, and a holder's further takes touch nothing shared. Under contention threads queue and a unit is handed to
// the first of them directly: nobody overtakes, because a unit that somebody waits for never becomes free.
//
// A waiter first looks out for its turn for some microseconds, since most holds are over by then and sleeping costs more.
//
// Locking: the queue is guarded by `m_mutex`. A waiter leaves its place on the stack as soon as it sees `granted`, so that
// setting it is the last that others do there. `depth` belongs to the owner. `word` is twice the number of free units, plus 1
// while threads may be queued; only a holder of `m_mutex` sets or clears that 1.
#include "Semaphore.h"

#include "seam/LockMark.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>

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
        for (int i = 0; i < spins && !granted.load(std::memory_order_acquire); ++i)
            std::atomic_signal_fence(std::memory_order_seq_cst);
        return granted.load(std::memory_order_acquire);
    }

    static constexpr int spins = 4000;

    void const* const thread;
    std::atomic<bool> granted = false;
    std::condition_variable wake;
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

struct Semaphore::State {
    State(int maximum, int initial, bool isRecursive)
        : recursive(isRecursive), exclusive(isRecursive || maximum <= 1),
          capacity(exclusive ? unit : unit * static_cast<unsigned>(maximum)),
          word(std::min(capacity, unit * static_cast<unsigned>(std::max(initial, 0))))
    {
        if (exclusive && word == 0)
            own(thisThread());
    }

    void own(void const* thread)
    {
        depth = 1;
        owner.store(thread, std::memory_order_relaxed);
    }

    bool ownedHere() const { return owner.load(std::memory_order_relaxed) == thisThread(); }

    bool tryTake()
    {
        unsigned now = word.load(std::memory_order_relaxed);
        while (now >= unit && (now & queued) == 0)
            if (word.compare_exchange_weak(now, now - unit, std::memory_order_acquire, std::memory_order_relaxed))
                return true;
        return false;
    }

    bool giveUnit()
    {
        unsigned now = word.load(std::memory_order_relaxed);
        while ((now & queued) == 0) {
            if (now >= capacity)
                return false;
            if (word.compare_exchange_weak(now, now + unit, std::memory_order_release, std::memory_order_relaxed))
                return true;
        }
        return handOver();
    }

    bool waitForTurn(int timeoutMs);
    bool handOver();

    bool const recursive;
    bool const exclusive; // one unit, and only the thread that has it may give it
    unsigned const capacity;
    std::atomic<unsigned> word;
    std::atomic<void const*> owner = nullptr; // only compared with the caller itself, which alone can have put itself there
    int depth = 0;

    std::mutex m_mutex;
    WaitingLine m_queue;
};

bool Semaphore::State::waitForTurn(int timeoutMs)
{
    std::unique_lock lock(m_mutex);
    // Announce the waiter before looking once more: from here on nobody changes the word without the mutex.
    unsigned const now = word.fetch_or(queued, std::memory_order_acquire);
    if (m_queue.empty() && now >= unit) {
        word.store((now & ~queued) - unit, std::memory_order_relaxed);
        if (exclusive)
            own(thisThread());
        return true;
    }
    Waiter self(thisThread());
    m_queue.push(self);
    auto const granted = [&] { return self.granted.load(std::memory_order_acquire); };
    if (timeoutMs < 0) {
        lock.unlock();
        if (self.spin())
            return true;
        lock.lock();
        self.wake.wait(lock, granted);
    } else if (!self.wake.wait_until(lock, std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs),
                                     granted)) {
        m_queue.remove(self);
    }
    return granted();
}

/// Gives a unit to the first in the queue.
bool Semaphore::State::handOver()
{
    std::lock_guard const lock(m_mutex);
    if (m_queue.empty()) { // those who waited gave up
        unsigned const now = word.load(std::memory_order_relaxed) & ~queued;
        if (now >= capacity)
            return false;
        word.store(now + unit, std::memory_order_release);
        return true;
    }
    Waiter& next = m_queue.pop();
    if (exclusive)
        own(next.thread);
    if (m_queue.empty())
        word.fetch_and(~queued, std::memory_order_release);
    next.wake.notify_one();
    next.granted.store(true, std::memory_order_release);
    return true;
}

Semaphore::Semaphore(int maximum, int initial, bool recursive)
    : m_state(std::make_unique<State>(maximum, initial, recursive))
{}

Semaphore::~Semaphore() = default;

bool Semaphore::take(int timeoutMs)
{
    ++t_taken;
    State& my = *m_state;
    if (my.recursive && my.ownedHere()) {
        ++my.depth;
        return true;
    }
    if (my.tryTake()) {
        if (my.exclusive)
            my.own(thisThread());
        return true;
    }
    return timeoutMs != 0 && my.waitForTurn(timeoutMs);
}

bool Semaphore::give()
{
    State& my = *m_state;
    if (!my.exclusive)
        return my.giveUnit();
    if (!my.ownedHere())
        return false;
    if (--my.depth > 0)
        return true;
    my.owner.store(nullptr, std::memory_order_relaxed);
    return my.giveUnit();
}

Host::LockMark Host::lockMark()
{
    return {std::this_thread::get_id(), t_taken};
}

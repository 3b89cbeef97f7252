// The lock of one unit that the library needs: its holder may take it again when it is recursive.
#include <Semaphore.h>

#include <chrono>
#include <condition_variable>
#include <list>
#include <mutex>
#include <thread>

class Semaphore::State {
public:
    std::mutex mutex;
    std::condition_variable given;
    std::list<std::thread::id> waiting;
    std::thread::id holder;
    int holds = 0;
    bool recursive = false;
};

Semaphore::Semaphore(int, int initial, bool recursive) : m_state(std::make_unique<State>())
{
    m_state->recursive = recursive;
    if (initial == 0)
        take(0);
}

Semaphore::~Semaphore() = default;

bool Semaphore::take(int timeoutMs)
{
    State& my = *m_state;
    auto const self = std::this_thread::get_id();
    std::unique_lock lock(my.mutex);
    if (my.recursive && my.holds > 0 && my.holder == self) {
        ++my.holds;
        return true;
    }
    auto const place = my.waiting.insert(my.waiting.end(), self); // in order of arrival, so that nobody waits without bound
    auto const isOurs = [&] { return my.holds == 0 && place == my.waiting.begin(); };
    bool isTaken = true;
    if (timeoutMs < 0)
        my.given.wait(lock, isOurs);
    else
        isTaken = my.given.wait_for(lock, std::chrono::milliseconds(timeoutMs), isOurs);
    my.waiting.erase(place);
    if (isTaken) {
        my.holder = self;
        my.holds = 1;
    } else {
        my.given.notify_all();
    }
    return isTaken;
}

bool Semaphore::give()
{
    State& my = *m_state;
    std::unique_lock const lock(my.mutex);
    if (my.holds == 0 || my.holder != std::this_thread::get_id())
        return false;
    if (--my.holds == 0)
        my.given.notify_all();
    return true;
}

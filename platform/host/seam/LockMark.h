// Tells whether a thread has taken a lock of the platform between two moments.
#pragma once

#include <cstdint>
#include <thread>

namespace Host {

/// Equal marks mean: the same thread, and no Semaphore taken by it in between.
struct LockMark {
    std::thread::id thread;
    std::uint64_t taken = 0;

    bool operator==(LockMark const&) const = default;
};

/// The calling thread's mark. Never blocks.
LockMark lockMark();

} // namespace Host

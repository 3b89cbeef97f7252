// Tells whether a thread has taken a lock of the platform, or begun or ended a group of writes, between two moments.
#pragma once

#include <cstdint>

namespace Host {

/// Equal marks mean: the same thread, no Semaphore taken by it in between, and no group begun or ended.
struct LockMark {
    std::uint64_t thread = 0; ///< its number, never that of another
    std::uint64_t taken = 0;

    bool operator==(LockMark const&) const = default;
};

/// The calling thread's mark. Never blocks.
LockMark lockMark();

/// The calling thread begins or ends a group: its mark changes.
void changeLockMark();

} // namespace Host

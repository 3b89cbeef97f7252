// One line of the management service's journal.
#pragma once

#include <cstdint>
#include <string>

namespace Host {

/// What the library read, reported or requested. The value of a secret is masked before it gets here.
struct JournalEntry {
    std::int64_t time = 0; // milliseconds since 1970
    std::string kind;
    std::string item;
    std::string value;
};

/// The journal keeps this many entries, the newest.
inline constexpr int journalLimit = 2000;

} // namespace Host

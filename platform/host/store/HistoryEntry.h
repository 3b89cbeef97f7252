// What the history keeps of one change of the database: who did it, and every value that it changed.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace Host {

/// The text of a value that is not stored, as whoever reads it is answered.
inline constexpr char const* notStored = "failure";

/// A value before and after; one that was removed is not stored afterwards. Secrets are as they are stored. Of a table (the
/// element "") the rows that stay as they are are empty in both texts, unless one of these is not stored.
struct HistoryChange {
    std::string schema;
    std::string element;
    std::string before;
    std::string after;
};

struct HistoryEntry {
    std::int64_t number = 0; ///< each has a greater one than those before
    std::int64_t time = 0;   ///< milliseconds since 1970
    std::string user;
    std::string process;
    std::string verb;
    std::string door;
    std::string note;
    std::vector<HistoryChange> changes;
};

} // namespace Host

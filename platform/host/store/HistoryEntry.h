// One change of a stored value, as the database's history keeps it.
#pragma once

#include <cstdint>
#include <string>

namespace Host {

/// A value that was not stored is the text "failure", as for whoever reads one. Secrets are as they are stored.
struct HistoryEntry {
    std::int64_t number = 0;
    std::string who;
    std::int64_t time = 0; // milliseconds since 1970
    std::string schema;
    std::string element;
    std::string before;
    std::string after;
};

} // namespace Host

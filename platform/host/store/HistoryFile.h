// "mediadata.history" and, when that is full, "mediadata.history.1": lines of JSON, one object each, about what is no longer or was
// never in the database. Secrets are masked before they get there.
#pragma once

#include "store/HistoryRow.h"

#include <string>

namespace Host {

class DataDirectory;

class HistoryFile {
public:
    static constexpr std::size_t longest = 512UL * 1024; ///< of one of the two files, unless one line is longer

    /// Of a directory that lives longer.
    explicit HistoryFile(DataDirectory const& directory) : m_directory(directory) {}

    /// Adds whole lines, each with its end; durable when true.
    bool append(std::string text, std::string& error) const;

    /// The lines of both files, the older ones first. `error` says what cannot be read.
    std::string read(std::string& error) const;

    /// Puts these lines in the place of all; none: there are no files then.
    bool replace(std::string const& text, std::string& error) const;

private:
    DataDirectory const& m_directory;
};

/// Appends the line of an entry that leaves the database: number, time, user, process, verb, door, note, and changes with schema,
/// element, old, new. A row that is damaged gives no line.
void appendLine(std::string& lines, HistoryRow const& row);

} // namespace Host

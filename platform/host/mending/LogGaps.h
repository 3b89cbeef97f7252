// SQLite reads a write-ahead log up to the first frame that does not fit and passes over the rest in silence: right after a
// power cut, but a loss of stored values when the log is damaged. This tells the one from the other, and closes the gaps.
#pragma once

#include <cstddef>
#include <string>

namespace Host {

/// The changes (commits) from the first unreadable frame of the log on. One may be what a power cut interrupted, since each
/// is synced before the next begins; more mean damage. 0 without a log, or when the log's header cannot be read.
std::size_t changesBehindGap(std::string const& log);

/// Takes the unreadable frames out of the log, so that SQLite reads those behind them. Incomplete changes at the end go, too.
/// Returns how many frames were lost; 0 leaves the file as it is.
std::size_t closeGaps(std::string const& log);

} // namespace Host

// SQLite reads a write-ahead log up to the first frame that does not fit and passes over the rest in silence: right after a
// power cut, but a loss of stored values when the log is damaged. This tells the one from the other, and closes the gaps.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace Host {

/// Whether SQLite would pass over stored changes. One change (commit) behind an unreadable frame may be what a power cut
/// interrupted, since each is synced before the next begins; more mean damage. So does an unreadable header before frames that
/// are its own. Nothing, with `error`, when the system does not let us see the file; one that is not there is sound.
std::optional<bool> isLogDamaged(std::string const& log, std::string& error);

/// Takes the unreadable frames out of the log, so that SQLite reads those behind them. Incomplete changes at the end go, too. A
/// damaged header is made anew. How many frames were lost; nothing, with `error`, when the file could not be read or written.
std::optional<std::size_t> mendLog(std::string const& log, std::string& error);

} // namespace Host

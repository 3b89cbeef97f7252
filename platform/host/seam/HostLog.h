// What the host process decides about the platform's log: how much is wanted and where it goes.
#pragma once

#include <cstddef>
#include <functional>
#include <string>

namespace Host {

/// One message of the log, without the line feed at its end.
struct LogLine {
    std::string time;
    int level = 0;
    std::string module;
    std::string sourceFile;
    int line = 0;
    std::string text;
};

/// Messages up to `level` are written. At first it is the number in the environment's MEDIADATA_LOG, or else 2.
void setLogLevel(int level);

/// Hands every message to `sink` instead of standard error; an empty one goes back to standard error. The sink is called by
/// one thread at a time and must not log.
void setLogSink(std::function<void(LogLine const&)> sink);

/// A line of the log, cut so that it has at most so many bytes with its line feed; a longer one might come out of a pipe in
/// pieces. Its end then says how long it was. No UTF-8 character is cut in two.
std::string cutLogLine(std::string line);
inline constexpr std::size_t logLineLimit = 4096;

/// Logs an error of the host platform itself.
void logError(char const* sourceFile, int line, std::string const& text);

} // namespace Host

#define HOST_LOG_ERROR(unit, text) Host::logError("./platform/host/" unit, __LINE__, text)

// The log: one line a message, on standard error or to the process's own sink. A message cannot break its line and cannot
// send control characters to a terminal, whatever values it quotes.
#include "seam/HostLog.h"

#include "AnnotatedMutex.h"
#include "AppLog.h"
#include "ClientUtils.h"

#include <unistd.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <ctime>

namespace {

constexpr int errorLevel = 2;

int levelOfEnvironment()
{
    char const* const text = std::getenv("MEDIADATA_LOG");
    return text == nullptr ? errorLevel : ClientUtils::stoi(text);
}

std::atomic<int>& wantedLevel()
{
    static std::atomic<int> level = levelOfEnvironment();
    return level;
}

struct Output {
    Threads::Mutex mutex;
    std::function<void(Host::LogLine const&)> sink MEDIADATA_GUARDED_BY(mutex);
};

Output& output()
{
    // Never destroyed: threads may log until the very end of the process.
    static Output* const only = new Output;
    return *only;
}

std::string timeNow()
{
    auto const now = std::chrono::system_clock::now();
    auto const milliseconds = std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() % 1000;
    std::time_t const seconds = std::chrono::system_clock::to_time_t(now);
    std::tm parts{};
    gmtime_r(&seconds, &parts);
    std::array<char, 40> text{};
    std::size_t const used = std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S", &parts);
    std::snprintf(text.data() + used, text.size() - used, ".%03dZ", static_cast<int>(milliseconds));
    return text.data();
}

std::string formatted(char const* format, std::va_list arguments)
{
    std::va_list again;
    va_copy(again, arguments);
    int const length = std::vsnprintf(nullptr, 0, format, arguments);
    std::string text(length > 0 ? static_cast<std::size_t>(length) : 0, '\0');
    std::vsnprintf(text.data(), text.size() + 1, format, again);
    va_end(again);
    while (!text.empty() && text.back() == '\n')
        text.pop_back();
    return text;
}

std::string printable(std::string const& text)
{
    std::string result;
    for (char const each : text) {
        if (static_cast<unsigned char>(each) >= ' ' && each != '\x7f') {
            result += each;
        } else {
            std::array<char, 8> code{};
            std::snprintf(code.data(), code.size(), "\\x%02x", static_cast<unsigned>(static_cast<unsigned char>(each)));
            result += code.data();
        }
    }
    return result;
}

void write(Host::LogLine const& line)
{
    Output& out = output();
    Threads::Lock const lock(out.mutex);
    if (out.sink) {
        out.sink(line);
        return;
    }
    std::string const text =
        Host::cutLogLine(line.time + ' ' + std::to_string(line.level) + ' ' + line.module + ' ' + line.sourceFile + ':' +
                         std::to_string(line.line) + ' ' + printable(line.text)) +
        '\n';
    // A log that cannot be written has nowhere to complain.
    [[maybe_unused]] auto const written = ::write(STDERR_FILENO, text.data(), text.size());
}

} // namespace

void Host::setLogLevel(int level)
{
    wantedLevel() = level;
}

void Host::setLogSink(std::function<void(LogLine const&)> sink)
{
    Output& out = output();
    Threads::Lock const lock(out.mutex);
    out.sink = std::move(sink);
}

std::string Host::cutLogLine(std::string line)
{
    if (line.size() < logLineLimit)
        return line;
    std::string const note = " ... (cut, " + std::to_string(line.size()) + " bytes)";
    std::size_t end = logLineLimit - 1 - note.size();
    for (int bytes = 0; bytes < 3 && (static_cast<unsigned char>(line[end]) & 0xc0) == 0x80; ++bytes)
        --end;
    return line.replace(end, std::string::npos, note);
}

void Host::logError(char const* sourceFile, int line, std::string const& text)
{
    logAppUni("MediaHost", sourceFile, errorLevel, line, "%s", text.c_str());
}

bool loggingOnAppUni(char const*, int level)
{
    return level <= wantedLevel().load(std::memory_order_relaxed);
}

void logAppUni(char const* module, char const* sourceFile, int level, int line, char const* format, ...)
{
    if (level > errorLevel && !loggingOnAppUni(module, level))
        return;
    std::va_list arguments;
    va_start(arguments, format);
    Host::LogLine const message{timeNow(), level, module, sourceFile, line, formatted(format, arguments)};
    va_end(arguments);
    write(message);
}

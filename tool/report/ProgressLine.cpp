#include "report/ProgressLine.h"

#include "report/Console.h"

#include <chrono>
#include <ostream>

namespace Tool {

ProgressLine::ProgressLine(Console& console, std::string const& doing)
    : m_console(console), m_told(doing.empty() ? "" : doing + ", ")
{
    if (!console.showsProgress)
        return;
    console.m_progress = this;
    m_thread = std::thread([this] { run(); });
}

ProgressLine::~ProgressLine()
{
    if (!m_thread.joinable())
        return;
    m_console.m_progress = nullptr;
    quiet();
    {
        Threads::Lock const held(m_mutex);
        m_ended = true;
    }
    m_end.notifyOne();
    m_thread.join();
}

void ProgressLine::quiet()
{
    Threads::Lock const held(m_mutex);
    paint("");
    m_quiet = true;
}

void ProgressLine::tell(std::string const& what, std::size_t done, std::size_t all, std::string const& remark)
{
    constexpr std::size_t width = 30;
    auto const filled = all == 0 ? width : width * done / all;
    Threads::Lock const held(m_mutex);
    m_told = what + '[' + std::string(filled, '#') + std::string(width - filled, ' ') + "] " + std::to_string(done) +
             " of " + std::to_string(all) + remark + ", ";
}

/// Writes over what was painted before.
void ProgressLine::paint(std::string const& text)
{
    if (!m_quiet && m_width + text.size() != 0)
        m_console.err << '\r' << std::string(m_width, ' ') << '\r' << text << std::flush;
    m_width = text.size();
}

void ProgressLine::run()
{
    auto next = std::chrono::steady_clock::now();
    Threads::Lock held(m_mutex);
    for (int seconds = 1; !m_ended; ++seconds) {
        next += std::chrono::seconds(1);
        while (!m_ended && m_end.waitUntil(held, next)) {
        }
        if (!m_ended)
            paint(m_told + std::to_string(seconds) + " s");
    }
}

} // namespace Tool

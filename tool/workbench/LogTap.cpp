#include "workbench/LogTap.h"

#include "report/Text.h"

#include "HostLog.h"

#include <fmt/format.h>

#include <cstdio>
#include <utility>

namespace Tool {

namespace {

constexpr int errorLevel = 2;

} // namespace

LogTap::~LogTap()
{
    if (m_isTaken)
        Host::setLogSink({});
}

void LogTap::takeOver()
{
    m_isTaken = true;
    Host::setLogSink([this](Host::LogLine const& line) {
        onMessage({line.level, fmt::format("{}:{}", line.sourceFile, line.line), line.text});
    });
}

void LogTap::onMessage(Message message)
{
    Threads::Lock const held(m_mutex);
    if (m_mutes != 0)
        return;
    if (m_holds != 0)
        m_held.push_back(std::move(message));
    else
        tell(message);
}

void LogTap::tell(Message const& message)
{
    auto const line =
        Host::cutLogLine(fmt::format("log {} {} {}", message.level, message.place, cellText(message.text))) + '\n';
    if (m_isWanted)
        std::fputs(line.c_str(), stderr);
    if (m_sender && message.level <= errorLevel)
        m_sender(line);
}

LogTap::Mute::Mute(LogTap& log) : m_log(log)
{
    Threads::Lock const held(m_log.m_mutex);
    ++m_log.m_mutes;
}

LogTap::Mute::~Mute()
{
    Threads::Lock const held(m_log.m_mutex);
    --m_log.m_mutes;
}

LogTap::Echo::Echo(LogTap& log, Sender sender) : m_log(log)
{
    Threads::Lock const held(m_log.m_mutex);
    m_log.m_sender = std::move(sender);
}

LogTap::Echo::~Echo()
{
    Threads::Lock const held(m_log.m_mutex);
    m_log.m_sender = {};
}

LogTap::Hold::Hold(LogTap& log) : m_log(log)
{
    Threads::Lock const held(m_log.m_mutex);
    ++m_log.m_holds;
}

LogTap::Hold::~Hold()
{
    Threads::Lock const held(m_log.m_mutex);
    if (--m_log.m_holds != 0)
        return;
    for (auto const& message : std::exchange(m_log.m_held, {}))
        m_log.tell(message);
}

bool LogTap::Hold::hasLines() const
{
    Threads::Lock const held(m_log.m_mutex);
    return !m_log.m_held.empty();
}

void LogTap::Hold::drop(std::size_t count)
{
    Threads::Lock const held(m_log.m_mutex);
    auto& lines = m_log.m_held;
    for (auto end = lines.end(); count != 0 && end != lines.begin();) {
        auto begin = std::prev(end);
        while (begin != lines.begin() && std::prev(begin)->place == begin->place)
            --begin;
        if (static_cast<std::size_t>(end - begin) >= count) {
            lines.erase(end - static_cast<std::ptrdiff_t>(count), end);
            return;
        }
        end = begin;
    }
}

} // namespace Tool

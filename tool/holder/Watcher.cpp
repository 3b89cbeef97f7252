#include "holder/Watcher.h"

#include "report/Console.h"
#include "report/Renderers.h"
#include "report/Text.h"
#include "workbench/Items.h"
#include "workbench/Values.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <utility>

#include <poll.h>
#include <unistd.h>

namespace Tool {

using Clock = std::chrono::steady_clock;

Watcher::Watcher(std::shared_ptr<Subscription> subscription, WatcherOptions options)
    : m_subscription(std::move(subscription)), m_options(std::move(options))
{}

std::string changeLine(Change const& change, bool json, bool showSecrets)
{
    auto const& name = nameOf(change.tag);
    auto const old = shown(change.tag, change.old, showSecrets);
    auto const value = shown(change.tag, change.value, showSecrets);
    auto const time = change.time ? Json(isoTime(*change.time)) : Json();
    if (json)
        return Json{{"number", change.number ? Json(*change.number) : Json()},
                    {"time", time},
                    {"user", change.author.user},
                    {"verb", change.author.verb},
                    {"door", change.author.door},
                    {"item", name},
                    {"old", old},
                    {"new", value}}
                   .dump(-1, ' ', false, Json::error_handler_t::replace) +
               '\n';
    auto const& [user, process, verb, door, ignored] = change.author;
    auto const number = change.number ? fmt::format("#{} ", *change.number) : "";
    auto const was =
        change.time ? fmt::format(" (was {}; {}{} by {})", cellText(old), number, verb.empty() ? door : verb, user) : "";
    return fmt::format("{}{} = {}{}\n", change.time ? time.get<std::string>() + ' ' : "", name, cellText(value), was);
}

void Watcher::meet(Data::eDataTag tag, Json const& value)
{
    auto const& goal = m_options.until;
    m_isMet = m_isMet || (goal && goal->tag == tag && goal->value == value);
}

std::string Watcher::presentLines()
{
    std::string text;
    for (auto const& [tag, value] : m_subscription->present()) {
        meet(tag, value);
        if (m_options.initial)
            text += changeLine({std::nullopt, tag, nullptr, value}, m_options.json, m_options.showSecrets);
    }
    return text;
}

std::string Watcher::lines(Subscription::Taken const& taken)
{
    std::string text;
    for (auto const& change : taken.changes) {
        if (isDone())
            return text;
        text += changeLine(change, m_options.json, m_options.showSecrets);
        meet(change.tag, change.value);
        ++m_told;
    }
    for (auto const& [tag, value] : taken.lost)
        meet(tag, value);
    if (taken.missed != 0)
        text += m_options.json ? fmt::format("{{\"missed\":{}}}\n", taken.missed)
                               : fmt::format("{} changes missed\n", taken.missed);
    return text;
}

/// Why it is an error that the time is over, if it is one.
Report Watcher::timeOver() const
{
    auto const& goal = m_options.until;
    if (goal)
        return failure(exitInternal, nameOf(goal->tag),
                       fmt::format("did not become {} within {} s",
                                   cellText(shown(goal->tag, goal->value, m_options.showSecrets)), m_options.seconds));
    if (m_told >= m_options.count)
        return {};
    return failure(exitInternal, "",
                   fmt::format("{} of {} changes came in {} s", m_told, m_options.count, m_options.seconds));
}

Report Watcher::follow(Write const& write, std::vector<int> const& ends)
{
    std::vector<pollfd> waiting{{m_subscription->descriptor(), POLLIN, 0}};
    for (int const descriptor : ends)
        // Of a stream that is written to only the loss of its reader counts.
        waiting.push_back({descriptor, static_cast<short>(descriptor == STDOUT_FILENO ? 0 : POLLIN | POLLRDHUP), 0});
    auto const deadline = Clock::now() + std::chrono::seconds(m_options.seconds);
    if (auto const text = presentLines(); (!text.empty() && !write(text)) || isDone())
        return {};
    for (;;) {
        auto const left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
        if (m_options.seconds != 0 && left <= 0)
            break;
        ::poll(waiting.data(), waiting.size(),
               m_options.seconds != 0 ? static_cast<int>(std::min<long long>(left, 1 << 30)) : -1);
        auto const taken = m_subscription->take();
        if (auto const text = lines(taken); !text.empty() && !write(text))
            return {};
        if (isDone())
            return {};
        if (taken.closed)
            return failure(exitStorage, "", "the process that held the data directory has ended");
        if (std::any_of(waiting.begin() + 1, waiting.end(), [](pollfd const& each) { return each.revents != 0; }))
            return {};
    }
    return timeOver();
}

int Watcher::close(Report const& report, std::ostream& out, std::ostream& err) const
{
    Console console(out, err);
    return report.problems.empty() ? report.code : show(report, console, m_options.json, JsonLayout::Line);
}

} // namespace Tool

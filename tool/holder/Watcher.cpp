#include "holder/Watcher.h"

#include "report/Text.h"
#include "workbench/Items.h"
#include "workbench/Values.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <ostream>
#include <utility>

#include <poll.h>
#include <unistd.h>

namespace Tool {

using Clock = std::chrono::steady_clock;

Watcher::Watcher(std::shared_ptr<Subscription> subscription, WatcherOptions options)
    : m_subscription(std::move(subscription)), m_options(options)
{}

std::string changeLine(Change const& change, bool json, bool showSecrets)
{
    auto const& name = nameOf(change.heard.tag);
    auto const value = shown(change.heard.tag, change.heard.value, showSecrets);
    if (!json)
        return fmt::format("{} {} = {}\n", change.time, name, cellText(value));
    Json const object{{"time", change.time}, {"tag", static_cast<int>(change.heard.tag)}, {"item", name}, {"value", value}};
    return object.dump(-1, ' ', false, Json::error_handler_t::replace) + '\n';
}

std::string Watcher::lines(Subscription::Taken const& taken)
{
    std::string text;
    for (auto const& change : taken.changes) {
        if (m_options.count != 0 && m_told == m_options.count)
            return text;
        text += changeLine(change, m_options.json, m_options.showSecrets);
        ++m_told;
    }
    if (taken.missed != 0)
        text += m_options.json ? fmt::format("{{\"missed\":{}}}\n", taken.missed)
                               : fmt::format("{} changes missed\n", taken.missed);
    return text;
}

Report Watcher::follow(Write const& write, std::vector<int> const& ends)
{
    std::vector<pollfd> waiting{{m_subscription->descriptor(), POLLIN, 0}};
    for (int const descriptor : ends)
        // Of a stream that is written to only the loss of its reader counts.
        waiting.push_back({descriptor, static_cast<short>(descriptor == STDOUT_FILENO ? 0 : POLLIN | POLLRDHUP), 0});
    auto const deadline = Clock::now() + std::chrono::seconds(m_options.seconds);
    for (;;) {
        auto const left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
        if (m_options.seconds != 0 && left <= 0)
            break;
        ::poll(waiting.data(), waiting.size(),
               m_options.seconds != 0 ? static_cast<int>(std::min<long long>(left, 1 << 30)) : -1);
        auto const taken = m_subscription->take();
        if (auto const text = lines(taken); !text.empty() && !write(text))
            return {};
        if (m_options.count != 0 && m_told == m_options.count)
            return {};
        if (taken.closed)
            return failure(exitStorage, "", "the process that held the data directory has ended");
        if (std::any_of(waiting.begin() + 1, waiting.end(), [](pollfd const& each) { return each.revents != 0; }))
            return {};
    }
    if (m_told >= m_options.count)
        return {};
    return failure(exitInternal, "",
                   fmt::format("{} of {} changes came in {} s", m_told, m_options.count, m_options.seconds));
}

int Watcher::close(Report const& report, std::ostream& out, std::ostream& err) const
{
    for (auto const& problem : report.problems) {
        if (m_options.json)
            out << Json{{"errors", {{{"item", nullptr}, {"reason", problem.reason}}}}, {"exit", report.code}}.dump() << '\n';
        else
            err << "mediadata: " << problem.reason << '\n';
    }
    return report.code;
}

} // namespace Tool

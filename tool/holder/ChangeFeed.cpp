#include "holder/ChangeFeed.h"

#include "report/Text.h"

#include <fmt/format.h>

#include <chrono>
#include <cstdint>
#include <utility>

#include <sys/eventfd.h>
#include <unistd.h>

namespace Tool {

namespace {

constexpr std::size_t longestQueue = 1000;

} // namespace

std::string timeNow()
{
    auto const now = std::chrono::system_clock::now();
    auto const milliseconds = std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count();
    return fmt::format("{}.{:03}", timeText(milliseconds), milliseconds % 1000);
}

Subscription::Subscription(std::optional<Tags> only)
    : m_only(std::move(only)), m_event(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{}

Subscription::Taken Subscription::take()
{
    Threads::Lock const held(m_mutex);
    std::uint64_t count = 0;
    [[maybe_unused]] auto const read = ::read(m_event.get(), &count, sizeof count);
    return std::exchange(m_waiting, {});
}

void Subscription::put(std::string const& time, std::vector<HeardChange> const& changes)
{
    Threads::Lock const held(m_mutex);
    for (auto const& change : changes) {
        if (m_only && !m_only->contains(change.tag))
            continue;
        if (m_waiting.changes.size() < longestQueue)
            m_waiting.changes.push_back({time, change});
        else
            ++m_waiting.missed;
    }
    wake();
}

void Subscription::close()
{
    Threads::Lock const held(m_mutex);
    m_waiting.closed = true;
    wake();
}

void Subscription::wake() const
{
    std::uint64_t const one = 1;
    [[maybe_unused]] auto const written = ::write(m_event.get(), &one, sizeof one);
}

std::shared_ptr<Subscription> ChangeFeed::subscribe(std::optional<Subscription::Tags> only)
{
    Threads::Lock const held(m_mutex);
    auto result = std::make_shared<Subscription>(std::move(only));
    std::erase_if(m_subscriptions, [](auto const& each) { return each.expired(); });
    m_subscriptions.push_back(result);
    return result;
}

void ChangeFeed::publish(std::vector<HeardChange> const& changes)
{
    Threads::Lock const held(m_mutex);
    auto const time = timeNow();
    for (auto const& each : m_subscriptions) {
        if (auto const subscription = each.lock())
            subscription->put(time, changes);
    }
}

void ChangeFeed::close()
{
    Threads::Lock const held(m_mutex);
    for (auto const& each : m_subscriptions) {
        if (auto const subscription = each.lock())
            subscription->close();
    }
}

} // namespace Tool

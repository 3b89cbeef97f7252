#include "holder/ChangeFeed.h"

#include "workbench/Items.h"
#include "workbench/Snapshot.h"

#include "Data/DataSourceDB.h"

#include "HostPlatform.h"
#include "store/Database.h"

#include <algorithm>
#include <chrono>
#include <iterator>
#include <utility>

#include <sys/eventfd.h>
#include <unistd.h>

namespace Tool {

namespace {

constexpr std::size_t mostWaiting = 1000;

/// The entry of the change that has just been made.
std::optional<std::int64_t> entryOf(Host::Database& database, Data::eDataTag tag)
{
    auto const table = storedTableOf(tag);
    auto const& row = Data::DataSourceDB::dataDbDescriptionTable[table != Data::eDataTagNone ? table : tag];
    return row.schema ? database.entryOf(*row.schema, *row.element) : std::nullopt;
}

} // namespace

Subscription::Subscription(std::optional<Tags> only, Values const& present)
    : m_only(std::move(only)), m_event(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
    std::copy_if(present.begin(), present.end(), std::inserter(m_present, m_present.end()),
                 [this](auto const& each) { return wants(each.first); });
}

Subscription::Taken Subscription::take()
{
    Threads::Lock const held(m_mutex);
    std::uint64_t count = 0;
    [[maybe_unused]] auto const read = ::read(m_event.get(), &count, sizeof count);
    return std::exchange(m_waiting, {});
}

void Subscription::put(std::vector<Change> const& changes)
{
    Threads::Lock const held(m_mutex);
    for (auto const& change : changes) {
        if (!wants(change.tag))
            continue;
        if (m_waiting.changes.size() < mostWaiting) {
            m_waiting.changes.push_back(change);
        } else {
            ++m_waiting.missed;
            m_waiting.lost[change.tag] = change.value;
        }
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

/// The library must not be asked under the lock, since it publishes with locks of its own. What it announces in between is newer.
void ChangeFeed::learnValues()
{
    {
        Threads::Lock const held(m_mutex);
        if (std::exchange(m_knowsAll, true))
            return;
    }
    auto const values = Snapshot::values();
    Threads::Lock const held(m_mutex);
    for (std::size_t index = 0; index < values.size(); ++index) {
        if (!values[index].is_null())
            m_known.try_emplace(allTags()[index], Known{values[index], false});
    }
}

std::shared_ptr<Subscription> ChangeFeed::subscribe(std::optional<Subscription::Tags> only)
{
    learnValues();
    Threads::Lock const held(m_mutex);
    Subscription::Values present;
    for (auto const& [tag, known] : m_known)
        present.emplace(tag, known.value);
    auto result = std::make_shared<Subscription>(std::move(only), present);
    std::erase_if(m_subscriptions, [](auto const& each) { return each.expired(); });
    m_subscriptions.push_back(result);
    return result;
}

std::size_t ChangeFeed::subscriptions()
{
    Threads::Lock const held(m_mutex);
    auto const isAlive = [](auto const& each) { return !each.expired(); };
    return static_cast<std::size_t>(std::ranges::count_if(m_subscriptions, isAlive));
}

void ChangeFeed::tell(Listener listener)
{
    if (listener)
        learnValues();
    Threads::Lock const held(m_mutex);
    m_listener = std::move(listener);
}

void ChangeFeed::publish(Host::Platform& platform, std::vector<HeardChange> const& heard)
{
    auto& database = platform.database();
    auto author = database.author();
    author.note = {};
    auto const now = std::chrono::system_clock::now().time_since_epoch();
    auto const time = std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
    Threads::Lock const held(m_mutex);
    std::vector<Change> changes;
    for (auto const& [tag, value] : heard) {
        auto const [at, isNew] = m_known.try_emplace(tag, Known{nullptr, true});
        auto& known = at->second;
        // What was read between a change and its announcement is known already.
        if (std::exchange(known.isAnnounced, true) || isNew || known.value != value)
            changes.push_back({time, tag, known.value, value, author, entryOf(database, tag)});
        known.value = value;
    }
    for (auto const& each : m_subscriptions) {
        if (auto const subscription = each.lock())
            subscription->put(changes);
    }
    if (m_listener)
        m_listener(changes);
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

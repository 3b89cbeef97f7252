#include "web/Events.h"

#include "holder/Watcher.h"
#include "web/Access.h"
#include "workbench/Items.h"
#include "workbench/PastEntries.h"
#include "workbench/Workbench.h"

#include "HostPlatform.h"
#include "store/Database.h"

#include <algorithm>
#include <charconv>
#include <utility>

#include <fmt/format.h>

namespace Tool::Web {

namespace {

constexpr std::size_t mostEvents = 1000; ///< in the list, and out of the history
constexpr std::size_t longestPiece = 16384;

template <class Number> bool takeNumber(std::string_view& text, Number& number)
{
    auto const [stop, fault] = std::from_chars(text.data(), text.data() + text.size(), number);
    text.remove_prefix(static_cast<std::size_t>(stop - text.data()));
    return fault == std::errc() && number >= 0;
}

std::string eventText(std::string const& place, std::string_view name, std::string const& data)
{
    return fmt::format("id: {}\nevent: {}\ndata: {}\n\n", place, name, data);
}

std::string changeText(std::string const& place, Change const& change)
{
    auto line = changeLine(change, true, false);
    line.pop_back();
    return eventText(place, "change", line);
}

/// What the cache announces when it changes.
bool isAnnounced(PastChange const& change)
{
    return change.tag && change.result == "stored" && isHeld(*change.tag) &&
           typeOf(*change.tag) != Data::eDataItemTypeComplex;
}

} // namespace

std::optional<Place> parsePlace(std::string_view text)
{
    Place place;
    if (!takeNumber(text, place.entry))
        return std::nullopt;
    if (text.empty())
        return place;
    auto const last = text.rfind('-');
    if (last == std::string_view::npos || last == 0 || text.front() != '-')
        return std::nullopt;
    place.process = text.substr(1, last - 1);
    text.remove_prefix(last + 1);
    return takeNumber(text, place.next) && text.empty() ? std::optional(place) : std::nullopt;
}

std::string textOf(Place const& place)
{
    return place.process.empty() ? std::to_string(place.entry)
                                 : fmt::format("{}-{}-{}", place.entry, place.process, place.next);
}

Replay replay(Workbench& workbench, std::optional<std::int64_t> behind)
{
    Replay result{workbench.platform().database().lastEntry(), {}, false};
    if (!behind || *behind > result.last)
        return result;
    std::string error;
    auto entries = pastEntries(workbench, error, *behind);
    std::erase_if(entries, [](PastEntry const& each) { return each.numbers.empty(); });
    std::size_t count = 0;
    // Everything up to an entry is told when none that has a smaller number is still to come.
    auto place = result.last;
    std::vector<std::string> texts;
    std::ranges::reverse(entries);
    for (auto& entry : entries) {
        auto& text = texts.emplace_back();
        std::erase_if(entry.changes, [](PastChange const& each) { return !isAnnounced(each); });
        count += entry.changes.size();
        auto const next = std::min(place, *entry.numbers.begin() - 1);
        for (auto const& each : entry.changes) {
            bool const isLast = &each == &entry.changes.back();
            text += changeText(std::to_string(isLast ? place : next), {entry.time,
                                                                       *each.tag,
                                                                       each.before,
                                                                       each.after,
                                                                       {entry.user, entry.process, entry.verb, entry.door},
                                                                       *entry.numbers.rbegin()});
        }
        place = next;
    }
    result.isWhole = error.empty() && place == *behind && count <= mostEvents;
    for (auto text = texts.rbegin(); result.isWhole && text != texts.rend(); ++text)
        result.events += *text;
    return result;
}

std::string_view Events::Stream::peek()
{
    while (m_isReady && m_text.size() < longestPiece && advance()) {
    }
    return m_text;
}

/// False when there is no more.
bool Events::Stream::advance()
{
    if (m_next < m_events.m_first) {
        m_isOver = true;
        return false;
    }
    auto const at = m_next - m_events.m_first;
    if (m_isOver || at >= m_events.m_events.size())
        return false;
    auto const& event = m_events.m_events[at];
    ++m_next;
    if (event.number == 0 || event.number > m_known)
        m_text += event.text;
    return true;
}

void Events::Stream::taken(std::size_t bytes)
{
    m_text.erase(0, bytes);
}

Events::Events(ChangeFeed& feed, std::int64_t last)
    : m_subscription(feed.subscribe(std::nullopt)), m_process(randomToken().substr(0, 8)), m_entry(last)
{}

void Events::append(Change const& change, bool isLastOfEntry)
{
    if (isLastOfEntry && change.number)
        m_entry = std::max(m_entry, *change.number);
    Place const place{m_entry, m_process, m_first + m_events.size() + 1};
    m_events.push_back({changeText(textOf(place), change), change.number.value_or(0)});
    if (m_events.size() > mostEvents) {
        m_events.pop_front();
        ++m_first;
    }
}

/// All streams are behind the list then.
void Events::forget()
{
    m_first += m_events.size() + 1;
    m_events.clear();
}

void Events::take()
{
    auto const taken = m_subscription->take();
    auto const& changes = taken.changes;
    for (auto change = changes.begin(); change != changes.end(); ++change) {
        auto const isSame = [&](Change const& other) { return other.number == change->number; };
        append(*change, std::none_of(std::next(change), changes.end(), isSame));
    }
    if (taken.missed != 0)
        forget();
    if (!changes.empty() || taken.missed != 0)
        each([](Stream& stream) { stream.tell(); });
}

void Events::each(std::function<void(Stream&)> const& action)
{
    std::erase_if(m_streams, [](auto const& stream) { return stream.expired(); });
    for (auto const& known : m_streams) {
        if (auto const stream = known.lock())
            action(*stream);
    }
}

std::size_t Events::size()
{
    std::size_t count = 0;
    each([&](Stream&) { ++count; });
    return count;
}

std::shared_ptr<Events::Stream> Events::open()
{
    std::shared_ptr<Stream> stream(new Stream(*this));
    stream->m_next = m_first + m_events.size();
    m_streams.push_back(stream);
    return stream;
}

bool Events::has(Place const& place) const
{
    return place.process == m_process && place.next >= m_first && place.next <= m_first + m_events.size();
}

void Events::begin(Stream& stream, Json hello, Replay const& replay, std::optional<Place> const& after) const
{
    bool const isInList = after && has(*after);
    bool const isResumed = isInList || (after && replay.isWhole);
    hello["number"] = replay.last;
    hello["resumed"] = isResumed;
    auto const place = isInList ? *after : Place{isResumed ? after->entry : replay.last};
    stream.m_text = eventText(textOf(place), "hello", hello.dump(-1, ' ', false, Json::error_handler_t::replace));
    if (isInList) {
        stream.m_next = after->next;
    } else {
        stream.m_text += replay.events;
        stream.m_known = replay.last;
    }
    stream.m_isReady = true;
}

void Events::comment()
{
    each([](Stream& stream) {
        if (stream.m_isReady && stream.m_text.empty())
            stream.m_text = ":\n\n";
        stream.tell();
    });
}

void Events::end()
{
    each([](Stream& stream) {
        stream.m_isOver = true;
        stream.tell();
    });
}

} // namespace Tool::Web

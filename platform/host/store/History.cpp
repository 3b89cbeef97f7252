// How much there is is asked of the database once, with the first change.
#include "store/History.h"

#include "seam/HostLog.h"
#include "store/Connection.h"
#include "store/HistoryFile.h"

#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <iterator>
#include <string>

#define UNIT "History"

namespace Host {

namespace {

Author const& thisProcess()
{
    static Author const self = [] {
        std::array<char, 4096> room{};
        passwd entry{};
        passwd* found = nullptr;
        bool const isKnown = ::getpwuid_r(::geteuid(), &entry, room.data(), room.size(), &found) == 0 && found != nullptr;
        return Author{isKnown ? found->pw_name : std::to_string(::geteuid()), program_invocation_short_name, "",
                      "application"};
    }();
    return self;
}

} // namespace

void History::author(std::thread::id thread, std::optional<Author> author)
{
    std::erase_if(m_authors, [=](auto const& each) { return each.first == thread; });
    if (author)
        m_authors.emplace_back(thread, *std::move(author));
}

Author const& History::author() const
{
    auto const named = std::ranges::find(m_authors, std::this_thread::get_id(), &decltype(m_authors)::value_type::first);
    return named != m_authors.end() ? named->second : thisProcess();
}

void History::addToNext(std::vector<HistoryChange> changes)
{
    m_waiting.insert(m_waiting.end(), std::make_move_iterator(changes.begin()), std::make_move_iterator(changes.end()));
}

bool History::know(Connection& connection)
{
    std::vector<Connection::Row> rows;
    if (m_isKnown)
        return true;
    if (!connection.run(Connection::measureHistory, {}, &rows) || rows.empty())
        return false;
    m_committed = {std::strtoll(rows[0][0].c_str(), nullptr, 10), std::strtoull(rows[0][1].c_str(), nullptr, 10)};
    m_present = m_committed;
    return m_isKnown = true;
}

bool History::begin(Connection& connection)
{
    if (m_entry || !know(connection))
        return m_entry.has_value();
    Author const& author = this->author();
    auto const now = std::chrono::system_clock::now().time_since_epoch();
    m_entry.emplace(HistoryEntry{m_present.last + 1,
                                 std::chrono::duration_cast<std::chrono::milliseconds>(now).count(),
                                 author.user,
                                 author.process,
                                 author.verb,
                                 author.door,
                                 author.note ? author.note() : std::string(),
                                 {}});
    return true;
}

bool History::add(Connection& connection, ChangedText const& change)
{
    if (!begin(connection))
        return false;
    m_entry->add(change);
    return true;
}

bool History::enter(Connection& connection, HistoryFile const* file)
{
    for (HistoryChange const& each : m_waiting)
        if (!add(connection, {each.schema, each.element, each.before, each.after}))
            return false;
    if (!m_entry)
        return true;
    m_present.last += 1;
    return write(connection, *m_entry) && (m_present.size <= limit || makeRoom(connection, file));
}

bool History::write(Connection& connection, HistoryRow const& row)
{
    m_present.size += row.size();
    return connection.run(Connection::addHistory, row.texts());
}

void History::settle(bool isCommitted)
{
    if (isCommitted) {
        m_waiting.clear();
        if (m_entry)
            m_latest.push_front(*std::move(m_entry));
        if (m_latest.size() > remembered)
            m_latest.pop_back();
    }
    m_entry.reset();
    (isCommitted ? m_committed : m_present) = isCommitted ? m_present : m_committed;
}

std::optional<std::int64_t> History::entryOf(std::string_view schema, std::string_view element) const
{
    std::vector<ChangedText> changes;
    for (HistoryRow const& row : m_latest) {
        changes.clear();
        auto const isMeant = [&](ChangedText const& each) { return each.schema == schema && each.element == element; };
        if (row.readChanges(changes) && std::ranges::any_of(changes, isMeant))
            return row.numberOf();
    }
    return std::nullopt;
}

/// Appends the next rows; none when there are no more.
bool History::readSome(Connection& connection, std::int64_t after, int count, std::vector<HistoryRow>& rows)
{
    std::vector<Connection::Row> found;
    if (!connection.run(Connection::readHistory, std::array{std::to_string(after), std::to_string(count)}, &found))
        return false;
    for (Connection::Row& each : found)
        rows.emplace_back(std::move(each));
    return true;
}

bool History::read(Connection& connection, std::vector<HistoryEntry>& entries)
{
    std::vector<HistoryRow> rows;
    std::int64_t last = 0;
    do {
        rows.clear();
        if (!readSome(connection, last, 16, rows))
            return false;
        for (HistoryRow const& each : rows) {
            last = each.numberOf();
            if (HistoryEntry entry; each.read(entry))
                entries.push_back(std::move(entry));
        }
    } while (!rows.empty());
    return true;
}

/// The last entry stays in any case, since from its number the next one's follows; when it is too long by itself its values leave.
bool History::makeRoom(Connection& connection, HistoryFile const* file)
{
    if (file == nullptr)
        return true;
    std::string lines;
    std::int64_t moved = 0;
    std::size_t size = m_present.size;
    std::vector<HistoryRow> rows;
    while (size > (moved + 1 < m_present.last ? keptWhenFull : limit)) {
        if (rows.empty() && (!readSome(connection, moved, 4, rows) || rows.empty()))
            return false;
        appendLine(lines, rows.front());
        moved = rows.front().numberOf();
        size -= std::min(size, rows.front().size());
        rows.erase(rows.begin());
    }
    std::string error;
    if (!file->append(std::move(lines), error)) {
        HOST_LOG_ERROR(UNIT, "entries of the history stay in the database, although they are too many: " + error);
        return true;
    }
    m_present.size = size;
    if (!connection.run(Connection::trimHistory, std::array{std::to_string(moved)}))
        return false;
    return moved < m_present.last || write(connection, m_entry->withoutChanges());
}

bool History::replace(Connection& connection, std::span<HistoryEntry const> entries)
{
    if (!know(connection) || !connection.run(Connection::trimHistory, std::array{std::to_string(m_present.last)}))
        return false;
    m_present.size = 0;
    for (HistoryEntry const& each : entries) {
        m_present.last = std::max(m_present.last, each.number);
        if (!write(connection, HistoryRow(each)))
            return false;
    }
    return true;
}

} // namespace Host

// Values and journal over the connection's statements, and the transactions in which they are written.
#include "store/Database.h"

#include "store/DatabaseSeal.h"
#include "store/JournalRow.h"

#include "seam/HostLog.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <iterator>
#include <utility>

#define UNIT "Database"

namespace Host {

namespace {

/// The end of the range of all texts that begin with `prefix`.
std::string after(std::string prefix)
{
    if (!prefix.empty())
        ++prefix.back();
    return prefix;
}

} // namespace

// The start-up asks for every value once: one statement gets them all. What it does not get is read one by one.
Database::Database(std::unique_ptr<Connection> connection, DatabaseFault& fault)
    : m_connection(std::move(connection)), m_ahead(m_connection->readAhead(fault))
{}

Database::~Database()
{
    bool const isSound = m_connection->isSound();
    bool const isChanged = m_connection->isChanged();
    m_connection.reset();
    if (m_seal != nullptr && isSound)
        m_seal->putOn(isChanged);
}

std::unique_ptr<Database> Database::open(std::string const& path, bool isSealed, DatabaseFault& fault)
{
    std::unique_ptr<Connection> connection = Connection::open(path, isSealed, fault);
    if (connection == nullptr)
        return nullptr;
    std::unique_ptr<Database> database(new Database(std::move(connection), fault));
    return fault.damaged ? nullptr : std::move(database);
}

void Database::sealAtClose(std::unique_ptr<DatabaseSeal> seal)
{
    m_seal = std::move(seal);
}

std::optional<std::string> Database::read(std::string const& schema, std::string const& element)
{
    Threads::Lock const lock(m_mutex);
    m_justUnread.reset();
    if (isInGroup()) {
        auto const isWanted = [&](StoredItem const& each) { return each.schema == schema && each.element == element; };
        auto const last = std::find_if(m_group->items.rbegin(), m_group->items.rend(), isWanted);
        if (last != m_group->items.rend())
            return last->value;
    }
    if (std::string value; m_ahead) {
        auto const result = m_ahead->find(schema, element, value);
        if (result == ReadAhead::Result::found)
            return value;
        if (result == ReadAhead::Result::absent)
            return std::nullopt;
    }
    std::optional<std::string> value;
    if (!fetch({schema, element}, value))
        m_unread.insert(m_justUnread.emplace(schema, element));
    else if (!m_unread.empty())
        m_unread.erase({schema, element});
    return value;
}

/// Nothing when it was never stored; false when it cannot be read.
bool Database::fetch(Key const& key, std::optional<std::string>& value)
{
    std::vector<Connection::Row> rows;
    if (!m_connection->run(Connection::readItem, std::array{key.first, key.second}, &rows))
        return false;
    if (!rows.empty())
        value = std::move(rows.front().front());
    return true;
}

/// What cannot be read is not overwritten: who writes believes that nothing was stored. Right after such a read he has but a
/// default to write; later it is read again, and when that works the write may go on.
bool Database::mayWrite(StoredItem const& item)
{
    if (m_unread.empty())
        return true;
    Key const key{item.schema, item.element};
    auto const justUnread = std::exchange(m_justUnread, std::nullopt);
    if (!m_unread.contains(key))
        return true;
    std::optional<std::string> ignored;
    if (justUnread != key && fetch(key, ignored)) {
        m_unread.erase(key);
        return true;
    }
    HOST_LOG_ERROR(UNIT, key.first + "/" + key.second + " was not stored: it could not be read, and what it has stays");
    return false;
}

bool Database::runItems(std::span<StoredItem const> items, bool isEntered)
{
    for (StoredItem const& each : items) {
        if (!m_connection->run(Connection::writeItem, std::array{each.schema, each.element, each.value}))
            return false;
        auto const replaced = m_connection->takeReplaced();
        if (!isEntered || replaced == each.value)
            continue;
        if (replaced && each.element.empty()) {
            std::string before = *replaced;
            std::string after = each.value;
            keepDifferentRows(before, after);
            if (!m_history.add(*m_connection, {each.schema, each.element, before, after}))
                return false;
        } else if (!m_history.add(*m_connection, {each.schema, each.element, replaced, each.value})) {
            return false;
        }
    }
    return true;
}

bool Database::runRemoval(Key const& key)
{
    std::optional<std::string> before;
    if (!fetch(key, before) || !before)
        return !before;
    return m_connection->run(Connection::removeItem, std::array{key.first, key.second}) &&
           m_history.add(*m_connection, {key.first, key.second, *before, notStored});
}

bool Database::runJournal(std::span<JournalEntry const> journal)
{
    for (std::size_t size = 0; !journal.empty(); journal = journal.subspan(size)) {
        size = operationSize(journal);
        JournalEntry const& first = journal.front();
        if (!m_connection->run(Connection::addEntry,
                               std::array{std::to_string(size), std::to_string(first.time), first.kind, first.item,
                                          first.value, furtherEntries(journal.first(size))}))
            return false;
    }
    return true;
}

bool Database::runAll(std::span<StoredItem const> items, std::span<JournalEntry const> journal)
{
    bool const itemsDone =
        runItems(items, true) && m_history.enter(*m_connection, m_historyFile ? &*m_historyFile : nullptr);
    bool const journalDone = runJournal(journal);
    return itemsDone && journalDone &&
           (journal.empty() || m_connection->run(Connection::trimJournal, std::array{std::to_string(journalLimit)}));
}

/// A change is a function that answers whether all of it was done.
template <class Change> bool Database::transact(Change const& change)
{
    if (!m_connection->makeLogTrue())
        return false;
    bool isDone = false;
    try {
        isDone = m_connection->run(Connection::begin) && change() && m_connection->run(Connection::commit);
    } catch (std::bad_alloc const&) { // a write that failed; its transaction must not stay open
    }
    m_history.settle(isDone);
    if (isDone)
        return true;
    // A full disk may have rolled back already.
    if (m_connection->isInTransaction())
        m_connection->run(Connection::rollback);
    m_connection->makeLogTrue();
    return false;
}

bool Database::transact(std::span<StoredItem const> items, std::span<JournalEntry const> journal)
{
    return transact([&]() MEDIADATA_REQUIRES(m_mutex) { return runAll(items, journal); });
}

bool Database::writeWithWaiting(std::span<StoredItem const> items, std::span<JournalEntry const> journal)
{
    m_ahead.reset();
    if (!m_waiting.empty()) {
        std::vector<JournalEntry> all = m_waiting;
        all.insert(all.end(), journal.begin(), journal.end());
        if (transact(items, all)) {
            m_waiting.clear();
            return true;
        }
        // What waited must not stand in the way of a change, and goes on waiting.
    }
    if (items.empty() && journal.empty())
        return m_waiting.empty();
    return transact(items, journal);
}

bool Database::write(std::span<StoredItem const> items, std::span<JournalEntry const> journal)
{
    Threads::Lock const lock(m_mutex);
    return writeOrNote(items, journal);
}

bool Database::remove(std::span<Key const> keys)
{
    Threads::Lock const lock(m_mutex);
    m_ahead.reset();
    auto const removal = [this](Key const& key) MEDIADATA_REQUIRES(m_mutex) { return runRemoval(key); };
    return transact([&]() MEDIADATA_REQUIRES(m_mutex) {
        return std::ranges::all_of(keys, removal) &&
               m_history.enter(*m_connection, m_historyFile ? &*m_historyFile : nullptr);
    });
}

bool Database::writeOrNote(std::span<StoredItem const> items, std::span<JournalEntry const> journal)
{
    bool may = true;
    for (StoredItem const& each : items)
        may = may && mayWrite(each);
    if (may && writeWithWaiting(items, journal))
        return true;
    for (StoredItem const& each : items)
        keepFailedWrite({each.schema, each.element});
    return false;
}

bool Database::isInGroup() const
{
    return m_group && m_group->thread == std::this_thread::get_id();
}

bool Database::beginGroup()
{
    Threads::Lock const lock(m_mutex);
    if (m_group)
        return false;
    m_group = {std::this_thread::get_id(), {}};
    return true;
}

bool Database::endGroup()
{
    Threads::Lock const lock(m_mutex);
    if (!isInGroup())
        return false;
    std::vector<StoredItem> const items = std::move(m_group->items);
    m_group.reset();
    return items.empty() || writeOrNote(items, {});
}

bool Database::store(StoredItem item)
{
    Threads::Lock const lock(m_mutex);
    if (!isInGroup())
        return writeOrNote({&item, 1}, {});
    if (!mayWrite(item)) {
        keepFailedWrite({item.schema, item.element});
        return false;
    }
    m_group->items.push_back(std::move(item));
    return true;
}

void Database::keepFailedWrite(FailedWrite failed)
{
    if (m_failedWrites.size() < failedWriteLimit)
        m_failedWrites.insert(std::move(failed));
}

void Database::noteFailedWrite(FailedWrite failed)
{
    Threads::Lock const lock(m_mutex);
    keepFailedWrite(std::move(failed));
}

std::set<FailedWrite> Database::takeFailedWrites()
{
    Threads::Lock const lock(m_mutex);
    return std::exchange(m_failedWrites, {});
}

std::string Database::takeError()
{
    Threads::Lock const lock(m_mutex);
    return m_connection->takeError();
}

void Database::addToNextWrite(std::vector<JournalEntry> entries)
{
    Threads::Lock const lock(m_mutex);
    bool const waited = !m_waiting.empty();
    m_waiting.insert(m_waiting.end(), std::make_move_iterator(entries.begin()), std::make_move_iterator(entries.end()));
    // A journal that cannot be kept must not grow without end.
    if (waited && !writeWithWaiting({}, {}) && m_waiting.size() > journalLimit)
        m_waiting.erase(m_waiting.begin(), m_waiting.end() - static_cast<std::ptrdiff_t>(journalLimit));
}

std::vector<StoredItem> Database::list(std::string const& prefix)
{
    Threads::Lock const lock(m_mutex);
    std::vector<Connection::Row> rows;
    std::vector<StoredItem> result;
    if (m_connection->run(Connection::listItems, std::array{prefix, after(prefix)}, &rows))
        for (Connection::Row& row : rows)
            result.push_back({std::move(row[0]), std::move(row[1]), std::move(row[2])});
    return result;
}

bool Database::restore(std::span<StoredItem const> items, std::span<JournalEntry const> journal,
                       std::span<HistoryEntry const> history)
{
    Threads::Lock const lock(m_mutex);
    return transact([&]() MEDIADATA_REQUIRES(m_mutex) {
        return runItems(items, false) && runAll({}, journal) && m_history.replace(*m_connection, history);
    });
}

void Database::keepHistoryIn(DataDirectory const& directory)
{
    m_historyFile.emplace(directory);
}

void Database::author(std::optional<Author> author)
{
    Threads::Lock const lock(m_mutex);
    m_history.author(std::this_thread::get_id(), std::move(author));
}

Author Database::author()
{
    Threads::Lock const lock(m_mutex);
    return m_history.author();
}

std::optional<std::int64_t> Database::entryOf(std::string const& schema, std::string const& element)
{
    Threads::Lock const lock(m_mutex);
    return m_history.entryOf(schema, element);
}

void Database::addToHistory(std::vector<HistoryChange> changes)
{
    Threads::Lock const lock(m_mutex);
    m_history.addToNext(std::move(changes));
}

bool Database::completeHistory()
{
    Threads::Lock const lock(m_mutex);
    return !m_history.isWaiting() || transact({}, {});
}

std::optional<std::vector<HistoryEntry>> Database::history()
{
    Threads::Lock const lock(m_mutex);
    std::vector<HistoryEntry> entries;
    return m_history.read(*m_connection, entries) ? std::optional(std::move(entries)) : std::nullopt;
}

bool Database::replaceHistory(std::span<HistoryEntry const> entries, std::int64_t last)
{
    Threads::Lock const lock(m_mutex);
    auto const change = [&]() MEDIADATA_REQUIRES(m_mutex) {
        return m_history.replace(*m_connection, entries) && m_history.begin(*m_connection) &&
               m_history.enter(*m_connection, nullptr);
    };
    return m_history.last(*m_connection) == last && transact(change) && m_connection->emptyLog();
}

std::int64_t Database::lastEntry()
{
    Threads::Lock const lock(m_mutex);
    return m_history.last(*m_connection);
}

std::vector<JournalEntry> Database::journal(int limit)
{
    Threads::Lock const lock(m_mutex);
    std::vector<Connection::Row> rows;
    std::vector<JournalEntry> result;
    if (!m_connection->run(Connection::readJournal, std::array{std::to_string(limit)}, &rows))
        return {};
    std::reverse(rows.begin(), rows.end());
    for (Connection::Row const& row : rows)
        appendOperation({std::strtoll(row[0].c_str(), nullptr, 10), row[1], row[2], row[3]}, row[4], result);
    auto const surplus = std::max(static_cast<std::ptrdiff_t>(result.size()) - limit, std::ptrdiff_t{0});
    result.erase(result.begin(), result.begin() + surplus);
    return result;
}

int Database::countValues(std::string const& prefix)
{
    Threads::Lock const lock(m_mutex);
    std::vector<Connection::Row> rows;
    if (!m_connection->run(Connection::countItems, std::array{prefix, after(prefix)}, &rows) || rows.empty())
        return 0;
    return static_cast<int>(std::strtol(rows.front().front().c_str(), nullptr, 10));
}

} // namespace Host

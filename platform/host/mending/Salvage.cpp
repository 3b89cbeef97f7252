// A table is read forwards up to the damage, backwards down to it, and in between row by row. The index, which repeats the
// names of all values on other pages, tells which rows there should have been. What is missing then is looked for on the
// pages that no readable page leads to. No old rows are found there: a page that is freed is overwritten with zeros.
#include "mending/Salvage.h"

#include "Files.h"
#include "mending/LogGaps.h"
#include "store/HistoryRow.h"
#include "store/JournalRow.h"

#include <sqlite3.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <filesystem>
#include <iterator>
#include <limits>
#include <system_error>

namespace Host {

namespace {

constexpr std::size_t pageCountOffset = 28;  // in the file's header, big-endian
constexpr std::int64_t maximumGap = 100'000; // rows tried one by one
constexpr std::size_t maximumNames = 100;    // in a report
constexpr std::int64_t none = std::numeric_limits<std::int64_t>::max();
constexpr char leafOfTable = 13; // the first byte of such a page

constexpr char const* itemsForwards = "SELECT rowid, schema, element, value FROM item NOT INDEXED ORDER BY rowid";
constexpr char const* itemsBackwards = "SELECT rowid, schema, element, value FROM item NOT INDEXED ORDER BY rowid DESC";
constexpr char const* entriesForwards = "SELECT id, time, kind, item, value, further FROM journal ORDER BY id";
constexpr char const* entriesBackwards = "SELECT id, time, kind, item, value, further FROM journal ORDER BY id DESC";
constexpr char const* changesForwards = "SELECT number, who, time, schema, element, old, new FROM history ORDER BY number";
constexpr char const* changesBackwards =
    "SELECT number, who, time, schema, element, old, new FROM history ORDER BY number DESC";

/// The text of a column. Null or another type is damage, too.
bool text(sqlite3_stmt* row, int column, std::string& target)
{
    if (sqlite3_column_type(row, column) != SQLITE_TEXT)
        return false;
    auto const* const found = reinterpret_cast<char const*>(sqlite3_column_text(row, column));
    if (found == nullptr)
        return false;
    target.assign(found, static_cast<std::size_t>(sqlite3_column_bytes(row, column)));
    return true;
}

/// Pages are counted from 1.
off_t offsetOf(std::int64_t number, std::string const& page)
{
    return (number - 1) * static_cast<off_t>(page.size());
}

/// Moves to the page; false with errno.
bool seek(FileDescriptor const& file, std::int64_t number, std::string const& page)
{
    return file && ::lseek(file.get(), offsetOf(number, page), SEEK_SET) >= 0;
}

bool writePage(FileDescriptor const& file, std::int64_t number, std::string const& page)
{
    return seek(file, number, page) && writeAll(file.get(), page);
}

/// Not the file's content but the machine is at fault.
bool isOfTheSystem(int code)
{
    constexpr std::array codes{SQLITE_IOERR, SQLITE_CANTOPEN, SQLITE_FULL, SQLITE_NOMEM, SQLITE_READONLY};
    return std::ranges::find(codes, code & 0xff) != codes.end();
}

} // namespace

bool Salvage::readAll(std::string& error)
{
    auto const lostFrames = mendLog(m_path + "-wal", error);
    if (!lostFrames)
        return false;
    m_lostFrames = *lostFrames;
    std::error_code fault;
    auto const size = std::filesystem::file_size(m_path, fault);
    if (fault)
        m_fault = fault.message();
    else if (size < m_firstPage.size())
        replaceFirstPage(); // a log beside a file without pages would be thrown away
    if (!readFile() && replaceFirstPage())
        readFile();
    if (m_rowsFailed || m_journalFailed || m_historyFailed)
        readLoosePages();
    std::erase_if(m_lost, [this](Key const& each) { return m_items.contains(each); });
    if (!m_fault.empty())
        error = "database: " + m_path + " cannot be used: " + m_fault;
    return m_fault.empty();
}

/// Always false.
bool Salvage::failed()
{
    m_fault = std::generic_category().message(errno);
    return false;
}

bool Salvage::replaceFirstPage()
{
    FileDescriptor const file = openPlain(m_path, O_RDWR);
    struct stat status {};
    std::string page = m_firstPage;
    if (!file || ::fstat(file.get(), &status) != 0)
        return failed();
    auto const pages = std::max<unsigned long>(static_cast<unsigned long>(status.st_size) / page.size(), 1);
    for (std::size_t i = 0; i < 4; ++i)
        page[pageCountOffset + i] = static_cast<char>(pages >> (8 * (3 - i)));
    return writePage(file, 1, page) || failed();
}

bool Salvage::scan(char const* query, RowReader const& reader, std::int64_t parameter)
{
    sqlite3_stmt* statement = nullptr;
    int code = sqlite3_prepare_v2(m_handle, query, -1, &statement, nullptr);
    if (code == SQLITE_OK) {
        if (sqlite3_bind_parameter_count(statement) > 0)
            sqlite3_bind_int64(statement, 1, parameter);
        for (code = sqlite3_step(statement); code == SQLITE_ROW; code = sqlite3_step(statement))
            reader(statement);
    }
    if (isOfTheSystem(code))
        m_fault = sqlite3_errmsg(m_handle);
    sqlite3_finalize(statement);
    return code == SQLITE_DONE;
}

bool Salvage::open()
{
    constexpr int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_NOFOLLOW;
    if (int const code = sqlite3_open_v2(m_path.c_str(), &m_handle, flags, nullptr); code != SQLITE_OK) {
        if (isOfTheSystem(code))
            m_fault = sqlite3_errmsg(m_handle);
        return false;
    }
    sqlite3_db_config(m_handle, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
    sqlite3_db_config(m_handle, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
    sqlite3_db_config(m_handle, SQLITE_DBCONFIG_ENABLE_VIEW, 0, nullptr);
    sqlite3_exec(m_handle, "PRAGMA locking_mode = EXCLUSIVE; PRAGMA cell_size_check = ON; PRAGMA mmap_size = 0", nullptr,
                 nullptr, nullptr);
    return true;
}

/// Carries the log over into the file, too.
void Salvage::close()
{
    sqlite3_close(m_handle);
    m_handle = nullptr;
}

bool Salvage::readFile()
{
    m_rowsFailed = m_namesFailed = m_journalFailed = m_historyFailed = true;
    if (open()) {
        // Of that version the journal is read by the present first page, and where a history would be is something else.
        scan("PRAGMA user_version",
             [this](sqlite3_stmt* row) { m_hasNoHistory = m_hasNoHistory || sqlite3_column_int64(row, 0) == 1; });
        readItems();
        m_journalFailed = !readRows(entriesForwards, entriesBackwards, &Salvage::takeEntry);
        m_historyFailed = !m_hasNoHistory && !readRows(changesForwards, changesBackwards, &Salvage::takeChange);
        m_roots.clear();
        scan(m_hasNoHistory ? "SELECT rootpage FROM sqlite_schema WHERE name IN ('item', 'journal')"
                            : "SELECT rootpage FROM sqlite_schema WHERE name IN ('item', 'journal', 'history')",
             [this](sqlite3_stmt* row) { m_roots.insert(sqlite3_column_int64(row, 0)); });
    }
    close();
    return !m_rowsFailed && !m_journalFailed && !m_historyFailed;
}

/// True when that was all of the table, and sound.
bool Salvage::readRows(char const* forwards, char const* backwards, bool (Salvage::*take)(sqlite3_stmt*))
{
    bool sound = true;
    auto const reader = [&](sqlite3_stmt* row) { sound = (this->*take)(row) && sound; };
    if (scan(forwards, reader))
        return sound;
    scan(backwards, reader);
    return false;
}

/// False when the row is damaged.
bool Salvage::takeItem(sqlite3_stmt* row)
{
    Key key;
    std::string value;
    if (!text(row, 1, key.first) || !text(row, 2, key.second) || !text(row, 3, value))
        return false;
    m_items.try_emplace(key, value);
    return true;
}

bool Salvage::takeEntry(sqlite3_stmt* row)
{
    JournalEntry first{sqlite3_column_int64(row, 1), "", "", ""};
    std::string further;
    std::vector<JournalEntry> entries;
    if (sqlite3_column_type(row, 1) != SQLITE_INTEGER || !text(row, 2, first.kind) || !text(row, 3, first.item) ||
        !text(row, 4, first.value) || !text(row, 5, further) || !appendOperation(first, further, entries))
        return false;
    m_journal.try_emplace(sqlite3_column_int64(row, 0), std::move(entries));
    return true;
}

bool Salvage::takeChange(sqlite3_stmt* row)
{
    std::vector<std::string> columns{
        std::to_string(sqlite3_column_int64(row, 0)), "", std::to_string(sqlite3_column_int64(row, 2)), "", "", "", ""};
    for (int const column : {1, 3, 4, 5, 6})
        if (!text(row, column, columns[static_cast<std::size_t>(column)]))
            return false;
    HistoryEntry entry;
    if (sqlite3_column_type(row, 2) != SQLITE_INTEGER || !HistoryRow(std::move(columns)).read(entry))
        return false;
    m_history.try_emplace(entry.number, std::move(entry));
    return true;
}

/// Writes each page that looks like a table's leaf in the place of all tables' roots, one after the other, and reads the
/// tables: they then consist of that leaf. A leaf of another table, or a page that is none, gives rows that do not count.
void Salvage::readLoosePages()
{
    FileDescriptor const file = openPlain(m_path, O_RDWR);
    std::vector<std::string> leaves;
    std::string page(m_firstPage.size(), '\0');
    std::optional<std::size_t> size;
    if (seek(file, 2, page))
        size = readUpTo(file.get(), page.data(), page.size());
    for (std::int64_t number = 2; size == page.size(); ++number) {
        // A small table's root is a leaf itself, and when it is damaged does not say so.
        if (m_roots.contains(number))
            page[0] = leafOfTable;
        if (page[0] == leafOfTable)
            leaves.push_back(page);
        size = readUpTo(file.get(), page.data(), page.size());
    }
    if (!size)
        failed();
    for (auto const& leaf : leaves) {
        bool const isWritten = std::ranges::all_of(m_roots, [&](auto root) { return writePage(file, root, leaf); });
        if (isWritten ? open() : failed()) {
            for (auto const* const query : {itemsForwards, itemsBackwards})
                scan(query, [this](sqlite3_stmt* row) { takeItem(row); });
            readRows(entriesForwards, entriesBackwards, &Salvage::takeEntry);
            readRows(changesForwards, changesBackwards, &Salvage::takeChange);
        }
        close();
    }
}

void Salvage::readItems()
{
    std::int64_t last = 0;
    bool sound = true;
    auto const take = [&](sqlite3_stmt* row) {
        last = sqlite3_column_int64(row, 0);
        sound = takeItem(row) && sound;
    };
    m_lost.clear();
    m_rowsFailed = !scan(itemsForwards, take) || !sound;
    m_namesFailed = false;
    if (!m_rowsFailed)
        return;
    std::set<std::int64_t> rowids;
    std::int64_t const lowest = last;
    last = none;
    scan(itemsBackwards, take);
    if (last != none && last - lowest < maximumGap)
        for (std::int64_t rowid = lowest + 1; rowid < last; ++rowid)
            rowids.insert(rowid);
    readLeftOutItems(std::move(rowids));
}

void Salvage::readLeftOutItems(std::set<std::int64_t> rowids)
{
    std::set<Key> names;
    auto const takeName = [&](sqlite3_stmt* row) {
        Key key;
        if (text(row, 1, key.first) && text(row, 2, key.second)) {
            rowids.insert(sqlite3_column_int64(row, 0));
            names.insert(key);
        }
    };
    constexpr char const* forwards = "SELECT rowid, schema, element FROM item INDEXED BY sqlite_autoindex_item_1 "
                                     "ORDER BY schema, element";
    constexpr char const* backwards = "SELECT rowid, schema, element FROM item INDEXED BY sqlite_autoindex_item_1 "
                                      "ORDER BY schema DESC, element DESC";
    m_namesFailed = !scan(forwards, takeName);
    if (m_namesFailed)
        scan(backwards, takeName);
    for (std::int64_t const rowid : rowids)
        scan(
            "SELECT rowid, schema, element, value FROM item NOT INDEXED WHERE rowid = ?1",
            [this](sqlite3_stmt* row) { takeItem(row); }, rowid);
    std::copy_if(names.begin(), names.end(), std::inserter(m_lost, m_lost.end()),
                 [this](Key const& each) { return !m_items.contains(each); });
}

std::vector<StoredItem> Salvage::items() const
{
    std::vector<StoredItem> result;
    for (auto const& [key, value] : m_items)
        result.push_back({key.first, key.second, value});
    return result;
}

std::vector<JournalEntry> Salvage::journal() const
{
    std::vector<JournalEntry> result;
    for (auto const& [id, entries] : m_journal)
        result.insert(result.end(), entries.begin(), entries.end());
    return result;
}

std::vector<HistoryEntry> Salvage::history() const
{
    std::vector<HistoryEntry> result;
    for (auto const& [number, change] : m_history)
        result.push_back(change);
    return result;
}

std::vector<std::string> Salvage::report() const
{
    std::vector<std::string> result{std::to_string(m_items.size()) + " values and " + std::to_string(journal().size()) +
                                    " journal entries were brought over"};
    std::size_t told = 0;
    for (auto const& [schema, element] : m_lost) {
        if (++told > maximumNames)
            break;
        std::string& line = result.emplace_back(element.empty() ? "lost: the table " : "lost: ");
        line += schema;
        if (!element.empty())
            line.append("/").append(element);
    }
    if (told > maximumNames)
        result.push_back("lost: " + std::to_string(m_lost.size() - maximumNames) + " further values");
    if (m_rowsFailed && m_namesFailed)
        result.emplace_back("further values may be lost: their names can no longer be read");
    if (m_journalFailed)
        result.emplace_back("journal entries may be lost");
    if (m_historyFailed)
        result.emplace_back("entries of the history may be lost");
    if (m_lostFrames > 0)
        result.push_back("lost: " + std::to_string(m_lostFrames) +
                         " pages of the log; values may be as they were before their last changes");
    if ((!m_rowsFailed || (!m_namesFailed && m_lost.empty())) && !m_journalFailed && !m_historyFailed && m_lostFrames == 0)
        result.emplace_back("nothing was lost");
    return result;
}

} // namespace Host

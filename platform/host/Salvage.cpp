// A table is read forwards up to the damage, backwards down to it, and in between row by row. The index, which repeats the
// names of all values on other pages, tells which rows there should have been.
#include "Salvage.h"

#include <sqlite3.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <iterator>
#include <limits>

namespace Host {

namespace {

constexpr std::size_t pageCountOffset = 28;  // in the file's header, big-endian
constexpr std::int64_t maximumGap = 100'000; // rows tried one by one
constexpr std::size_t maximumNames = 100;    // in a report
constexpr std::int64_t none = std::numeric_limits<std::int64_t>::max();

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

} // namespace

void Salvage::readAll()
{
    if (!readFile() && replaceFirstPage())
        readFile();
}

bool Salvage::replaceFirstPage() const
{
    int const file = ::open(m_path.c_str(), O_RDWR | O_NOFOLLOW | O_CLOEXEC);
    struct stat status {};
    std::string page = m_firstPage;
    bool done = file >= 0 && ::fstat(file, &status) == 0 && page.size() > pageCountOffset + 4;
    if (done) {
        auto const pages = static_cast<unsigned long>(status.st_size) / page.size();
        for (std::size_t i = 0; i < 4; ++i)
            page[pageCountOffset + i] = static_cast<char>(pages >> (8 * (3 - i)));
        done = ::pwrite(file, page.data(), page.size(), 0) == static_cast<ssize_t>(page.size());
    }
    if (file >= 0)
        ::close(file);
    return done;
}

bool Salvage::scan(char const* query, RowReader const& reader, std::int64_t parameter)
{
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(m_handle, query, -1, &statement, nullptr) != SQLITE_OK)
        return false;
    if (sqlite3_bind_parameter_count(statement) > 0)
        sqlite3_bind_int64(statement, 1, parameter);
    int code = sqlite3_step(statement);
    for (; code == SQLITE_ROW; code = sqlite3_step(statement))
        reader(statement);
    sqlite3_finalize(statement);
    return code == SQLITE_DONE;
}

bool Salvage::readFile()
{
    m_rowsFailed = m_namesFailed = m_journalFailed = true;
    constexpr int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_NOFOLLOW;
    if (sqlite3_open_v2(m_path.c_str(), &m_handle, flags, nullptr) == SQLITE_OK) {
        sqlite3_db_config(m_handle, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
        sqlite3_db_config(m_handle, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
        sqlite3_db_config(m_handle, SQLITE_DBCONFIG_ENABLE_VIEW, 0, nullptr);
        sqlite3_exec(m_handle, "PRAGMA locking_mode = EXCLUSIVE; PRAGMA cell_size_check = ON; PRAGMA mmap_size = 0", nullptr,
                     nullptr, nullptr);
        readItems();
        auto const take = [this](sqlite3_stmt* row) {
            JournalEntry entry{sqlite3_column_int64(row, 1), "", "", ""};
            if (text(row, 2, entry.kind) && text(row, 3, entry.item) && text(row, 4, entry.value))
                m_journal.try_emplace(sqlite3_column_int64(row, 0), entry);
        };
        m_journalFailed = !scan("SELECT id, time, kind, item, value FROM journal ORDER BY id", take);
        if (m_journalFailed)
            scan("SELECT id, time, kind, item, value FROM journal ORDER BY id DESC", take);
    }
    sqlite3_close(m_handle);
    m_handle = nullptr;
    return !m_rowsFailed && !m_journalFailed;
}

void Salvage::readItems()
{
    std::int64_t last = 0;
    bool sound = true;
    auto const take = [&](sqlite3_stmt* row) {
        std::string schema;
        std::string element;
        std::string value;
        last = sqlite3_column_int64(row, 0);
        if (text(row, 1, schema) && text(row, 2, element) && text(row, 3, value))
            m_items.try_emplace({schema, element}, value);
        else
            sound = false;
    };
    m_lost.clear();
    m_rowsFailed = !scan("SELECT rowid, schema, element, value FROM item NOT INDEXED ORDER BY rowid", take) || !sound;
    m_namesFailed = false;
    if (!m_rowsFailed)
        return;
    std::set<std::int64_t> rowids;
    std::int64_t const lowest = last;
    last = none;
    scan("SELECT rowid, schema, element, value FROM item NOT INDEXED ORDER BY rowid DESC", take);
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
            "SELECT schema, element, value FROM item NOT INDEXED WHERE rowid = ?1",
            [this](sqlite3_stmt* row) {
                Key key;
                std::string value;
                if (text(row, 0, key.first) && text(row, 1, key.second) && text(row, 2, value))
                    m_items.try_emplace(key, value);
            },
            rowid);
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
    for (auto const& [id, entry] : m_journal)
        result.push_back(entry);
    return result;
}

std::vector<std::string> Salvage::report() const
{
    std::vector<std::string> result{std::to_string(m_items.size()) + " values and " + std::to_string(m_journal.size()) +
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
    if (!m_rowsFailed && !m_journalFailed)
        result.emplace_back("nothing was lost");
    return result;
}

} // namespace Host

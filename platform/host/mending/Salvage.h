// Reads what can still be read from a damaged database file.
#pragma once

#include "store/Database.h"

#include <cstdint>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;

namespace Host {

/// Works on a copy of the file and of its log, and changes it. `firstPage` is the first page of an undamaged, empty
/// database: it says where the tables lie, and replaces a first page that cannot be read.
class Salvage {
public:
    Salvage(std::string path, std::string firstPage) : m_path(std::move(path)), m_firstPage(std::move(firstPage)) {}

    /// False with `error` when the machine did not let us read what is there: then nothing of the following counts.
    bool readAll(std::string& error);

    std::vector<StoredItem> items() const;
    std::vector<JournalEntry> journal() const;
    std::vector<HistoryEntry> history() const;

    /// What was brought over and what was lost, as sentences.
    std::vector<std::string> report() const;

private:
    using Key = std::pair<std::string, std::string>;
    using RowReader = std::function<void(sqlite3_stmt*)>;

    bool open();
    void close();
    bool readFile();
    bool replaceFirstPage();
    bool failed();
    bool takeItem(sqlite3_stmt* row);
    bool takeEntry(sqlite3_stmt* row);
    bool takeChange(sqlite3_stmt* row);
    bool readRows(char const* forwards, char const* backwards, bool (Salvage::*take)(sqlite3_stmt*));
    void readItems();
    void readLeftOutItems(std::set<std::int64_t> rowids);
    void readLoosePages();
    bool scan(char const* query, RowReader const& reader, std::int64_t parameter = 0);

    std::string const m_path;
    std::string const m_firstPage;
    sqlite3* m_handle = nullptr;
    std::set<std::int64_t> m_roots; ///< the page that each table begins with
    std::size_t m_lostFrames = 0;   ///< of the log
    std::string m_fault;            ///< what the machine did not let us do

    std::map<Key, std::string> m_items;
    std::map<std::int64_t, std::vector<JournalEntry>> m_journal;
    std::map<std::int64_t, HistoryEntry> m_history;
    std::set<Key> m_lost;
    bool m_rowsFailed = false;
    bool m_namesFailed = false;
    bool m_journalFailed = false;
    bool m_historyFailed = false;
    bool m_hasNoHistory = false; ///< it is of version 1
};

} // namespace Host

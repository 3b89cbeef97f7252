// The history of the database: with every change of values an entry in the same transaction. What the database has no room for goes
// to the history's file.
#pragma once

#include "seam/Author.h"
#include "store/HistoryEntry.h"
#include "store/HistoryRow.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <span>
#include <thread>
#include <utility>
#include <vector>

namespace Host {

class Connection;
class HistoryFile;

/// For one thread at a time. Its operations are for within a transaction; false means that this cannot be committed.
class History {
public:
    static constexpr std::size_t limit = 64UL * 1024; ///< of the texts in the database
    static constexpr std::size_t keptWhenFull = limit * 3 / 4;

    /// Who makes the changes of this thread from now on; nothing: this process, as an application.
    void author(std::thread::id thread, std::optional<Author> author);
    Author const& author() const;

    /// Adds changes of something else to the next entry.
    void addToNext(std::vector<HistoryChange> changes);
    bool isWaiting() const { return !m_waiting.empty(); }

    /// An entry for this transaction, also when nothing changes.
    bool begin(Connection& connection);

    /// A value that changes, for this transaction's entry. Its author is the calling thread's.
    bool add(Connection& connection, ChangedText const& change);

    /// Adds the entry when anything changed. Entries that are too much leave for the file; as long as it is null or cannot be
    /// written they stay.
    bool enter(Connection& connection, HistoryFile const* file);

    /// The transaction ended.
    void settle(bool isCommitted);

    /// All entries, oldest first.
    bool read(Connection& connection, std::vector<HistoryEntry>& entries);

    /// Puts entries in the place of all.
    bool replace(Connection& connection, std::span<HistoryEntry const> entries);

    /// The number of the last entry that was committed, 0 when there is none or it cannot be read.
    std::int64_t last(Connection& connection) { return know(connection) ? m_committed.last : 0; }

    /// The number of the entry that changed this value, when it is one of the last few of this process.
    std::optional<std::int64_t> entryOf(std::string_view schema, std::string_view element) const;

private:
    static constexpr std::size_t remembered = 4;

    struct Extent {
        std::int64_t last = 0;
        std::size_t size = 0;
    };

    bool know(Connection& connection);
    bool write(Connection& connection, HistoryRow const& row);
    bool readSome(Connection& connection, std::int64_t after, int count, std::vector<HistoryRow>& rows);
    bool makeRoom(Connection& connection, HistoryFile const* file);

    std::vector<std::pair<std::thread::id, Author>> m_authors;
    std::vector<HistoryChange> m_waiting;
    bool m_isKnown = false;
    Extent m_committed;                ///< when it is known
    Extent m_present;                  ///< of the transaction
    std::optional<HistoryRow> m_entry; ///< of the transaction
    std::deque<HistoryRow> m_latest;   ///< committed, the newest first
};

} // namespace Host

// The configuration database of the host: one SQLite file with every value, and the journal of the management service.
// All values are texts addressed by schema and element. A whole table is one text, too: the element "" of its schema.
// Schemas that begin with "@" are the platform's own (the management service's items, the device profile).
#pragma once

#include "AnnotatedMutex.h"
#include "seam/FailedWrite.h"
#include "service/JournalEntry.h"
#include "store/Connection.h"
#include "store/History.h"
#include "store/HistoryFile.h"
#include "store/ReadAhead.h"

#include <memory>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace Host {

class DatabaseSeal;
class DataDirectory;

struct StoredItem {
    std::string schema;
    std::string element;
    std::string value;
};

/// Safe from any thread: one mutex, held for one operation and never while anything else is called.
class Database {
public:
    /// As Connection::open(), and all rows can be read. A data directory's database is opened with openDatabase(), which mends it.
    static std::unique_ptr<Database> open(std::string const& path, bool isSealed, DatabaseFault& fault);

    /// Closes the file, and seals it when that is wanted and nothing failed meanwhile.
    ~Database();
    Database(Database const&) = delete;
    Database& operator=(Database const&) = delete;

    void sealAtClose(std::unique_ptr<DatabaseSeal> seal);

    /// Nothing when it was never stored or the file cannot be read (the latter is logged). What waits in the calling thread's
    /// group counts as stored.
    std::optional<std::string> read(std::string const& schema, std::string const& element);

    /// Stores everything or nothing; durable when true. False is logged and noted for takeFailedWrites(). Refused as well while
    /// one of the values cannot be read: whoever takes it for missing must not replace it.
    bool write(StoredItem const& item) { return write({&item, 1}, {}); }
    bool write(std::span<StoredItem const> items, std::span<JournalEntry const> journal);

    /// Removes what is stored under these schemas and elements, everything or nothing; durable when true.
    bool remove(std::span<std::pair<std::string, std::string> const> keys);

    /// As platform/include/StorageGroup.h says: what waits is kept in memory, and endGroup() is one write.
    bool beginGroup();
    bool endGroup();

    /// Stores the item with the calling thread's group, when there is one, and otherwise at once.
    bool store(StoredItem item);

    /// Stores the entries in the transaction of the next write, so that they need no sync of their own. Entries that already
    /// wait are stored at once, together with these.
    void addToNextWrite(std::vector<JournalEntry> entries);

    /// The values of all schemas that begin with `prefix`, in the order of schema and element.
    std::vector<StoredItem> list(std::string const& prefix);

    /// Puts into an empty database what another one had, everything or nothing. The history gets no entry of it.
    bool restore(std::span<StoredItem const> items, std::span<JournalEntry const> journal,
                 std::span<HistoryEntry const> history);

    /// Where entries of the history go that are too much; as long as that is not said they stay. The directory lives longer.
    void keepHistoryIn(DataDirectory const& directory);
    HistoryFile const& historyFile() const { return *m_historyFile; } ///< of that directory

    /// Who makes the changes of the calling thread from now on; nothing: this process, as an application.
    void author(std::optional<Author> author);
    Author author();

    /// The number of the entry that changed this value, when it is one of the last few of this process.
    std::optional<std::int64_t> entryOf(std::string const& schema, std::string const& element);

    /// Adds what is not in the database to the next entry of the history.
    void addToHistory(std::vector<HistoryChange> changes);

    /// Makes what waits for the next entry one of its own. Durable when true.
    bool completeHistory();

    /// The entries in the database, oldest first; nothing when they cannot be read.
    std::optional<std::vector<HistoryEntry>> history();

    /// Puts these in the place of all entries, behind them one that says who did so, and leaves nothing of the others in the
    /// database's files. `last` is the number of the last one that the caller knows: when there are others by now it is refused.
    bool replaceHistory(std::span<HistoryEntry const> entries, std::int64_t last);

    /// The number of the last entry.
    std::int64_t lastEntry();

    /// The last entries, oldest first.
    std::vector<JournalEntry> journal(int limit);

    /// How many values begin with `prefix`.
    int countValues(std::string const& prefix);

    /// Notes a write that was refused before it came here.
    void noteFailedWrite(FailedWrite failed);

    /// What was not stored since the last call, also when a later write stored it. At most `failedWriteLimit`; further ones
    /// are left out.
    std::set<FailedWrite> takeFailedWrites();

    /// Since the last call SQLite failed at a statement, whether it was to read a value, to store one or to keep the journal.
    std::string takeError();

private:
    using Key = std::pair<std::string, std::string>; // schema and element

    struct Group {
        std::thread::id thread;
        std::vector<StoredItem> items;
    };

    Database(std::unique_ptr<Connection> connection, DatabaseFault& fault);
    bool fetch(Key const& key, std::optional<std::string>& value) MEDIADATA_REQUIRES(m_mutex);
    bool mayWrite(StoredItem const& item) MEDIADATA_REQUIRES(m_mutex);
    bool isInGroup() const MEDIADATA_REQUIRES(m_mutex);
    bool writeOrNote(std::span<StoredItem const> items, std::span<JournalEntry const> journal) MEDIADATA_REQUIRES(m_mutex);
    void keepFailedWrite(FailedWrite failed) MEDIADATA_REQUIRES(m_mutex);
    bool runRemoval(Key const& key) MEDIADATA_REQUIRES(m_mutex);
    bool runItems(std::span<StoredItem const> items, bool isEntered) MEDIADATA_REQUIRES(m_mutex);
    bool runJournal(std::span<JournalEntry const> journal) MEDIADATA_REQUIRES(m_mutex);
    bool runAll(std::span<StoredItem const> items, std::span<JournalEntry const> journal) MEDIADATA_REQUIRES(m_mutex);
    template <class Change> bool transact(Change const& change) MEDIADATA_REQUIRES(m_mutex);
    bool transact(std::span<StoredItem const> items, std::span<JournalEntry const> journal) MEDIADATA_REQUIRES(m_mutex);
    bool writeWithWaiting(std::span<StoredItem const> items, std::span<JournalEntry const> journal)
        MEDIADATA_REQUIRES(m_mutex);

    Threads::Mutex m_mutex;
    std::unique_ptr<DatabaseSeal> m_seal;
    std::unique_ptr<Connection> m_connection MEDIADATA_PT_GUARDED_BY(m_mutex);
    History m_history MEDIADATA_GUARDED_BY(m_mutex);
    std::optional<HistoryFile> m_historyFile;
    std::vector<JournalEntry> m_waiting MEDIADATA_GUARDED_BY(m_mutex); // for the next write
    // Until the first write or the end of the start-up.
    std::optional<ReadAhead> m_ahead MEDIADATA_GUARDED_BY(m_mutex);
    std::optional<Group> m_group MEDIADATA_GUARDED_BY(m_mutex);
    std::set<FailedWrite> m_failedWrites MEDIADATA_GUARDED_BY(m_mutex);
    std::set<Key> m_unread MEDIADATA_GUARDED_BY(m_mutex);          // whose last read failed
    std::optional<Key> m_justUnread MEDIADATA_GUARDED_BY(m_mutex); // by the last operation
};

} // namespace Host

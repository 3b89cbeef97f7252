// SQLite is used with everything switched off that a table of texts does not need: after migration an authorizer refuses
// every statement but reading and changing rows of the three tables, and each statement is prepared once, from one fixed
// list, when it is first needed. One transaction is one sync of the write-ahead log. The file is locked for this connection
// alone, hence needs no shared memory.
#include "store/Connection.h"

#include "seam/HostLog.h"

#include <sqlite3.h>

#include <algorithm>
#include <iterator>
#include <string_view>
#include <utility>

#define UNIT "Database" // what the log calls all of it

namespace Host {

namespace {

// Entry i brings a file of version i to version i + 1. Entries are never changed: mending a file relies on the place of the
// tables in it (DatabaseMending.cpp).
constexpr std::array<char const*, 2> migrations{
    "BEGIN IMMEDIATE;"
    "CREATE TABLE item (schema TEXT NOT NULL, element TEXT NOT NULL, value TEXT NOT NULL, PRIMARY KEY (schema, element)) "
    "STRICT;"
    "CREATE TABLE journal (id INTEGER PRIMARY KEY, time INTEGER NOT NULL, kind TEXT NOT NULL, item TEXT NOT NULL,"
    " value TEXT NOT NULL) STRICT;"
    "PRAGMA user_version = 1;"
    "COMMIT;",
    // A row of the history begins with a text and a number, and one of the journal with a number and a text: whoever mends a file
    // tells by this which table a loose page is of.
    "BEGIN IMMEDIATE;"
    "ALTER TABLE journal ADD COLUMN further TEXT NOT NULL DEFAULT '';"
    "CREATE TABLE history (number INTEGER PRIMARY KEY, who TEXT NOT NULL, time INTEGER NOT NULL, schema TEXT NOT NULL,"
    " element TEXT NOT NULL, old TEXT NOT NULL, new TEXT NOT NULL) STRICT;"
    "PRAGMA user_version = 2;"
    "COMMIT;"};

// The locking mode comes first: whatever reads the file before it would make it use shared memory. The last row that they answer
// is the journal mode that there is.
constexpr char const* settings = "PRAGMA locking_mode = EXCLUSIVE;"
                                 "PRAGMA cache_size = 10;" // pages; the values in use lie in items
                                 "PRAGMA synchronous = FULL;"
                                 "PRAGMA journal_size_limit = 1048576;"
                                 "PRAGMA secure_delete = ON;"
                                 "PRAGMA cell_size_check = ON;"
                                 "PRAGMA mmap_size = 0;"
                                 "PRAGMA temp_store = MEMORY;"
                                 "PRAGMA journal_mode = WAL;";

int authorize(void*, int action, char const* subject, char const*, char const*, char const*)
{
    constexpr std::string_view tables[] = {"item", "journal", "history"};
    switch (action) {
    case SQLITE_SELECT:
    case SQLITE_FUNCTION:
    case SQLITE_TRANSACTION:
        return SQLITE_OK;
    case SQLITE_READ:
    case SQLITE_INSERT:
    case SQLITE_UPDATE:
    case SQLITE_DELETE:
        return std::find(std::begin(tables), std::end(tables), subject) != std::end(tables) ? SQLITE_OK : SQLITE_DENY;
    default:
        return SQLITE_DENY;
    }
}

int takeFirstColumn(void* target, int, char** values, char**)
{
    if (values[0] != nullptr)
        *static_cast<std::string*>(target) = values[0];
    return 0;
}

std::string fileOf(sqlite3* handle)
{
    return sqlite3_db_filename(handle, "main");
}

bool meansDamage(int code)
{
    constexpr int codes[] = {SQLITE_CORRUPT, SQLITE_NOTADB, SQLITE_ERROR, SQLITE_SCHEMA, SQLITE_MISMATCH, SQLITE_FORMAT};
    return std::find(std::begin(codes), std::end(codes), code & 0xff) != std::end(codes);
}

/// Valid until the statement's next step.
std::string_view viewOf(sqlite3_stmt* row, int column)
{
    auto const* const text = reinterpret_cast<char const*>(sqlite3_column_text(row, column));
    return {text != nullptr ? text : "", static_cast<std::size_t>(sqlite3_column_bytes(row, column))};
}

std::string textOf(sqlite3_stmt* row, int column)
{
    return std::string(viewOf(row, column));
}

/// SQLite says so of a commit as well.
bool onlyReads(Connection::Statement statement)
{
    constexpr Connection::Statement all[]{Connection::readItem,    Connection::listItems,      Connection::countItems,
                                          Connection::readJournal, Connection::measureHistory, Connection::readHistory};
    return std::ranges::find(all, statement) != std::end(all);
}

Connection::Row rowOf(sqlite3_stmt* statement)
{
    Connection::Row row;
    for (int column = 0; column < sqlite3_column_count(statement); ++column)
        row.push_back(textOf(statement, column));
    return row;
}

} // namespace

std::array<char const*, Connection::statements> const Connection::m_texts{
    "SELECT value FROM item WHERE schema = ?1 AND element = ?2", "SELECT schema, element, value FROM item",
    "INSERT INTO item (schema, element, value) VALUES (?1, ?2, ?3) "
    "ON CONFLICT (schema, element) DO UPDATE SET value = excluded.value WHERE replaces(item.value)",
    "DELETE FROM item WHERE schema = ?1 AND element = ?2",
    "SELECT schema, element, value FROM item WHERE schema >= ?1 AND (schema < ?2 OR ?1 = '') ORDER BY schema, element",
    "SELECT count(*) FROM item WHERE value >= ?1 AND value < ?2",
    // A row has the number of its last entry.
    "INSERT INTO journal (id, time, kind, item, value, further) VALUES "
    "((SELECT coalesce(max(id), 0) FROM journal) + CAST(?1 AS INTEGER), ?2, ?3, ?4, ?5, ?6)",
    "DELETE FROM journal WHERE id <= (SELECT max(id) FROM journal) - CAST(?1 AS INTEGER)",
    "SELECT time, kind, item, value, further FROM journal ORDER BY id DESC LIMIT CAST(?1 AS INTEGER)",
    "SELECT coalesce(max(number), 0), coalesce(sum(length(CAST(who || schema || element || old || new AS BLOB)) + 20), 0) "
    "FROM history",
    "SELECT number, who, time, schema, element, old, new FROM history WHERE number > CAST(?1 AS INTEGER) "
    "ORDER BY number LIMIT CAST(?2 AS INTEGER)",
    "INSERT OR REPLACE INTO history (number, who, time, schema, element, old, new) VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7)",
    "DELETE FROM history WHERE number <= CAST(?1 AS INTEGER)", "BEGIN IMMEDIATE", "COMMIT", "ROLLBACK"};

std::unique_ptr<Connection> Connection::open(std::string const& path, bool isSealed, DatabaseFault& fault)
{
    std::unique_ptr<Connection> connection(new Connection);
    return connection->prepare(path, isSealed, fault) ? std::move(connection) : nullptr;
}

Connection::~Connection()
{
    for (sqlite3_stmt* each : m_prepared)
        sqlite3_finalize(each);
    // The last connection's close is also the checkpoint.
    if (sqlite3_close(m_handle) != SQLITE_OK)
        HOST_LOG_ERROR(UNIT, std::string("the database did not close: ") + sqlite3_errmsg(m_handle));
}

bool Connection::failed(DatabaseFault& fault, std::string const& action) const
{
    fault = {meansDamage(sqlite3_errcode(m_handle)), "database: " + action + ": " + sqlite3_errmsg(m_handle)};
    return false;
}

bool Connection::prepare(std::string const& path, bool isSealed, DatabaseFault& fault)
{
    constexpr int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_NOFOLLOW;
    if (sqlite3_open_v2(path.c_str(), &m_handle, flags, nullptr) != SQLITE_OK)
        return failed(fault, "cannot open " + path);
    sqlite3_extended_result_codes(m_handle, 1);
    sqlite3_busy_timeout(m_handle, 1000);
    for (auto const& [option, on] : {std::pair{SQLITE_DBCONFIG_DEFENSIVE, 1}, std::pair{SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0},
                                     std::pair{SQLITE_DBCONFIG_ENABLE_TRIGGER, 0}, std::pair{SQLITE_DBCONFIG_ENABLE_VIEW, 0},
                                     std::pair{SQLITE_DBCONFIG_DQS_DML, 0}, std::pair{SQLITE_DBCONFIG_DQS_DDL, 0}})
        sqlite3_db_config(m_handle, option, on, nullptr);
    sqlite3_limit(m_handle, SQLITE_LIMIT_ATTACHED, 0);
    sqlite3_db_config(m_handle, SQLITE_DBCONFIG_LOOKASIDE, nullptr, 0, 0); // memory for many statements; here are few
    sqlite3_wal_autocheckpoint(m_handle, 128);

    std::string mode;
    if (sqlite3_exec(m_handle, settings, takeFirstColumn, &mode, nullptr) != SQLITE_OK)
        return failed(fault, "cannot use " + path);
    sqlite3_db_release_memory(m_handle); // the pages that were allotted before the size of the cache was known
    if (mode != "wal") {
        fault = {false, "database: " + path + " cannot be used with a write-ahead log"};
        return false;
    }
    if (sqlite3_db_readonly(m_handle, "main") != 0) {
        fault = {true, "database: " + path + " is marked as of a format that cannot be written"};
        return false;
    }
    return (isSealed || check(path, fault)) && migrate(fault) && prepareStatements(isSealed, fault);
}

bool Connection::check(std::string const& path, DatabaseFault& fault)
{
    std::string verdict;
    // "main." or else SQLite makes a database for temporary tables, to check that as well.
    if (sqlite3_exec(m_handle, "PRAGMA main.integrity_check(1)", takeFirstColumn, &verdict, nullptr) != SQLITE_OK)
        return failed(fault, "cannot check " + path);
    if (verdict != "ok") {
        fault = {true, "database: " + path + " fails its integrity check: " + verdict};
        return false;
    }
    return true;
}

bool Connection::migrate(DatabaseFault& fault)
{
    std::string found;
    if (sqlite3_exec(m_handle, "PRAGMA user_version", takeFirstColumn, &found, nullptr) != SQLITE_OK)
        return failed(fault, "cannot tell the version of " + fileOf(m_handle));
    std::size_t version = static_cast<std::size_t>(std::strtoul(found.c_str(), nullptr, 10));
    if (version > migrations.size()) {
        fault = {false, "database: version " + found + " was made by a newer release; this one knows up to version " +
                            std::to_string(migrations.size())};
        return false;
    }
    for (; version < migrations.size(); ++version) {
        m_isChanged = true;
        if (sqlite3_exec(m_handle, migrations[version], nullptr, nullptr, nullptr) != SQLITE_OK)
            return failed(fault, fileOf(m_handle) + " cannot be brought to version " + std::to_string(version + 1));
    }
    return true;
}

bool Connection::prepareStatements(bool isSealed, DatabaseFault& fault)
{
    sqlite3_set_authorizer(m_handle, authorize, nullptr);
    // One of each table tells whether it is as it should be.
    for (Statement const each : {readItems, addEntry, addHistory})
        if (!isSealed && prepared(each) == nullptr)
            return failed(fault, fileOf(m_handle) + " has not the tables it should have");
    return true;
}

sqlite3_stmt* Connection::prepared(Statement statement)
{
    sqlite3_stmt*& prepared = m_prepared[statement];
    if (prepared != nullptr)
        return prepared;
    if (statement == writeItem)
        sqlite3_create_function(m_handle, "replaces", 1, SQLITE_UTF8 | SQLITE_DIRECTONLY, this, &Connection::replaces,
                                nullptr, nullptr);
    sqlite3_prepare_v3(m_handle, m_texts[statement], -1, SQLITE_PREPARE_PERSISTENT, &prepared, nullptr);
    return prepared;
}

/// SQL's function replaces(old), true with the old value noted. It saves a look for each value that is written.
void Connection::replaces(sqlite3_context* context, int, sqlite3_value** values)
{
    auto& replaced = static_cast<Connection*>(sqlite3_user_data(context))->m_replaced;
    auto const* const text = static_cast<char const*>(sqlite3_value_blob(values[0]));
    auto const size = static_cast<std::size_t>(sqlite3_value_bytes(values[0]));
    replaced.emplace(text != nullptr ? text : "", size);
    sqlite3_result_int(context, 1);
}

/// Logs and remembers that something failed. Always false.
bool Connection::complain(std::string const& text)
{
    HOST_LOG_ERROR(UNIT, text);
    m_error = sqlite3_errmsg(m_handle);
    m_isSound = false;
    return false;
}

bool Connection::run(Statement statement, std::span<std::string const> parameters, std::vector<Row>* rows)
{
    sqlite3_stmt* const text = prepared(statement);
    if (text == nullptr)
        return complain(std::string("\"") + m_texts[statement] + "\" cannot be prepared: " + sqlite3_errmsg(m_handle));
    m_isChanged = m_isChanged || !onlyReads(statement);
    m_replaced.reset();
    int place = 0;
    for (std::string const& each : parameters)
        sqlite3_bind_text64(text, ++place, each.data(), each.size(), SQLITE_STATIC, SQLITE_UTF8);
    std::size_t const before = rows != nullptr ? rows->size() : 0;
    int code = sqlite3_step(text);
    for (int tries = onlyReads(statement) ? 3 : 1;; code = sqlite3_step(text)) {
        for (; code == SQLITE_ROW; code = sqlite3_step(text))
            if (rows != nullptr)
                rows->push_back(rowOf(text));
        if (code == SQLITE_DONE || --tries == 0)
            break;
        sqlite3_reset(text);
        if (rows != nullptr)
            rows->resize(before);
    }
    if (code != SQLITE_DONE) {
        complain(fileOf(m_handle) + ": " + sqlite3_errmsg(m_handle) + " (" + m_texts[statement] + ")");
        // A change that was not synced stands in the log all the same.
        m_isLogTrue = m_isLogTrue && (onlyReads(statement) || (code & 0xff) != SQLITE_IOERR);
    }
    sqlite3_reset(text);
    sqlite3_clear_bindings(text);
    return code == SQLITE_DONE;
}

bool Connection::makeLogTrue()
{
    // What was committed is carried over into the file and the log emptied, refused changes with it.
    m_isLogTrue = m_isLogTrue || emptyLog();
    return m_isLogTrue ||
           complain(fileOf(m_handle) + ": the log may hold a change that was refused, and cannot be emptied: " +
                    sqlite3_errmsg(m_handle) + "; until it can, nothing is stored");
}

bool Connection::emptyLog()
{
    sqlite3_file* log = nullptr;
    return sqlite3_wal_checkpoint_v2(m_handle, "main", SQLITE_CHECKPOINT_TRUNCATE, nullptr, nullptr) == SQLITE_OK &&
           sqlite3_file_control(m_handle, "main", SQLITE_FCNTL_JOURNAL_POINTER, &log) == SQLITE_OK &&
           (log->pMethods == nullptr || log->pMethods->xSync(log, SQLITE_SYNC_NORMAL) == SQLITE_OK);
}

ReadAhead Connection::readAhead(DatabaseFault& fault)
{
    sqlite3_stmt* const all = prepared(readItems);
    ReadAhead ahead;
    int code = sqlite3_step(all);
    for (; code == SQLITE_ROW; code = sqlite3_step(all))
        ahead.add(viewOf(all, 0), viewOf(all, 1), viewOf(all, 2));
    ahead.close(code == SQLITE_DONE);
    if (m_isSound = code == SQLITE_DONE; !m_isSound)
        failed(fault, "cannot read " + fileOf(m_handle));
    // Its memory and the pages it read are needed no more. Until something is written the library's items have their place.
    sqlite3_finalize(std::exchange(m_prepared[readItems], nullptr));
    sqlite3_db_release_memory(m_handle);
    return ahead;
}

bool Connection::isInTransaction() const
{
    return sqlite3_get_autocommit(m_handle) == 0;
}

std::string Connection::takeError()
{
    return std::exchange(m_error, "");
}

} // namespace Host

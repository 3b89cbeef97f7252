// The connection to a database file: opens, checks and migrates it, and runs the statements of one fixed list. Nothing else can
// be run.
#pragma once

#include "store/ReadAhead.h"

#include <array>
#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

struct sqlite3;
struct sqlite3_context;
struct sqlite3_stmt;
struct sqlite3_value;

namespace Host {

/// Why a database could not be opened.
struct DatabaseFault {
    bool damaged = false; // the file's content is wrong; otherwise the machine did not let us
    std::string text;
};

/// For one thread at a time.
class Connection {
public:
    enum Statement {
        readItem,
        readItems,
        writeItem,
        removeItem,
        listItems,
        countItems,
        addEntry,
        trimJournal,
        readJournal,
        measureHistory,
        readHistory,
        addHistory,
        trimHistory,
        begin,
        commit,
        rollback
    };
    using Row = std::vector<std::string>;

    /// Opens an existing file and brings it to the present form. An empty file becomes an empty database. `isSealed`: it is as it
    /// was closed, and need not be checked.
    static std::unique_ptr<Connection> open(std::string const& path, bool isSealed, DatabaseFault& fault);

    /// Carries the log over into the file, so that nothing but the file remains.
    ~Connection();
    Connection(Connection const&) = delete;
    Connection& operator=(Connection const&) = delete;

    /// False is logged. The result's rows are appended to `rows`, when given. What only reads is tried three times.
    bool run(Statement, std::span<std::string const> parameters = {}, std::vector<Row>* rows = nullptr);

    /// Whether the last writeItem replaced a value, and which. The caller's: the next statement knows nothing of it.
    std::optional<std::string> takeReplaced() { return std::exchange(m_replaced, std::nullopt); }

    /// Nothing that was deleted or replaced is left in the log.
    bool emptyLog();

    /// All rows in one pass, to be asked for once; those up to the fault when there is one.
    ReadAhead readAhead(DatabaseFault& fault);

    bool isInTransaction() const;

    /// To be asked before and after a change: empties the log when it may hold one that was refused, since the next start would
    /// take it for stored. False, and logged, when that cannot be done: then nothing may be changed.
    bool makeLogTrue();

    /// A statement failed since the last call.
    std::string takeError();

    /// Whether anything was to be changed since the file was opened, and whether nothing failed.
    bool isChanged() const { return m_isChanged; }
    bool isSound() const { return m_isSound; }

private:
    static constexpr std::size_t statements = rollback + 1;

    Connection() = default;
    bool prepare(std::string const& path, bool isSealed, DatabaseFault& fault);
    bool check(std::string const& path, DatabaseFault& fault);
    bool migrate(DatabaseFault& fault);
    bool prepareStatements(bool isSealed, DatabaseFault& fault);
    bool failed(DatabaseFault& fault, std::string const& action) const;
    bool complain(std::string const& text);
    sqlite3_stmt* prepared(Statement);
    static void replaces(sqlite3_context* context, int count, sqlite3_value** values);

    static std::array<char const*, statements> const m_texts;

    sqlite3* m_handle = nullptr;
    std::array<sqlite3_stmt*, statements> m_prepared{};
    std::optional<std::string> m_replaced;
    std::string m_error; ///< what SQLite said last when something failed
    bool m_isLogTrue = true;
    bool m_isChanged = false;
    bool m_isSound = true;
};

} // namespace Host

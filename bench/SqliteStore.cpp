// SQLite used directly, as one would for settings: one table, prepared statements, a write-ahead log. Variants FULL and NORMAL
// are the durability; "exclusive" is FULL with the file locked for one connection, which needs no shared memory and which several
// threads then share; "bare" opens the database of the host platform and reads all rows, for comparing the start-up.
#include "Measure.h"

#include <sqlite3.h>

namespace Bench {

namespace {

class SqliteStore {
public:
    static constexpr bool validates = false;
    static constexpr bool persists = true;
    static constexpr bool notifies = true;

    explicit SqliteStore(Setup const& setup) : m_setup(setup)
    {
        check(sqlite3_open((setup.directory + "/mediadata.db").c_str(), &m_handle));
        if (isExclusive())
            execute("PRAGMA locking_mode = EXCLUSIVE"); // first, or else shared memory would be used
        execute("PRAGMA journal_mode = WAL");
        if (setup.variant == "bare") {
            readAll();
            return;
        }
        sqlite3_busy_timeout(m_handle, 1000);
        execute("CREATE TABLE IF NOT EXISTS setting (name TEXT PRIMARY KEY, value) WITHOUT ROWID");
        // The log is written once in full, without waiting, so that afterwards its file is reused and does not grow.
        execute("PRAGMA synchronous = OFF; PRAGMA wal_autocheckpoint = 128");
        prepareBoth();
        execute(("PRAGMA synchronous = " + (isExclusive() ? "FULL" : setup.variant)).c_str());
    }
    ~SqliteStore()
    {
        sqlite3_finalize(m_read);
        sqlite3_finalize(m_write);
        if (m_owner)
            sqlite3_close(m_handle);
    }

    template <class T> bool read(Key const& key, T& value)
    {
        if (!m_read) // "bare"
            return true;
        sqlite3_bind_text(m_read, 1, key.name.data(), static_cast<int>(key.name.size()), SQLITE_STATIC);
        bool const found = sqlite3_step(m_read) == SQLITE_ROW;
        if (found)
            take(value);
        sqlite3_reset(m_read);
        return found;
    }

    template <class T> bool write(Key const& key, T const& value)
    {
        sqlite3_bind_text(m_write, 1, key.name.data(), static_cast<int>(key.name.size()), SQLITE_STATIC);
        bind(value);
        bool const done = sqlite3_step(m_write) == SQLITE_DONE;
        sqlite3_reset(m_write);
        return done;
    }

    void save() {}

    void readMany(std::vector<Key> const& keys)
    {
        execute("BEGIN");
        for (Key const& key : keys)
            each(key, [&](auto value) {
                read(key, value);
                keep(value);
            });
        execute("COMMIT");
    }

    void writeMany(std::vector<Key> const& keys, int variant)
    {
        execute("BEGIN IMMEDIATE");
        for (Key const& key : keys)
            each(key, [&](auto value) {
                key.value(variant, value);
                write(key, value);
            });
        execute("COMMIT");
    }

    void listen(Key const&, int& heard)
    {
        sqlite3_update_hook(
            m_handle, [](void* target, int, char const*, char const*, sqlite3_int64) { ++*static_cast<int*>(target); },
            &heard);
    }
    void await(int const&, int) {}

    std::unique_ptr<SqliteStore> another()
    {
        return isExclusive() ? std::unique_ptr<SqliteStore>(new SqliteStore(m_handle))
                             : std::make_unique<SqliteStore>(m_setup);
    }

private:
    explicit SqliteStore(sqlite3* shared) : m_owner(false), m_handle(shared) { prepareBoth(); }

    bool isExclusive() const { return m_setup.variant == "exclusive"; }

    void prepareBoth()
    {
        prepare(m_read, "SELECT value FROM setting WHERE name = ?1");
        prepare(m_write, "INSERT INTO setting (name, value) VALUES (?1, ?2) ON CONFLICT (name) DO UPDATE "
                         "SET value = excluded.value WHERE value IS NOT excluded.value");
    }

    static void check(int code)
    {
        if (code != SQLITE_OK)
            std::abort();
    }
    void execute(char const* text) { check(sqlite3_exec(m_handle, text, nullptr, nullptr, nullptr)); }
    void prepare(sqlite3_stmt*& statement, char const* text)
    {
        check(sqlite3_prepare_v3(m_handle, text, -1, SQLITE_PREPARE_PERSISTENT, &statement, nullptr));
    }

    void readAll()
    {
        sqlite3_stmt* all = nullptr;
        prepare(all, "SELECT schema, element, value FROM item");
        while (sqlite3_step(all) == SQLITE_ROW)
            keep(std::string(reinterpret_cast<char const*>(sqlite3_column_text(all, 2))));
        sqlite3_finalize(all);
    }

    void take(std::string& value) { value = reinterpret_cast<char const*>(sqlite3_column_text(m_read, 0)); }
    void take(int& value) { value = sqlite3_column_int(m_read, 0); }
    void take(bool& value) { value = sqlite3_column_int(m_read, 0) != 0; }
    void bind(std::string const& value)
    {
        sqlite3_bind_text(m_write, 2, value.data(), static_cast<int>(value.size()), SQLITE_STATIC);
    }
    void bind(int value) { sqlite3_bind_int(m_write, 2, value); }

    Setup m_setup;
    bool m_owner = true;
    sqlite3* m_handle = nullptr;
    sqlite3_stmt* m_read = nullptr;
    sqlite3_stmt* m_write = nullptr;
};

} // namespace

} // namespace Bench

int main(int argc, char** argv)
{
    return Bench::measure<Bench::SqliteStore>(argc, argv);
}

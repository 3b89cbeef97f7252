// SQLite sees a fixed list of statements, whatever the values are, and refuses every other one once the database is open.
#include "HostTest.h"

#include "Database.h"
#include "ManageableData.h"
#include "ManagementService.h"

#include <sqlite3.h>

#include <set>

using namespace std::string_literals;

namespace {

sqlite3* g_connection = nullptr; // the last one opened
std::set<std::string> g_executed;

class HostSqlTest : public HostTest {
protected:
    void SetUp() override
    {
        auto const watch = [](sqlite3* connection, char**, void const*) {
            auto const note = [](unsigned, void*, void* statement, void*) {
                return g_executed.insert(sqlite3_sql(static_cast<sqlite3_stmt*>(statement))), 0;
            };
            return sqlite3_trace_v2(g_connection = connection, SQLITE_TRACE_STMT, note, nullptr);
        };
        sqlite3_auto_extension(reinterpret_cast<void (*)()>(+watch));
        ASSERT_TRUE(open()) << m_error;
        g_executed.clear();
    }

    void TearDown() override { sqlite3_reset_auto_extension(); }
};

} // namespace

TEST_F(HostSqlTest, theSameStatementsRunWhateverTheValues)
{
    std::set<std::string> ofPlainValues;
    for (std::string const& text : {"plain"s, ""s, "'"s, "\""s, "';DROP TABLE item;--"s, "x'); ATTACH 'a' AS b;"s, "%s%n"s,
                                    "a\0b"s, "\xff\xfe"s, "?1"s, "*"s, "--"s, std::string(100'000, '\'')}) {
        std::string const name = "Name" + text;
        EXPECT_TRUE(write(name, name, text));
        EXPECT_EQ(read(name, name), text);
        ManageableData record;
        record.populate(name, name, text);
        EXPECT_TRUE(m_platform->management().requestSet(record));
        m_platform->management().items();
        m_platform->management().journal();
        m_platform->database().countValues(text);
        if (ofPlainValues.empty())
            ofPlainValues = g_executed;
    }
    EXPECT_EQ(g_executed, ofPlainValues);
    EXPECT_FALSE(ofPlainValues.empty());
}

TEST_F(HostSqlTest, everyOtherStatementIsDenied)
{
    ASSERT_TRUE(write("AudioSettings", "RingerVolume", "3"));
    for (char const* const each : {"ATTACH DATABASE ':memory:' AS other",
                                   "DETACH DATABASE main",
                                   "CREATE TABLE other (a)",
                                   "CREATE TEMP TABLE other (a)",
                                   "CREATE INDEX other ON item (value)",
                                   "CREATE VIEW other AS SELECT * FROM item",
                                   "DROP TABLE item",
                                   "CREATE TRIGGER other AFTER INSERT ON item BEGIN DELETE FROM item; END",
                                   "ALTER TABLE item RENAME TO other",
                                   "ALTER TABLE item ADD COLUMN other",
                                   "CREATE VIRTUAL TABLE other USING fts5 (a)",
                                   "REINDEX",
                                   "ANALYZE",
                                   "VACUUM",
                                   "VACUUM INTO 'other'",
                                   "PRAGMA writable_schema = ON",
                                   "PRAGMA synchronous = OFF",
                                   "PRAGMA journal_mode = DELETE",
                                   "PRAGMA user_version = 9",
                                   "DELETE FROM sqlite_schema",
                                   "SELECT * FROM sqlite_schema",
                                   "SAVEPOINT other",
                                   "SELECT * FROM pragma_database_list",
                                   "SELECT load_extension('other')",
                                   "WITH RECURSIVE n(i) AS (SELECT 1 UNION SELECT i + 1 FROM n) SELECT i FROM n"})
        EXPECT_NE(sqlite3_exec(g_connection, each, nullptr, nullptr, nullptr), SQLITE_OK) << each;
    EXPECT_TRUE(open()) << m_error;
    EXPECT_TRUE(m_platform->notices().empty());
    EXPECT_EQ(read("AudioSettings", "RingerVolume"), "3");
}

// SQLite sees a fixed list of statements, whatever the values are, and refuses every other one once the database is open.
#include "../Statements.h"
#include "HostTest.h"

#include "Database.h"
#include "ManageableData.h"
#include "ManagementService.h"

using namespace std::string_literals;

namespace {

class HostSqlTest : public HostTest {
protected:
    void SetUp() override
    {
        Statements::watch();
        ASSERT_TRUE(open()) << m_error;
    }

    void TearDown() override { sqlite3_reset_auto_extension(); }
};

} // namespace

TEST_F(HostSqlTest, theSameStatementsRunWhateverTheValues)
{
    decltype(Statements::texts) ofPlainValues;
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
            ofPlainValues = Statements::texts;
    }
    EXPECT_EQ(Statements::texts, ofPlainValues);
    EXPECT_FALSE(ofPlainValues.empty());
    EXPECT_EQ(Statements::foreign(), "");
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
        EXPECT_NE(sqlite3_exec(Statements::connection, each, nullptr, nullptr, nullptr), SQLITE_OK) << each;
    EXPECT_TRUE(open()) << m_error;
    EXPECT_TRUE(m_platform->notices().empty());
    EXPECT_EQ(read("AudioSettings", "RingerVolume"), "3");
}

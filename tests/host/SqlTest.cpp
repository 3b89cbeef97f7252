// SQLite sees a fixed list of statements, whatever the values are, and refuses every other one once the database is open.
#include "../Statements.h"
#include "HostTest.h"

#include "ManageableData.h"
#include "ManagementService.h"
#include "store/Database.h"

using namespace std::string_literals;

namespace {

struct HostSql : HostTest {
    void SetUp() override
    {
        Statements::watch();
        ASSERT_TRUE(open()) << m_error;
    }

    void TearDown() override { sqlite3_reset_auto_extension(); }
};

} // namespace

TEST_F(HostSql, TheSameStatementsRunWhateverTheValues)
{
    decltype(Statements::texts) ofPlainValues;
    for (std::string const& text : {std::string(100'000, '\''), "plain"s, ""s, "'"s, "\""s, "';DROP TABLE item;--"s,
                                    "x'); ATTACH 'a' AS b;"s, "%s%n"s, "a\0b"s, "\xff\xfe"s, "?1"s, "*"s, "--"s}) {
        std::string const name = "Name" + text;
        EXPECT_TRUE(write(name, name, text));
        EXPECT_EQ(read(name, name), text);
        ASSERT_TRUE(open()) << m_error;
        EXPECT_EQ(read(name, name), text) << "after a restart";
        ManageableData record;
        record.populate(name, name, text);
        EXPECT_TRUE(m_platform->management().requestSet(record));
        m_platform->management().items();
        m_platform->management().journal();
        m_platform->database().countValues(text);
        m_platform->database().history();
        if (ofPlainValues.empty())
            ofPlainValues = Statements::texts;
    }
    EXPECT_EQ(Statements::texts, ofPlainValues);
    EXPECT_FALSE(ofPlainValues.empty());
    EXPECT_EQ(Statements::foreign(), "");
    std::cout << "sql: the same " << ofPlainValues.size() << " statements for all values\n";
}

TEST_F(HostSql, EveryOtherStatementIsDenied)
{
    ASSERT_TRUE(write("AudioSettings", "RingerVolume", "3"));
    // The last three are refused by other means than the authorizer.
    // clang-format off
    constexpr char const* statements[]{
        "ATTACH DATABASE ':memory:' AS other", "DETACH DATABASE main", "CREATE TABLE other (a)",
        "CREATE TEMP TABLE other (a)", "CREATE INDEX other ON item (value)", "CREATE VIEW other AS SELECT * FROM item",
        "DROP TABLE item", "CREATE TRIGGER other AFTER INSERT ON item BEGIN DELETE FROM item; END",
        "ALTER TABLE item RENAME TO other", "ALTER TABLE item ADD COLUMN other", "CREATE VIRTUAL TABLE other USING fts5 (a)",
        "REINDEX", "ANALYZE", "VACUUM", "VACUUM INTO 'other'", "PRAGMA writable_schema = ON", "PRAGMA synchronous = OFF",
        "PRAGMA journal_mode = DELETE", "PRAGMA user_version = 9", "SELECT * FROM sqlite_schema", "SAVEPOINT other",
        "WITH RECURSIVE n(i) AS (SELECT 1 UNION SELECT i + 1 FROM n) SELECT i FROM n",
        "DELETE FROM sqlite_schema", "SELECT * FROM pragma_database_list", "SELECT load_extension('other')"};
    // clang-format on
    for (auto const& each : statements)
        EXPECT_EQ(sqlite3_exec(Statements::connection, each, nullptr, nullptr, nullptr),
                  &each < std::end(statements) - 3 ? SQLITE_AUTH : SQLITE_ERROR)
            << each;
    std::cout << "sql: " << std::size(statements) << " other statements denied\n";
    EXPECT_TRUE(open()) << m_error;
    EXPECT_TRUE(m_platform->notices().empty());
    EXPECT_EQ(read("AudioSettings", "RingerVolume"), "3");
}

TEST_F(HostSql, WhatCannotBeReadIsTriedAgainAndThenNotOverwrittenByADefault)
{
    auto const item = [this](char const* element) { return read("Many", element); };
    ASSERT_TRUE(write("Many", "one", "1"));
    ASSERT_TRUE(write("Many", "other", "2"));
    static int failures = 0;
    sqlite3_progress_handler(
        Statements::connection, 1, [](void*) { return failures > 0 ? failures-- : 0; }, nullptr);
    failures = 2;
    EXPECT_EQ(item("one"), "1") << "at the third try";
    EXPECT_FALSE(m_platform->takeDatabaseError());
    failures = 3;
    EXPECT_EQ(item("one"), "failure");
    EXPECT_FALSE(write("Many", "one", "default"));
    EXPECT_TRUE(m_platform->takeFailedWrites().contains({"Many", "one"}));
    EXPECT_TRUE(write("Many", "other", "3"));
    failures = 3;
    EXPECT_FALSE(write("Many", "one", "4")) << "it still cannot be read";
    EXPECT_EQ(failures, 0);
    EXPECT_TRUE(write("Many", "one", "5")) << "it can be read again";
    EXPECT_EQ(item("one") + item("other"), "53");
}

TEST_F(HostSql, WhatIsRefusedAmidOthersLeavesNothingOfThemAndNothingOpen)
{
    ASSERT_TRUE(write("Many", "one", "1"));
    std::vector<Host::StoredItem> items{{"Many", "one", "2"}, {"Many", "other", std::string(2000, 'x')}};
    sqlite3_limit(Statements::connection, SQLITE_LIMIT_LENGTH, 1000);
    EXPECT_FALSE(m_platform->database().write(items, {}));
    EXPECT_EQ(read("Many", "one"), "1");
    items[1].value.resize(1);
    EXPECT_TRUE(m_platform->database().write(items, {}));
    ASSERT_TRUE(open()) << m_error;
    EXPECT_EQ(read("Many", "one") + read("Many", "other"), "2x");
}

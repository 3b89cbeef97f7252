// What the host's storage promises beyond the conformance suite: unfinished tables forgotten, damaged files mended.
#include "HostTest.h"

#include "Files.h"
#include "Semaphore.h"
#include "store/Database.h"
#include "store/DatabaseSeal.h"

#include <sqlite3.h>

namespace fs = std::filesystem;
using namespace std::string_literals;

namespace {

/// Row `row` of version `version` of the SRTP table: its rank cell deliberately does not tell the row.
std::string row(int version, int number)
{
    return "<Method>" + std::to_string(version) + "</Method><Rank>" + std::to_string(5 - number) +
           "</Rank><Allowed>true</Allowed>";
}

/// The answer of the last row.
bool writeRows(DataStorage& storage, int version)
{
    bool last = false;
    for (int number = 0; number < 5; ++number)
        last = storage.setDataItems(row(version, number));
    return last;
}

struct HostStorage : HostTest {
    void SetUp() override
    {
        ASSERT_TRUE(open()) << m_error;
        m_table = std::make_unique<DataStorage>(*m_platform, "SRTPEncryptionSettings");
        ASSERT_TRUE(writeRows(*m_table, 1));
    }

    std::unique_ptr<DataStorage> m_table;
};

/// Overwrites a part of a file.
void damage(std::string const& path, std::int64_t offset, std::string const& bytes)
{
    std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
    file.seekp(offset);
    file << bytes;
}

TEST_F(HostStorage, AnUnfinishedTableIsForgottenWhenTheCacheTakesItsLockAgain)
{
    auto const whole = read("SRTPEncryptionSettings", "");
    Semaphore cacheLock(1, 1, true);
    cacheLock.take(-1);
    for (int number = 0; number < 3; ++number)
        EXPECT_TRUE(m_table->setDataItems(row(2, number)));
    cacheLock.give();
    cacheLock.take(-1);
    EXPECT_TRUE(writeRows(*m_table, 1));
    cacheLock.give();
    EXPECT_EQ(read("SRTPEncryptionSettings", ""), whole);
}

/// A way to damage the file, and how many of the 400 values may be lost with it.
struct DamageCase {
    char const* name;
    void (*damage)(std::string const& path);
    int atMostLost;
    bool hasLog = false; ///< the process was killed: all that was written is in the log
};

class HostDamage : public HostStorage, public testing::WithParamInterface<DamageCase> {};

std::string valueOf(int number)
{
    return std::to_string(number) + std::string(200, 'v');
}

TEST_P(HostDamage, IsSetAsideAndEveryReadableRowBroughtOver)
{
    constexpr int count = 400;
    std::vector<Host::StoredItem> items;
    for (int i = 0; i < count; ++i)
        items.push_back({"Many", "element" + std::to_string(i), valueOf(i)});
    ASSERT_TRUE(m_platform->database().write(items, {}));
    ASSERT_TRUE(write("Many", "last", "v"));
    auto const killed = m_parent + "/killed";
    fs::copy(m_directory, killed);
    m_table.reset();
    close();
    ASSERT_FALSE(fs::exists(pathOf("mediadata.db-wal"))) << "a clean close leaves the file alone";
    for (std::string const name : {"mediadata.db", "mediadata.db-wal"}) {
        if (GetParam().hasLog)
            fs::copy_file(killed + "/" + name, pathOf(name), fs::copy_options::overwrite_existing);
    }
    GetParam().damage(pathOf("mediadata.db"));

    ASSERT_TRUE(open()) << m_error;
    int lost = 0;
    std::string report;
    for (auto const& notice : m_platform->notices())
        report += notice + "\n";
    auto const tells = [&](std::string const& text) { return report.find(text) != std::string::npos; };
    for (int i = 0; i < count; ++i) {
        std::string const value = read("Many", "element" + std::to_string(i));
        if (value == "failure") {
            ++lost;
            bool const tellsOfMany = tells("no longer be read") || tells("further");
            EXPECT_TRUE(tellsOfMany ? true : tells("lost: Many/element" + std::to_string(i)));
        } else {
            EXPECT_EQ(value, valueOf(i));
        }
    }
    EXPECT_LE(lost, GetParam().atMostLost) << report;
    bool const tellsOfLoss = tells("lost: ") || tells("values may be lost");
    EXPECT_EQ(tellsOfLoss, lost > 0) << report;
    EXPECT_EQ(read("Many", "last"), GetParam().atMostLost >= 300 ? "failure" : "v");
    EXPECT_TRUE(tells("set aside as mediadata.db.damaged-1")) << report;
    EXPECT_TRUE(fs::exists(pathOf("mediadata.db.damaged-1")));
}

void overwrite(std::string const& path, std::initializer_list<int> pages, char byte)
{
    for (int const page : pages)
        damage(path, page * 4096, std::string(4096, byte));
}

DamageCase const damages[]{
    {"header", [](std::string const& path) { damage(path, 0, std::string(100, '#')); }, 0},
    {"firstPage", [](std::string const& path) { overwrite(path, {0}, '\0'); }, 0},
    {"root", [](std::string const& path) { damage(path, 4096, "#"); }, 0},
    {"index", [](std::string const& path) { overwrite(path, {2}, '\xff'); }, 0},
    {"twoPagesInTheMiddle",
     [](std::string const& path) {
         overwrite(path, {9, 15}, '\xff');
     },
     60},
    {"cutOff", [](std::string const& path) { fs::resize_file(path, fs::file_size(path) / 2 / 4096 * 4096); }, 300},
    {"oneByte", [](std::string const& path) { fs::resize_file(path, 1); }, 400},
    {"nothingButTheLog", [](std::string const& path) { fs::resize_file(path, 0); }, 0, true},
    {"log", [](std::string const& path) { damage(path + "-wal", 20 * 4120, "#"); }, 20, true},
    {"anotherFormat", [](std::string const& path) { std::ofstream(path) << "volume=5\n"; }, 400}};

INSTANTIATE_TEST_SUITE_P(ADamagedDatabase, HostDamage, testing::ValuesIn(damages),
                         [](auto const& each) { return each.param.name; });

namespace {

constexpr auto none = [](std::string const&) {};
constexpr auto index = [](std::string const& database) { overwrite(database, {2}, '\xff'); }; // only the check finds it

/// What happens to a file before it is sealed and afterwards, what the next start says, and what it reads.
struct SealCase {
    void (*damage)(std::string const& database);
    void (*alter)(std::string const& database);
    char const* told;
    char const* value = "stored once";
};

SealCase const sealCases[]{
    {none, none, ""},
    {index, none, ""},
    {index, [](std::string const& database) { std::ofstream(database + "-wal"); }, "is being mended"},
    {index, [](std::string const& database) { std::ofstream(database + "-journal"); }, "is being mended"},
    {index, [](std::string const& database) { fs::resize_file(fs::path(database).replace_extension("seal"), 50); },
     "is being mended"},
    {[](std::string const& database) { overwrite(database, {1}, '\xff'); }, none, "is being mended", "failure"},
    {none, [](std::string const& database) { fs::remove(database); }, "the database is gone", "failure"},
    {none,
     [](std::string const& database) {
         damage(database, static_cast<std::int64_t>(contentOf(database).find("stored once")), "altered");
     },
     "may hold values that nobody stored", "alteredonce"}};

} // namespace

TEST_F(HostStorage, ASealThatFitsSparesTheCheckAndNothingElseDoes)
{
    for (SealCase const& each : sealCases) {
        m_table.reset();
        close();
        fs::remove_all(m_directory);
        ASSERT_TRUE(open()) << m_error;
        ASSERT_TRUE(write("Many", "value", "stored once"));
        close();
        each.damage(pathOf("mediadata.db"));
        {
            Host::DataDirectory directory;
            ASSERT_TRUE(directory.open(m_directory, m_error)) << m_error;
            Host::DatabaseSeal(directory, "mediadata.db").putOn(true);
        }
        each.alter(pathOf("mediadata.db"));
        ASSERT_TRUE(open()) << m_error;
        auto const told = testing::PrintToString(m_platform->notices());
        EXPECT_NE(told.find(each.told), std::string::npos) << told;
        EXPECT_EQ(m_platform->notices().empty(), *each.told == '\0') << told;
        EXPECT_EQ(read("Many", "value"), each.value);
        EXPECT_FALSE(fs::exists(pathOf("mediadata.seal"))) << "it would outlive a kill";
        limitFiles(0);
        EXPECT_FALSE(write("Many", "value", "refused"));
        limitFiles();
        close();
        EXPECT_FALSE(fs::exists(pathOf("mediadata.seal"))) << "SQLite failed meanwhile";
    }
}

TEST_F(HostStorage, ASealIsOfEveryByte)
{
    m_table.reset();
    close();
    Host::DataDirectory directory;
    ASSERT_TRUE(directory.open(m_directory, m_error)) << m_error;
    auto const database = pathOf("mediadata.db");
    for (std::size_t place = 0; place < contentOf(database).size(); place += 1009) { // all places within a block
        Host::DatabaseSeal(directory, "mediadata.db").putOn(true);
        damage(database, static_cast<std::int64_t>(place), {static_cast<char>(contentOf(database)[place] ^ '\x80')});
        Host::DatabaseSeal seal(directory, "mediadata.db");
        EXPECT_TRUE(seal.takeOff(m_error)) << m_error;
        EXPECT_EQ(seal.verdict(), Host::DatabaseSeal::Verdict::differs) << place;
    }
}

TEST_F(HostStorage, ALogWithoutItsDatabaseIsNotMixedIntoANewOne)
{
    ASSERT_TRUE(write("AudioSettings", "RingerVolume", "3"));
    fs::copy_file(pathOf("mediadata.db-wal"), m_parent + "/log");
    m_table.reset();
    close();
    fs::remove(pathOf("mediadata.db"));
    fs::copy_file(m_parent + "/log", pathOf("mediadata.db-wal"));
    ASSERT_TRUE(open()) << m_error;
    EXPECT_EQ(read("AudioSettings", "RingerVolume"), "failure");
    EXPECT_EQ(m_platform->notices().size(), 2U) << "it is gone, and its log was set aside";
}

TEST_F(HostStorage, AFrameThatACutToreInItsHeadIsNoDamage)
{
    m_table.reset();
    auto const log = pathOf("mediadata.db-wal");
    for (int i = 0; fs::file_size(log) < 32 + 39 * 4120; ++i)
        ASSERT_TRUE(write("Many", "value", std::to_string(i)));
    auto const last = read("Many", "value");
    std::vector<Host::StoredItem> change;
    for (int i = 100; i < 200; ++i)
        change.push_back({"Many", std::to_string(i), std::string(200, 'v')});
    ASSERT_TRUE(m_platform->database().write(change, {}));
    for (auto const* const name : {"mediadata.db", "mediadata.db-wal"})
        fs::copy_file(pathOf(name), m_parent + "/" + name);
    close();
    for (auto const* const name : {"mediadata.db", "mediadata.db-wal"})
        fs::rename(m_parent + "/" + name, pathOf(name));
    fs::remove(pathOf("mediadata.seal"));
    damage(log, 32 + 41 * 4120,
           {0, 0, 0, 1, 0, 0, 0, 9}); // the page and the mark of a change's end, a sector's last eight bytes
    damage(log, 32 + 41 * 4120 + 500, "#");
    ASSERT_TRUE(open()) << m_error;
    EXPECT_EQ(testing::PrintToString(m_platform->notices()), "{}");
    EXPECT_EQ(read("Many", "value"), last);
}

TEST_F(HostStorage, WhatWaitsForTheNextWriteIsKeptUntilOneSucceeds)
{
    auto const add = [this](char const* item) { m_platform->database().addToNextWrite({{1, "get", item, ""}}); };
    auto const stored = [this] {
        std::string items;
        for (auto const& entry : m_platform->database().journal(10))
            items += entry.item;
        return items;
    };
    add("a");
    add("b");
    EXPECT_EQ(stored(), "ab") << "what waits is stored with what comes";
    add("c");
    EXPECT_EQ(stored(), "ab");
    EXPECT_TRUE(write("AudioSettings", "RingerVolume", "3"));
    EXPECT_EQ(stored(), "abc") << "in the next write's transaction";
    add("d");
    limitFiles(0);
    EXPECT_FALSE(write("AudioSettings", "RingerMelody", "5"));
    limitFiles();
    EXPECT_EQ(stored(), "abc");
    EXPECT_TRUE(write("AudioSettings", "RingerMelody", "5"));
    EXPECT_EQ(stored(), "abcd") << "kept over a write that failed";
    add("e");
    m_table.reset();
    ASSERT_TRUE(open()) << m_error;
    EXPECT_EQ(stored(), "abcde") << "stored by a clean close";
}

TEST_F(HostStorage, WhatIsReadAheadAtStartIsNeitherStaleNorForgotten)
{
    ASSERT_TRUE(write("AudioSettings", "RingerVolume", "3"));
    m_table.reset();
    auto const values = [this] { return read("AudioSettings", "RingerVolume") + read("AudioSettings", "RingerMelody"); };
    ASSERT_TRUE(open()) << m_error;
    for (int reads = 0; reads < 5; ++reads) // more often than there are rows
        EXPECT_EQ(values(), "3failure");
    ASSERT_TRUE(open()) << m_error;
    EXPECT_EQ(values(), "3failure");
    for (int writes = 0; writes < 4; ++writes) {
        ASSERT_TRUE(write("AudioSettings", "RingerVolume", "4"));
        ASSERT_TRUE(write("AudioSettings", "RingerMelody", "5"));
        EXPECT_EQ(values(), "45");
    }
}

TEST_F(HostStorage, EveryWriteThatStoresNothingIsToldOnce)
{
    using Failures = std::set<Host::FailedWrite>;
    std::string const audio = "AudioSettings";
    std::string const srtp = "SRTPEncryptionSettings";
    DataStorage values(*m_platform, audio);
    auto const told = [&] { return m_platform->takeFailedWrites(); };
    EXPECT_EQ(told(), Failures()) << "the table of the start is stored";

    EXPECT_FALSE(m_table->setDataItems("<Method>"));
    EXPECT_FALSE(values.setDataItem("", "text"));
    EXPECT_EQ(told(), (Failures{{srtp, ""}, {audio, ""}})) << "what is not well-formed, a whole schema as a value";
    for (int number = 1; number < 5; ++number)
        EXPECT_FALSE(m_table->setDataItems(row(2, number)));
    EXPECT_EQ(told(), (Failures{{srtp, ""}})) << "the rows behind one that was refused";
    EXPECT_FALSE(m_platform->takeDatabaseError()) << "nothing of this came to the file";

    limitFiles(0);
    EXPECT_FALSE(writeRows(*m_table, 2));
    EXPECT_FALSE(values.setDataItem("RingerVolume", "3"));
    EXPECT_FALSE(values.setDataItem("RingerVolume", "4"));
    EXPECT_FALSE(m_platform->setDeviceProfile({Host::DeviceProfile::Model::entry, true}));
    limitFiles();
    EXPECT_EQ(m_platform->deviceProfile(), Host::DeviceProfile()) << "as stored";
    EXPECT_TRUE(m_platform->takeDatabaseError());
    EXPECT_TRUE(values.setDataItem("RingerVolume", "3"));
    EXPECT_EQ(told(), (Failures{{srtp, ""}, {audio, "RingerVolume"}, {"@device", "model"}, {"@device", "usb"}}));
    EXPECT_EQ(told(), Failures());
    EXPECT_FALSE(m_platform->takeDatabaseError());
}

TEST_F(HostStorage, WhatWasReplacedIsInNoFileAnyMore)
{
    std::string secret;
    while (secret.size() < 9000)
        secret += "secret ";
    for (std::string const& text : {secret, std::string("none")}) {
        ASSERT_TRUE(write("Many", "long", text));
        ASSERT_TRUE(write("Many", "short", text.substr(0, 200)));
        m_table.reset();
        ASSERT_TRUE(open()) << m_error;
    }
    auto& database = m_platform->database();
    EXPECT_NE(contentOf(pathOf("mediadata.db")).find("secret "), std::string::npos) << "the history has it";
    EXPECT_FALSE(database.replaceHistory({}, database.lastEntry() - 1)) << "there is an entry that the caller does not know";
    EXPECT_TRUE(database.replaceHistory({}, database.lastEntry()));
    EXPECT_EQ(contentOf(pathOf("mediadata.db")).find("secret "), std::string::npos);
    EXPECT_EQ(contentOf(pathOf("mediadata.db-wal")).find("secret "), std::string::npos);
    auto const last = database.lastEntry();
    ASSERT_TRUE(open()) << m_error;
    ASSERT_TRUE(write("Many", "short", "x"));
    EXPECT_EQ(m_platform->database().lastEntry(), last + 1) << "numbers go on";
}

TEST_F(HostStorage, EveryChangeHasItsEntryAndTheOldestLeaveForTheFile)
{
    auto& database = m_platform->database();
    auto const store = [&](std::vector<Host::StoredItem> const& items) { return database.write(items, {}); };
    auto const row = [](std::string const& name) { return "<Entry><name>" + name + "</name></Entry>"; };
    auto const table = [&](std::string const& second) {
        return "<Schema>" + row("a") + row(second) + row("c") + "</Schema>";
    };
    m_platform->author(Host::Author{"eva", "tool", "set", "shell", [] { return std::string("why"); }});
    ASSERT_TRUE(store({{"AudioSettings", "RingerVolume", "1"}}));
    ASSERT_TRUE(store({{"AudioSettings", "RingerVolume", "1"}})) << "changes nothing";
    database.addToHistory({{"@flags", "ForceEtsi", "false", "true"}});
    ASSERT_TRUE(store({{"T", "", table("b")}, {"AudioSettings", "RingerVolume", "2"}}));
    m_platform->author({});
    ASSERT_TRUE(store({{"T", "", table("'\"\xff\xc3\xa4")}}));
    limitFiles(0);
    EXPECT_FALSE(store({{"AudioSettings", "RingerVolume", "3"}}));
    limitFiles();
    auto entries = database.history().value();
    entries.erase(entries.begin());
    auto const told = [](Host::HistoryEntry const& entry) {
        std::string text = std::to_string(entry.number) + entry.verb + entry.door + entry.note;
        for (auto const& each : entry.changes)
            text.append(" ").append(each.schema).append("/").append(each.element + ":" + each.before + ">" + each.after);
        return text;
    };
    ASSERT_EQ(entries.size(), 3U);
    EXPECT_EQ(told(entries[0]), "2setshellwhy AudioSettings/RingerVolume:failure>1");
    EXPECT_EQ(told(entries[1]), "3setshellwhy T/:failure>" + table("b") +
                                    " AudioSettings/RingerVolume:1>2"
                                    " @flags/ForceEtsi:false>true");
    EXPECT_EQ(told(entries[2]), "4application T/:<Schema><Entry/>" + row("b") + "<Entry/></Schema>><Schema><Entry/>" +
                                    row("'\"\xff\xc3\xa4") + "<Entry/></Schema>");
    EXPECT_EQ(entries[1].user, "eva");
    EXPECT_NE(entries[2].user, "eva");
    for (int value = 4; value < 400; ++value) {
        auto const secret = std::string(200, 'p') + std::to_string(value);
        ASSERT_TRUE(store({{"Doors", "Camera1Password", secret}, {"@management/a-pin", "a-pin", "q" + secret}}));
    }
    std::size_t size = 0;
    entries = database.history().value();
    for (auto const& each : entries)
        size += told(each).size();
    EXPECT_LT(size, 64U * 1024);
    EXPECT_GT(size, 40U * 1024);
    auto const file = contentOf(pathOf("mediadata.history"));
    EXPECT_NE(file.find(R"({"number":4,)"), std::string::npos);
    EXPECT_NE(file.find(R"('\"\ufffd)"
                        "\xc3\xa4</name>"),
              std::string::npos)
        << file.substr(0, 2000);
    EXPECT_NE(file.find(R"("old":"failure","new":"********"})"), std::string::npos);
    EXPECT_EQ(file.find("pppp"), std::string::npos);
    EXPECT_EQ(file.find("\"q"), std::string::npos);
}

/// Runs statements on a file that no platform has open; the texts of the rows' first columns.
std::string runSql(std::string const& path, std::string const& statements)
{
    sqlite3* handle = nullptr;
    std::string result;
    auto const append = [](void* target, int, char** values, char**) {
        return static_cast<std::string*>(target)->append(values[0] ? values[0] : "null").append(" "), SQLITE_OK;
    };
    EXPECT_EQ(sqlite3_open(path.c_str(), &handle), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(handle, statements.c_str(), append, &result, nullptr), SQLITE_OK) << sqlite3_errmsg(handle);
    sqlite3_close(handle);
    return result;
}

/// What the first release left: 400 values, and a journal with a row for each entry.
constexpr char const* versionOne =
    "CREATE TABLE item (schema TEXT NOT NULL, element TEXT NOT NULL, value TEXT NOT NULL, PRIMARY KEY (schema, element)) "
    "STRICT;"
    "CREATE TABLE journal (id INTEGER PRIMARY KEY, time INTEGER NOT NULL, kind TEXT NOT NULL, item TEXT NOT NULL,"
    " value TEXT NOT NULL) STRICT;"
    "PRAGMA user_version = 1;"
    "WITH RECURSIVE n(i) AS (SELECT 0 UNION SELECT i + 1 FROM n WHERE i < 399)"
    " INSERT INTO item SELECT 'Many', 'element' || i, i || replace(hex(zeroblob(100)), '0', 'v') FROM n;"
    "INSERT INTO journal VALUES (7, 1, 'read', 'a', '1'), (8, 2, 'read', 'b', '2'), (9, 2, 'read', 'c', '3');";

/// A damage, and how many values may be lost with it.
std::pair<void (*)(std::string const&), int> const damagesOfVersionOne[]{
    {[](std::string const&) {}, 0},
    {[](std::string const& path) { overwrite(path, {0}, '\0'); }, 0},
    {[](std::string const& path) { overwrite(path, {9}, '\xff'); }, 30},
    {[](std::string const& path) { overwrite(path, {3}, '\xff'); }, 0}};

TEST_F(HostStorage, ADatabaseOfTheFirstVersionIsTakenOverWholeOrDamaged)
{
    m_table.reset();
    for (auto const& [damageIt, atMostLost] : damagesOfVersionOne) {
        close();
        fs::remove_all(m_directory);
        ASSERT_TRUE(open());
        close();
        fs::remove(pathOf("mediadata.db"));
        runSql(pathOf("mediadata.db"), versionOne);
        damageIt(pathOf("mediadata.db"));
        ASSERT_TRUE(open()) << m_error;
        int lost = 0;
        for (int i = 0; i < 400; ++i)
            lost += read("Many", "element" + std::to_string(i)) != valueOf(i);
        auto const report = testing::PrintToString(m_platform->notices());
        EXPECT_LE(lost, atMostLost) << report;
        bool const isVersionLost = &damageIt == &damagesOfVersionOne[1].first;
        EXPECT_EQ(report.find("history") != std::string::npos, isVersionLost) << "it had none";
        std::string journal;
        m_platform->database().addToNextWrite({{3, "read", "d", "4"}, {3, "read", "e", "5"}});
        ASSERT_TRUE(write("Many", "after", "it"));
        for (auto const& entry : m_platform->database().journal(4))
            journal += entry.item + entry.value;
        EXPECT_EQ(journal, &damageIt == &damagesOfVersionOne[3].first ? "d4e5" : "b2c3d4e5");
        ASSERT_TRUE(open());
        EXPECT_TRUE(m_platform->notices().empty());
    }
}

TEST_F(HostStorage, TheJournalHasARowForEachOperationAndTheHistoryIsMended)
{
    std::vector<Host::JournalEntry> entries;
    for (std::string const& text : {"a\0b"s, ""s, "3:x"s, "'"s})
        entries.push_back({5, "reported", text, text + "1:"});
    entries.push_back({5, "requested", "of another kind", ""});
    auto const texts = [](std::vector<Host::JournalEntry> const& journal) {
        std::vector<std::string> all;
        for (auto const& entry : journal)
            all.push_back(std::to_string(entry.time) + entry.kind + entry.item + "=" + entry.value);
        return all;
    };
    ASSERT_TRUE(m_platform->database().write({}, entries));
    EXPECT_EQ(texts(m_platform->database().journal(10)), texts(entries));
    EXPECT_EQ(texts(m_platform->database().journal(2)), texts({entries[3], entries[4]})) << "the last ones";
    std::vector<Host::JournalEntry> const many(Host::journalLimit - 1, {6, "read", "x", ""});
    ASSERT_TRUE(m_platform->database().write({}, many));
    EXPECT_EQ(m_platform->database().journal(Host::journalLimit).size(), many.size() + 1);
    std::vector<Host::HistoryEntry> const history{
        {41, 7, "me", "", "", "", "", {{"AudioSettings", "RingerVolume", "failure", "5"}}},
        {42,
         8,
         "you",
         "tool",
         "set",
         "shell",
         "note",
         {{"AudioSettings", "RingerVolume", "5", "'\xff"}, {"B", "", "", "x"}}}};
    ASSERT_TRUE(m_platform->database().replaceHistory(history, m_platform->database().lastEntry()));
    m_table.reset();
    for (auto const& pages : {std::initializer_list<int>{0}, {0, 1}}) {
        close();
        overwrite(pathOf("mediadata.db"), pages, '\0');
        ASSERT_TRUE(open()) << m_error;
        EXPECT_FALSE(m_platform->notices().empty());
    }
    close();
    EXPECT_EQ(runSql(pathOf("mediadata.db"),
                     "SELECT number || iif(new = '', '', who || time || old || hex(new)) FROM history ORDER BY number;"
                     "SELECT count(*) FROM journal; SELECT max(id) FROM journal"),
              "412:me0:0:0:0:7-:313A35 423:you4:tool3:set5:shell4:note81:50:323A27FF313A78 43 2 2000 ");
}

} // namespace

// The configuration database: single values, whole tables, and what a restart keeps.
#include "DasCrypt.h"
#include "PlatformUnderTest.h"

namespace {

/// A table of the database: its rows as the library sends them, with the cells named here.
struct TableCase {
    char const *schema, *number, *text;
    int rows, firstNumber;
    bool wholeEntries = false;

    /// One row, with `content` where a cell takes any text.
    std::string fragment(int row, std::string const& content) const
    {
        auto const cell = element(text, content), place = element(number, std::to_string(firstNumber + row));
        return wholeEntries ? element("Entry", place + cell) : cell + place;
    }

    static std::string element(std::string const& name, std::string const& content)
    {
        return "<" + name + ">" + content + "</" + name + ">";
    }
};

TableCase const tableCases[] = {{"CodecSettings", "CodecRank", "CodecType", 4, 1},
                                {"SRTPEncryptionSettings", "Rank", "Method", 5, 1},
                                {"HeadsetPriorities", "Rank", "Type", 3, 1},
                                {"DistinctiveRinging", "DistinctiveRingerIndex", "AlertIdentifier", 15, 0, true}};

std::string expectedText(TableCase const& table, std::string const& text)
{
    std::string xml;
    for (int row = 0; row < table.rows; ++row)
        xml += table.wholeEntries ? table.fragment(row, text) : TableCase::element("Entry", table.fragment(row, text));
    return "<Schema name=\"" + std::string(table.schema) + "\">" + xml + "</Schema>";
}

/// Sends the first `rows` rows; the result is that of the last call.
bool send(DataStorage& storage, TableCase const& table, std::string const& text, int rows)
{
    bool result = true;
    for (int row = 0; row < rows; ++row)
        result = storage.setDataItems(table.fragment(row, text));
    return result;
}

} // namespace

struct Database : testing::Test {
    std::string read(std::string const& schema, std::string const& name)
    {
        return platform->storage(schema)->getDataItem(name, 1);
    }

    std::unique_ptr<PlatformUnderTest> platform = PlatformUnderTest::make();
};

TEST_F(Database, AnswersFailureForWhatWasNeverStoredAndEmptyTextForEmptyText)
{
    EXPECT_TRUE(platform->storage("AudioSettings")->findDataAccessService());
    EXPECT_EQ(read("AudioSettings", "RingerVolume"), "failure");
    EXPECT_EQ(platform->storage("CodecSettings")->getDataItem("", 0), "failure");
    EXPECT_TRUE(platform->storage("AudioSettings")->setDataItem("RingerVolume", ""));
    EXPECT_EQ(read("AudioSettings", "RingerVolume"), "");
}

TEST_F(Database, KeepsEveryTextToTheByteAcrossReplacementAndRestart)
{
    using namespace std::string_literals;
    std::string const pages(64 * 1024, 'x');
    std::string const texts[]{"5"s, ""s, " padded "s, "line\nfeed"s, "'; --"s, "<b>&amp;"s, "p\xc3\xb6t"s, "a\0b"s, pages};
    auto const name = [&](std::string const& text) { return "Element" + std::to_string(&text - texts); };
    for (auto const& text : texts) {
        EXPECT_TRUE(platform->storage("AudioSettings")->setDataItem(name(text), "earlier"));
        EXPECT_TRUE(platform->storage("AudioSettings")->setDataItem(name(text), text));
        EXPECT_TRUE(platform->storage("OcmsSettings")->setDataItem(name(text), "of another schema"));
    }
    platform->restart();
    for (auto const& text : texts)
        EXPECT_EQ(read("AudioSettings", name(text)), text) << name(text);
}

struct DatabaseTable : Database, testing::WithParamInterface<TableCase> {
    TableCase const& table = GetParam();

    std::string stored() { return platform->storage(table.schema)->getDataItem("", 0); }
};

INSTANTIATE_TEST_SUITE_P(AllTables, DatabaseTable, testing::ValuesIn(tableCases),
                         [](auto const& each) { return std::string(each.param.schema); });

TEST_P(DatabaseTable, IsReplacedWholeAndNeverSeenWithSomeOfItsRows)
{
    ASSERT_TRUE(send(*platform->storage(table.schema), table, "old", table.rows));
    for (int rows = 1; rows < table.rows; ++rows) {
        auto partial = platform->storage(table.schema);
        send(*partial, table, "new", rows);
        EXPECT_EQ(stored(), expectedText(table, "old")) << rows << " rows sent";
        partial.reset();
        EXPECT_EQ(stored(), expectedText(table, "old")) << rows << " rows sent, then abandoned";
        platform->restart();
        EXPECT_EQ(stored(), expectedText(table, "old")) << rows << " rows sent, then restarted";
    }
    EXPECT_TRUE(send(*platform->storage(table.schema), table, "new", table.rows));
    EXPECT_EQ(stored(), expectedText(table, "new"));
    platform->restart();
    EXPECT_EQ(stored(), expectedText(table, "new"));
}

TEST_P(DatabaseTable, RefusesAMalformedRowAndTheTableItBelongsTo)
{
    ASSERT_TRUE(send(*platform->storage(table.schema), table, "old", table.rows));
    std::string deep = "x"; // 17 levels with the two around the row: only the whole shows it
    for (int level = 0; level < 14; ++level)
        deep = TableCase::element("e", deep);
    struct Case {
        std::string front, text, others = "new"; // rows that are right, or nearly like the bad one
    };
    for (auto const& [front, text, others] : {Case{"", "<"},
                                              {"", "a & b"},
                                              {"", "&unknown;"},
                                              {"", "</Entry>"},
                                              {"", "<open>"},
                                              {"", "\xff"},
                                              {"", deep},
                                              {"", "<!--<b>--</b>-->", "<!--<b>-</b>-->"},
                                              {"", "<b c='>'d'></b>", "<b c='>d'></b>"},
                                              {"text", "new"},
                                              {"\xEF\xBB\xBF", "new"},
                                              {"<?xml version=\"1.0\"?>", "new"}})
        for (int bad : {0, 1, table.rows - 1}) {
            auto storage = platform->storage(table.schema);
            bool last = true;
            for (int row = 0; row < table.rows; ++row) {
                last = storage->setDataItems(row == bad ? front + table.fragment(row, text) : table.fragment(row, others));
                EXPECT_FALSE(row == bad && text != deep ? last : false) << front << text;
            }
            EXPECT_FALSE(last) << "row " << bad << " was refused, so that the table is not whole";
            EXPECT_EQ(stored(), expectedText(table, "old")) << front << text;
        }
    EXPECT_TRUE(send(*platform->storage(table.schema), table, "new", table.rows));
    EXPECT_EQ(stored(), expectedText(table, "new"));
}

struct DatabaseGroup : Database {
    void SetUp() override
    {
        if (platform->group() == nullptr)
            GTEST_SKIP() << "a platform may do without";
        ASSERT_TRUE(send(*platform->storage(codecs.schema), codecs, "old", codecs.rows));
        ASSERT_TRUE(write("RingerVolume", "old"));
    }

    bool write(std::string const& name, std::string const& text)
    {
        return platform->storage("AudioSettings")->setDataItem(name, text);
    }

    std::vector<std::string> stored()
    {
        return {read("AudioSettings", "RingerVolume"), read("AudioSettings", "RingerMelody"),
                platform->storage(codecs.schema)->getDataItem("", 0)};
    }

    static bool onAnotherThread(std::function<bool()> const& work) { return std::async(std::launch::async, work).get(); }

    TableCase const& codecs = tableCases[0];
    std::vector<std::string> const before{"old", "failure", expectedText(codecs, "old")};
    std::vector<std::string> const after{"newest", "", expectedText(codecs, "new")};
};

TEST_F(DatabaseGroup, IsSeenByItsThreadAtOnceAndIsStoredAtItsEndOrNotAtAll)
{
    for (bool const isEnded : {false, true}) {
        ASSERT_TRUE(platform->group()->beginGroup());
        EXPECT_FALSE(platform->group()->beginGroup());
        EXPECT_TRUE(write("RingerVolume", "new"));
        EXPECT_TRUE(write("RingerVolume", "newest"));
        EXPECT_TRUE(write("RingerMelody", ""));
        EXPECT_TRUE(send(*platform->storage(codecs.schema), codecs, "new", codecs.rows));
        EXPECT_EQ(stored(), after);
        EXPECT_TRUE(onAnotherThread([&] { return stored() == before; }));
        EXPECT_EQ(isEnded && platform->group()->endGroup(), isEnded);
        platform->restart();
        EXPECT_EQ(stored(), isEnded ? after : before);
    }
    EXPECT_FALSE(platform->group()->endGroup()) << "there is none";
    ASSERT_TRUE(platform->group()->beginGroup());
    EXPECT_TRUE(platform->group()->endGroup()) << "an empty one";
}

TEST_F(DatabaseGroup, TakesNothingOfOtherThreads)
{
    ASSERT_TRUE(platform->group()->beginGroup());
    EXPECT_TRUE(write("RingerVolume", "lost"));
    EXPECT_TRUE(onAnotherThread([&] {
        EXPECT_FALSE(platform->group()->beginGroup());
        EXPECT_FALSE(platform->group()->endGroup());
        return write("RingerMelody", "kept");
    }));
    platform->restart();
    EXPECT_EQ(stored(), (std::vector<std::string>{"old", "kept", before[2]}));
}

TEST_F(DatabaseGroup, RefusesAtOnceWhatIsAlwaysRefusedAndAbandonsAPartOfATable)
{
    auto const table = platform->storage(codecs.schema);
    EXPECT_TRUE(send(*table, codecs, "lost", 1));
    ASSERT_TRUE(platform->group()->beginGroup());
    EXPECT_FALSE(send(*table, codecs, "<", codecs.rows));
    EXPECT_TRUE(send(*table, codecs, "lost", codecs.rows - 1));
    EXPECT_TRUE(platform->group()->endGroup());
    EXPECT_EQ(stored(), before);
    EXPECT_TRUE(send(*table, codecs, "new", codecs.rows));
    EXPECT_EQ(stored()[2], after[2]) << "its first row was taken for the first one";
}

TEST_F(Database, GivesSecretsBackAcrossRestart)
{
    for (std::string const plain : {"", "1234", "p\xc3\xb6t of <gold> & more", "failure"}) {
        std::string stored;
        std::string back = "something else";
        ASSERT_TRUE(DasCrypt::toEncryptedText(plain, stored));
        // A reader takes an empty decrypted text for none at all and keeps the stored one, so that must be empty as well.
        EXPECT_EQ(stored.empty(), plain.empty());
        EXPECT_EQ(stored.find(plain), plain.empty() ? 0U : std::string::npos);
        EXPECT_EQ(std::count_if(stored.begin(), stored.end(), [](char c) { return c <= ' ' || c > '~'; }), 0) << stored;
        platform->restart();
        EXPECT_TRUE(DasCrypt::fromEncryptedText(stored, back));
        EXPECT_EQ(back, plain);
    }
}

TEST_F(Database, RefusesWhatWouldReadAsNeverStoredAndWhatAFailedEncryptionLeaves)
{
    ASSERT_TRUE(platform->storage("ICESettings")->setDataItem("IceServerPwd0", "before"));
    for (std::string const& text : {std::string("failure"), platform->failedEncryption("plain")})
        EXPECT_FALSE(platform->storage("ICESettings")->setDataItem("IceServerPwd0", text)) << text;
    EXPECT_EQ(read("ICESettings", "IceServerPwd0"), "before");
    for (std::string const text : {"Failure", "failure ", "failures"})
        EXPECT_TRUE(platform->storage("ICESettings")->setDataItem("IceServerPwd0", text)) << text;
}

TEST_F(Database, RefusesASecretThatWasAlteredOrNeverEncrypted)
{
    std::string stored;
    ASSERT_TRUE(DasCrypt::toEncryptedText("secret", stored));
    std::vector<std::string> altered{"secret", stored.substr(1), stored.substr(0, stored.size() - 1), stored + "A"};
    for (std::size_t i = 0; i < stored.size() * 8; ++i) {
        altered.push_back(stored);
        altered.back()[i / 8] = static_cast<char>(altered.back()[i / 8] ^ (1 << i % 8));
    }
    for (std::string const& text : altered) {
        std::string plain = "untouched";
        EXPECT_FALSE(DasCrypt::fromEncryptedText(text, plain)) << text;
        EXPECT_EQ(plain, "") << text;
    }
}

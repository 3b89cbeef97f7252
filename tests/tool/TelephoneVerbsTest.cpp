// The verbs about tables, the management service, the flag file, the device and the shell, run as a user runs them.
#include "ToolRunner.h"

namespace ToolTest {

using nlohmann::json;

struct TelephoneVerbs : ToolRunner {
    /// Columns of a table, each top to bottom.
    std::string columns(std::string const& table, std::string const& names) const
    {
        std::string text;
        auto answer = ask("table " + table);
        answer.erase("exit");
        for (auto const& name : wordsOf(names))
            text += column(answer.front(), name.c_str());
        return text;
    }
};

TEST_F(TelephoneVerbs, ShowTablesAndOfCodecsTheVerdictByType)
{
    EXPECT_EQ(columns("srtp", "method"), "2 4 3 1 0 ");
    EXPECT_EQ(columns("headset", "rank"), "1 2 3 ");
    EXPECT_EQ(columns("door-openers", "name"), "DoorOpener 1 DoorOpener 2 DoorOpener 3 DoorOpener 4 ");
    ASSERT_EQ(status("flags opus_test=false"), 0); // Takes the verdict of type 3 away.
    EXPECT_EQ(columns("codec", "hardware"), "false true true true ");
    ASSERT_EQ(status("set codec[1]/type=0 codec[2]/type=3"), 0);
    EXPECT_EQ(columns("codec", "type hardware"), "0 3 2 1 true false true true ");
}

/// Each answer comes from a process of its own, after a restart therefore.
TEST_F(TelephoneVerbs, RankCodecsForGoodByMovingThem)
{
    auto const preview = ask("set --dry-run codec[1]/rank=4 codec[4]/rank=1")["items"];
    auto const items = ask("set codec[1]/rank=4 codec[4]/rank=1")["items"];
    EXPECT_EQ(column(items, "item"),
              "codec[1]/rank codec[4]/rank codec[1]/type codec[4]/type codec[1]/allowed codec[4]/allowed ");
    EXPECT_EQ(column(items, "item") + column(items, "new"), column(preview, "item") + column(preview, "new"));
    EXPECT_EQ(column(items, "result"), "stored stored stored stored stored stored ");
    EXPECT_EQ(columns("codec", "rank type allowed"), "1 2 3 4 1 0 2 3 false true true true ");
    auto const document = R"({"format": "mediadata export", "version": 1,
                              "tables": {"codec": {"codec[1]/rank": 2, "codec[2]/rank": 1, "codec[2]/type": 0}}})";
    EXPECT_EQ(run("import -", document).status, 0);
    EXPECT_EQ(columns("codec", "type allowed"), "0 1 2 3 true false true true ");
    EXPECT_EQ(status("set codec[1]/rank=2"), 4); // and nothing has rank 1
    // The service's request is the telephone's own, and says what comes of it.
    EXPECT_EQ(ask("mgmt set codec[1]/rank=2 codec[2]/rank=1")["items"][1]["reason"],
              "until the next start, which ranks codecs in the order of their rows");
    EXPECT_EQ(columns("codec", "type"), "0 1 2 3 ");
}

TEST_F(TelephoneVerbs, LetTheDataOfAnotherUserArrive)
{
    auto const with = [](std::string const& rest) {
        return R"({"format": "mediadata export", "version": 1, )" + rest + "}";
    };
    auto const guest = with(R"("settings": {"ringer-volume": 7, "room-character": 2}, "service": {"country": "FR"},
        "tables": {"ringing": {"alert-identifier-3": "Guest", "ringer-melody-3": 5}, "headset": {"headset[3]/allowed": false}})");
    for (auto const* const wrong : {R"("settings": {"ringer-volume": 7, "headset-volume": 9})", R"("settings": {"x": 7})",
                                    R"("tables": {"headset": {"headset[1]/rank": 2}}, "settings": {"ringer-volume": 7})"})
        EXPECT_GE(run("mobility all --from -", with(wrong)).status, 3) << wrong;
    EXPECT_EQ(ask("list --changed")["items"], json::array());
    EXPECT_EQ(column(run("mobility all --json --from -", guest).json()["changed"], "item"),
              "ringer-volume alert-identifier-3 ringer-melody-3 headset[3]/allowed mobility-user-data-update ");
    auto const undone = run("mobility all --json --from -", with(R"("settings": {"group-pickup-tone-type": 1})")).json();
    EXPECT_EQ(undone["errors"][0]["reason"], "a dependent rule made it 2");
    EXPECT_EQ(out("get 61 58 alert-identifier-3 ringer-melody-3 headset[3]/allowed country"),
              "ringer-volume = 7\nroom-character = 0\nalert-identifier-3 = Guest\nringer-melody-3 = 5\n"
              "headset[3]/allowed = false\ncountry = country\n");
}

TEST_F(TelephoneVerbs, SayWhatTheServiceCouldNotStore)
{
    ASSERT_EQ(status("set ringer-volume=6 ringer-melody-0=5"), 0);
    rlimit limit{};
    ::getrlimit(RLIMIT_FSIZE, &limit);
    rlimit const full{2000, limit.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &full);
    auto const failed = ask("mgmt set headset[1]/allowed=false");
    auto const values = ask("set ringer-volume=7 alert-type-3=1");
    EXPECT_EQ(status("mgmt reset-user-data"), 5);
    ::setrlimit(RLIMIT_FSIZE, &limit);
    EXPECT_EQ(failed["items"][0]["result"], "failed");
    EXPECT_EQ(failed["exit"], 5);
    EXPECT_EQ(column(values["items"], "result"), "failed failed ");
    EXPECT_EQ(column(values["items"], "reason"),
              "the database did not store it, the previous value stands "
              "the database did not store its table, the next start brings the previous value back ");
    EXPECT_EQ(out("get ringer-volume alert-type-3"), "ringer-volume = 6\nalert-type-3 = 0\n");
    EXPECT_EQ(status("mgmt reset-user-data"), 0);
    EXPECT_EQ(out("get headset[1]/allowed ringer-volume ringer-melody-0"),
              "headset[1]/allowed = true\nringer-volume = 3\nringer-melody-0 = 2\n");
}

/// What an answer says that changes or has changed.
std::set<std::string> changes(json const& answer)
{
    std::set<std::string> all;
    for (auto const* const name : {"changed", "alsoChanged"})
        for (auto const& each : answer.value(name, json::array()))
            all.insert(each.dump());
    return all;
}

TEST_F(TelephoneVerbs, WriteTheFlagFileAsTheLibraryReadsIt)
{
    struct {
        char const* words;
        int status;
        char const *file, *values; ///< of force_etsi, aes256_test and another
    } const cases[]{{"force_etsi aes256_test=true", 0, "force_etsi\naes256_test true\n", "true true false "},
                    {"force_etsi no_such_flag", 3, "force_etsi\naes256_test true\n", "true true false "},
                    {"force_etsi=yes", 4, "force_etsi\naes256_test true\n", "true true false "},
                    {"force_etsi= opus_test=false", 0, "aes256_test true\nopus_test false\n", "false true false "},
                    {"aes256_test= opus_test=", 0, "", "false false false "}};
    auto const file = dataDirectory() / "data/database/media_config";
    for (auto const& [words, wanted, text, values] : cases) {
        auto const foretold = ask(std::string("flags --dry-run ") + words);
        auto const answer = ask(std::string("flags ") + words);
        EXPECT_EQ(answer["exit"], wanted) << words;
        EXPECT_EQ(changes(foretold), changes(answer)) << words;
        EXPECT_EQ(contentOf(file), text) << words;
        EXPECT_EQ(column(ask("get 805 798 799")["items"], "value"), values) << words;
    }
    EXPECT_FALSE(std::filesystem::exists(file));
}

TEST_F(TelephoneVerbs, ForetellWhatFollowsFromAnAnnouncement)
{
    ASSERT_EQ(status("set ringer-melody=4"), 0); // The rows without identifier follow when the table is read.
    for (std::string const type : {"unmanaged", "all"}) {
        auto const foretold = ask("mobility --dry-run " + type);
        EXPECT_EQ(changes(foretold), changes(ask("mobility " + type))) << type;
        EXPECT_EQ(foretold["alsoChanged"].size(), type == "all" ? 1U : 0U);
    }
    EXPECT_EQ(run("mobility all --dry-run --from -", "{}").status, 2);
}

TEST_F(TelephoneVerbs, RunInOneProcessThatTellsOfChangesAsTheyCome)
{
    auto const answer =
        run("shell", "# a comment\n\nset 'ringer-volume=5'\nwatch handset*\nset headset-volume=5\n"
                     "mgmt set handset-volume=4\nset ringer-volume=9\nget \"open\nexit\nset ringer-volume=1\n");
    EXPECT_EQ(answer.status, 4);
    EXPECT_NE(answer.out.find("* ringer-volume = 5\n"), std::string::npos);
    EXPECT_EQ(answer.out.find("* headset-volume"), std::string::npos);
    EXPECT_NE(answer.out.find("* handset-volume = 4\n"), std::string::npos);
    EXPECT_NE(answer.err.find("a quote is not closed"), std::string::npos);
    EXPECT_EQ(out("get ringer-volume"), "5\n");
}

} // namespace ToolTest

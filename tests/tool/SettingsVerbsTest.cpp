// The verbs about single settings, run as a user runs them.
#include "ToolRunner.h"

#include "Data/DataTypes.h"

namespace ToolTest {

using nlohmann::json;
using SettingsVerbs = ToolRunner;

TEST_F(SettingsVerbs, EndWithTheDocumentedStatus)
{
    write("good.conf", "# comment\n\n ringer-volume = 5 \n");
    write("bad.conf", "ringer-volume\n");
    auto const file = [&](char const* name) { return "set --file " + (root() / name).string(); };
    std::pair<int, std::vector<std::string>> const cases[]{
        {0, {"get 61", "set ringer-volume=4", "set ringer-volume=4", file("good.conf"), "reset audio"}},
        {0, {"table ringing --alert Emergency.Call"}},
        {2, {"", "frobnicate", "get", "get 61 --no-such-option", "set", "set ringer-volume", "set ringer-volume=1 61=2"}},
        {2, {"set --file /no/such/file", "set --file /", "mgmt set ringer-volume=1 61=2", "catalogue --format xml"}},
        {2,
         {"table codec --alert Emergency.Call", "table nonsense", "mobility some", "mobility unmanaged --from -",
          "mobility all --from /", file("bad.conf")}},
        {3,
         {"get ringer-volumes", "get 0", "get " + std::to_string(Data::eDataTagEnd), "describe Ringer-Volume",
          "list no*such"}},
        {3, {"set 61=5 no-such-item=1", "reset everything", "table ringing --alert Nobody.Calls"}},
        {4, {"set ringer-volume=9", "set 108=<Schema/>", "set codec[1]/type=0", "get 632", "mgmt changed ringer-volume=2"}},
        {5, {"get function-key-def-100"}},
        {0, {"mgmt changed function-key-def-100=line", "get function-key-def-100", "mobility all", "mobility managed"}},
        {4, {"country de", "country DEU"}}};
    for (auto const& [wanted, commands] : cases)
        for (auto const& command : commands) {
            EXPECT_EQ(status(command), wanted) << command;
            auto const answer = run(command + " --json");
            EXPECT_EQ(answer.json()["exit"], wanted) << command << answer.out;
            EXPECT_EQ(answer.err, "") << command;
        }
    write("unknown.conf", "ringer-volume=8\n  ringer-volum = 5\n");
    auto const place = (root() / "unknown.conf").string();
    EXPECT_TRUE(run("set --file " + place)
                    .err.starts_with("mediadata: " + place +
                                     ":2:3: ringer-volum: no item has this tag number or name; nothing was stored\n"));
    EXPECT_NE(out("get 61"), "8\n");
    EXPECT_EQ(run("import /no/such/file").err, "mediadata: /no/such/file: cannot be read: No such file or directory\n");
    EXPECT_EQ(run("import /").err, "mediadata: /: cannot be read: Is a directory\n");
    telephone = "good.conf";
    auto const answer = run("get 61");
    EXPECT_EQ(answer.status, 5);
    EXPECT_NE(answer.err.find(dataDirectory().string()), std::string::npos) << "a data directory that is a file";
}

TEST_F(SettingsVerbs, AnswerBadWordsWithWhatMayHaveBeenMeant)
{
    struct {
        char const *words, *item, *reason, *near;
    } const cases[]{{"", "", "a verb is missing: list, get, set, ", ""},
                    {"mgmt", "mgmt", "a verb is missing: get, set, changed, reset-user-data, journal", ""},
                    {"monitor 61", "monitor", "is no verb; mediadata --help lists them", "watch"},
                    {"mgmt show", "show", "is no verb; mediadata mgmt --help lists them", "get"},
                    {"expotr", "expotr", "is no verb; mediadata --help lists them", "export"},
                    {"ice-server-pwd-0=Zebra", "ice-server-pwd-0", "is no verb; mediadata --help lists them", "get"},
                    {"get", "", "ITEM is missing; see mediadata get --help", ""},
                    {"list a b", "b", "is one word too many; see mediadata list --help", ""},
                    {"set --fil=x", "--fil", "is no option here; see mediadata set --help", "--file"},
                    {"set --file", "--file", "lacks its value; see mediadata set --help", ""},
                    {"table codecs", "TABLE", "\"codecs\" is none of codec, srtp, ", "codec"},
                    {"watch --count 99999999999", "--count", "\"99999999999\" is no whole number 0..1000000", ""},
                    {"history --limit -1", "--limit", "\"-1\" is no whole number 0..1000000", ""},
                    {"reset", "", "nothing to reset: give WHAT or --all", ""},
                    {"reset audio --all", "", "--all stands alone", ""},
                    {"list --json=x", "", "the value of an option is not understood; see mediadata list --help", ""}};
    for (auto const& [words, item, reason, near] : cases) {
        auto const answer = run(std::string("--json ") + words);
        auto const error = answer.json()["errors"][0];
        EXPECT_EQ(answer.status, 2) << words;
        EXPECT_EQ(error["item"], *item ? json(item) : json()) << words;
        EXPECT_TRUE(error["reason"].get<std::string>().starts_with(reason)) << answer.out;
        EXPECT_EQ(error.value("/suggestions/0"_json_pointer, ""), near) << words;
    }
}

TEST_F(SettingsVerbs, FindAnItemByEachOfItsNamesAndSuggestNearOnes)
{
    std::pair<int, std::string> const cases[]{{61, "ringer-volume AudioSettings/RingerVolume RingerVolume"},
                                              {109, "codec[1]/type codecSettings/codec[1]/type CodecType1"},
                                              {129, "DistinctiveRinging ringing"},
                                              {797, "OpusTest opus_test"}};
    for (auto const& [tag, names] : cases)
        for (auto const& name : wordsOf(names))
            EXPECT_EQ(ask("describe " + name)["item"]["tag"], tag) << name;
    EXPECT_EQ(column(ask("list codec[?]/rank")["items"], "item"),
              "codec[1]/rank codec[2]/rank codec[3]/rank codec[4]/rank ");
    EXPECT_EQ(column(ask("list CAMERA-URL")["items"], "item"), "camera-url-1 camera-url-2 camera-url-3 camera-url-4 ");
    EXPECT_EQ(ask("get ringer-volum")["errors"][0]["suggestions"][0], "ringer-volume");
}

TEST_F(SettingsVerbs, MakeATelephoneOnlyWhereOneIsToBe)
{
    isReady = false;
    for (std::string const command :
         {"get 61", "list", "describe 61", "diff", "export", "history", "country", "device", "flags", "mobility",
          "mgmt get ringer-volume", "watch --timeout 1", "set --dry-run 61=5"}) {
        auto const answer = run(command);
        bool const isRehearsal = command.starts_with("set");
        EXPECT_EQ(answer.status, isRehearsal ? 0 : 5) << command;
        EXPECT_EQ(answer.err.find("has no telephone") == std::string::npos, isRehearsal) << command;
        EXPECT_FALSE(std::filesystem::exists(dataDirectory())) << command;
    }
    std::string const said = "mediadata: made a new telephone in " + dataDirectory().string() + '\n';
    EXPECT_EQ(run("set 61=5 camera-password-1=").err, said);
    EXPECT_EQ(run("set 61=6").err, "");
    EXPECT_EQ(status("init"), 5);
    write("good", run("export").out);
    write("bad", R"({"format": "mediadata export", "version": 1, "settings": {"62": 4, "61": 12}})");
    for (std::string const name : {"good", "bad"}) {
        telephone = "of-" + name;
        EXPECT_EQ(tool({"init", "--from", (root() / name).string()}).status, name == "good" ? 0 : 4);
        EXPECT_EQ(std::filesystem::exists(dataDirectory()), name == "good");
    }
    telephone = "of-good";
    EXPECT_EQ(out("get 61"), "6\n");
}

/// With a limit of what a file may hold, as on a disk that is full.
TEST_F(SettingsVerbs, SayInOneLineWhatADatabaseDidNotStore)
{
    ASSERT_EQ(status("set 61=5"), 0);
    std::pair<char const*, char const*> const cases[]{
        {"set 61=6 62=3", ": 0 values stored, 2 not, which the next start has as before"},
        {"mgmt set 61=6", ": 0 values stored, 1 not, which the next start has as before"},
        {"reset audio", ": 0 values stored, 1 not, which the next start has as before"},
        {"device --model entry", ""},
        {"country KR", ""}};
    for (auto const& [command, counts] : cases) {
        Process::s_longestFile = 4096;
        auto const answer = run(command);
        auto const developers = run(std::string(command) + " --verbose");
        Process::s_longestFile = 0;
        EXPECT_EQ(answer.status, 5) << command;
        EXPECT_EQ(std::count(answer.err.begin(), answer.err.end(), '\n'), 1) << answer.err;
        EXPECT_NE(answer.err.find(std::string("error") + counts + "; when that is mended, the command can be given again\n"),
                  std::string::npos)
            << answer.err;
        EXPECT_NE(developers.err.find("log 2 "), std::string::npos) << command;
        EXPECT_EQ(out("get 61"), "5\n") << command;
    }
}

TEST_F(SettingsVerbs, SayWhatItemsMean)
{
    std::pair<char const*, char const*> const cases[]{
        {"describe 71", "names:           0 silent, 1 tone, 2 ringer and tone, 3 ringer\n"},
        {"describe 71", "means:           ringer and tone\n"},
        {"describe ice-gathering-timeout", "accepted:        100..65535 ms\n"},
        {"set group-pickup-tone-type=9", "accepted: 0 silent, 1 tone, 2 ringer and tone, 3 ringer\n"},
        {"set codec[1]/type=4", "accepted: 0..3 (3 Opus)\n"},
        {"list MUTE", "55   disable-microphone  bool  false  Whether the microphone is disabled (mute)\n"},
        {"list DSCP", "switched off: qos-layer3, l3qos-voice,"},
        {"list --long opus-plr", "23   opus-plr  int   0      0        %     opus"},
        {"table codec", "1     3     Opus   true"},
        {"table door-openers", "type means          none"},
        {"table group-pickup", "tone type means:   ringer and tone\n"},
        {"explain group-pickup-tone-type", "\n=>  catalogue       2\n"},
        {"--color always explain 61", "\x1b[32m=>\x1b[0m  \x1b[32mcatalogue\x1b[0m"}};
    for (auto const& [command, expected] : cases)
        EXPECT_NE(out(command).find(expected), std::string::npos) << command << '\n' << out(command);
    std::size_t items = 0;
    auto const families = ask("list --groups")["families"];
    for (auto const& family : families) {
        EXPECT_EQ(ask("list --family " + family["family"].get<std::string>())["items"].size(), family["items"]) << family;
        items += family["items"].get<std::size_t>();
    }
    EXPECT_EQ(ask("list")["items"].size(), items);
    EXPECT_EQ(status("list no-such-meaning"), 3);
}

TEST_F(SettingsVerbs, NameTheSettingsOutOfWhichARuleMadeAValue)
{
    ASSERT_EQ(status("set door-opener-directvideo-2=3 door-opener-phonenumber-2=200 group-pickup-tone-type=1"), 0);
    std::pair<char const*, char const*> const cases[]{
        {"camera-phone-number-3", "door-opener-directvideo-2 door-opener-phonenumber-2 "},
        {"camera-door-opener-3", "door-opener-directvideo-2 "},
        {"group-pickup-as-ringer", "group-pickup-tone-type "}, // stored since
        {"ringer-melody-14", "alert-identifier-14 ringer-melody "},
        {"group-pickup-tone-type", ""}};
    for (auto const& [name, causes] : cases) {
        auto const item = ask(std::string("explain ") + name)["item"];
        std::string named;
        for (auto const& cause : item["causedBy"])
            named += cause.get<std::string>() + ' ';
        EXPECT_EQ(named, causes) << item;
    }
    EXPECT_EQ(ask("explain camera-door-opener-3")["item"]["lastChange"]["item"], "door-opener-directvideo-2");
    EXPECT_EQ(ask("explain group-pickup-as-ringer")["item"]["lastChange"]["who"], "set");
}

TEST_F(SettingsVerbs, AccountForEachValueOfABulkSet)
{
    isReady = false;
    EXPECT_EQ(status("set --dry-run ringer-volume=4"), 0);
    EXPECT_FALSE(std::filesystem::exists(dataDirectory()));
    ASSERT_EQ(status("set SRTPEncryption[4]/method=0 SRTPEncryption[5]/method=1 SRTPEncryption[5]/allowed=false"), 0);
    ASSERT_EQ(status("flags aes256_test=false"), 0); // hides the first three rows
    std::pair<Words, char const*> const cases[]{
        {wordsOf("set ringer-volume=9 handset-volume=2 headset-volume=7 moh-enabled=FALSE"),
         "refused unchanged stored stored "},
        {wordsOf("set SRTPEncryption[1]/rank=2"), "refused "}, // the next start reads hidden rows, too
        {wordsOf("mgmt set SRTPEncryption[1]/rank=2 SRTPEncryption[1]/method=2"), "refused refused "},
        {wordsOf("set HeadsetHardwareAllowed2=false headset[2]/rank=3"), "taken refused "},
        {wordsOf("set OpusTest=true QosStatistics=x alert-identifier-3="), "refused taken stored "},
        {wordsOf("set ice-server-pwd-0=*** rtp-base-port=99999999999"), "refused refused "},
        {wordsOf("mgmt set door-opener-pin-2=********"), "refused "},
        {{"set", "alert-identifier-0=a\x01", "codec[1]/packetSize=1"}, "refused stored "},
        {wordsOf("set --dry-run ringer-melody=3 ringer-melody-14=4 ringer-melody-13=4"), "would store refused would store "},
        {wordsOf("set ringer-melody=3 ringer-melody-14=4 ringer-tone-14=2"), "stored refused unchanged "},
        {wordsOf("set --dry-run alert-type-0=1 ringer-melody-14=2"), "would store refused "}, // makes it 3
        {wordsOf("set --atomic ringer-volume=4 rtp-base-port=3 moh-enabled=true"), "held back refused held back "},
        {wordsOf("reset ringer-melody-14 ringer-tone-14"), "unchanged unchanged "},
        {{"set", "--dry-run", "ringer-file-0=\xff", "ringer-file-1=\r", "ringer-file-2= \t<&>\n"},
         "refused refused would store "},
        {{"set", "ringer-audio-file=\x01", "ringer-tone-14=4", "country=x"}, "refused refused refused "},
        {wordsOf("mgmt set handset-volume=6 moh-enabled=maybe country=DE"), "taken refused ignored "},
        {wordsOf("mgmt set handset-volume=6"), "refused "}, // unchanged
        {wordsOf("set group-pickup-tone-type=1"), "stored "},
        {wordsOf("set group-pickup-tone-type=1 group-pickup-tone-allowed=false"), "refused stored "}, // makes it 0 again
        {wordsOf("mgmt set headset[1]/type=1 ringer-audio-file=x codec[1]/rank=y"), "taken taken refused "},
        // the database's word for what it does not hold: not as a single text, even encrypted, but in a table
        {wordsOf("set --dry-run MLPP-ringer=failure alert-identifier-9=failure ice-server-pwd-0=failure"),
         "refused would store refused "},
        {wordsOf("set MLPP-ringer=failure"), "refused "},
        {{"set", "ice-server-username-0=" + std::string(16384, 'x'), "ice-server-username-1=" + std::string(16385, 'x')},
         "stored refused "},
        {wordsOf("mgmt set MLPP-ringer=failure"), "refused "}};
    for (auto const& [command, expected] : cases) {
        Words asJson = command;
        asJson.push_back("--json");
        auto const answer = tool(asJson).json();
        EXPECT_EQ(column(answer["items"], "result"), expected) << answer;
    }
    auto const failure = R"({"format": "mediadata export", "version": 1, "settings": {"MLPP-ringer": "failure"}})";
    EXPECT_EQ(run("import --dry-run -", failure).status, 4);
    EXPECT_EQ(run("set --file -", std::string("63=a\0b", 6)).status, 4);
    EXPECT_EQ(run("set --file -", "51=1\n" + std::string(std::size_t{17} << 20, '\n') + "59=true\n").status, 2);
    EXPECT_EQ(out("get 51 59 61 SRTPEncryption[5]/method"),
              "headset-volume = 7\nmoh-enabled = false\nringer-volume = 3\nSRTPEncryption[5]/method = 1\n");
}

TEST_F(SettingsVerbs, PrintTheCatalogueThatPeopleReviewed)
{
    EXPECT_EQ(out("catalogue --format tsv"), contentOf(MEDIADATA_SOURCE_DIR "/tests/catalogue.tsv"));
    EXPECT_EQ(run("catalogue --format json").json()["catalogue"].size(), 807U);
}

} // namespace ToolTest

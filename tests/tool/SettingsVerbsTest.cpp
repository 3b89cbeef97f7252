// The verbs about single settings, run as a user runs them.
#include "ToolRunner.h"

#include <algorithm>
#include <sstream>

namespace ToolTest {

class SettingsVerbs : public ToolRunner {
protected:
    std::string value(std::string const& item) const { return tool({"get", "--show-secrets", item}).out; }
};

TEST_F(SettingsVerbs, EndWithTheDocumentedStatus)
{
    struct Case {
        std::vector<std::string> words;
        int status;
    };
    write("good.conf", "# comment\n\n ringer-volume = 5 \n");
    write("bad.conf", "ringer-volume\n");
    auto const good = (root() / "good.conf").string();
    auto const bad = (root() / "bad.conf").string();
    std::vector<Case> const cases{
        {{"--help"}, 0},
        {{"get", "61"}, 0},
        {{"set", "ringer-volume=4"}, 0},
        {{"set", "ringer-volume=4"}, 0}, // unchanged
        {{"set", "--file", good}, 0},
        {{"reset", "audio"}, 0},
        {{}, 2},
        {{"frobnicate"}, 2},
        {{"get"}, 2},
        {{"get", "61", "--no-such-option"}, 2},
        {{"set"}, 2},
        {{"set", "ringer-volume"}, 2},
        {{"set", "ringer-volume=1", "61=2"}, 2},
        {{"set", "--file", bad}, 2},
        {{"set", "--file", "/no/such/file"}, 2},
        {{"set", "--file", "/"}, 2},
        {{"mgmt", "set", "ringer-volume=1", "61=2"}, 2},
        {{"reset", "everything"}, 2},
        {{"catalogue", "--format", "xml"}, 2},
        {{"get", "ringer-volumes"}, 3},
        {{"get", "0"}, 3},
        {{"get", "806"}, 3},
        {{"describe", "Ringer-Volume"}, 3},
        {{"list", "no*such"}, 3},
        {{"set", "ringer-volume=5", "no-such-item=1"}, 3},
        {{"set", "ringer-volume=9"}, 4},
        {{"set", "108=<Schema/>"}, 4},
        {{"set", "codec[1]/type=0"}, 4},
        {{"get", "632"}, 4},
        {{"get", "function-key-def-100"}, 5},
    };
    for (auto const& one : cases)
        EXPECT_EQ(tool(one.words).status, one.status) << ::testing::PrintToString(one.words);
}

TEST_F(SettingsVerbs, RefuseADataDirectoryThatIsAFile)
{
    write("telephone", "");
    auto const answer = tool({"get", "61"});
    EXPECT_EQ(answer.status, 5);
    EXPECT_NE(answer.err.find(dataDirectory().string()), std::string::npos);
}

TEST_F(SettingsVerbs, FindAnItemByEachOfItsNames)
{
    struct Case {
        char const* tag;
        std::vector<std::string> names;
    };
    std::vector<Case> const cases{
        {"61", {"ringer-volume", "AudioSettings/RingerVolume", "RingerVolume"}},
        {"109", {"codec[1]/type", "codecSettings/codec[1]/type", "CodecType1"}},
        {"225", {"SRTPEncryption[5]/method", "SRTPEncryptionSettings/SRTPEncryption[5]/method"}},
        {"82", {"play-dtmf", "AudioSettings/play-dtmf"}},
        {"633", {"country"}},
        {"797", {"OpusTest"}},
        {"129", {"DistinctiveRinging"}},
    };
    for (auto const& one : cases) {
        for (auto const& name : one.names) {
            auto const found = tool({"describe", "--json", name}).json();
            ASSERT_TRUE(found.is_object()) << name;
            EXPECT_EQ(found["item"]["tag"].dump(), one.tag) << name;
        }
    }
}

TEST_F(SettingsVerbs, SuggestTheNearNamesOfAnUnknownOne)
{
    auto const text = tool({"get", "ringer-volum"});
    EXPECT_EQ(text.out, "");
    EXPECT_NE(text.err.find("ringer-volume"), std::string::npos);
    auto const json = tool({"get", "ringer-volum", "--json"}).json();
    EXPECT_EQ(json["errors"][0]["suggestions"][0], "ringer-volume");
    EXPECT_EQ(json["exit"], 3);
}

TEST_F(SettingsVerbs, GiveTheLibrarysReasonToTheByteAndChangeNothing)
{
    struct Case {
        char const* item;
        char const* refused;
        char const* reason;
    };
    std::vector<Case> const cases{
        {"ringer-volume", "9", "The provided value '9' is not in valid range 1..8"},
        {"ringer-volume", "-1", "The provided value must contain only digits"},
        {"rtp-base-port", "5005", "The provided value '5005' is not even."},
        {"rtp-base-port", "65122", "The provided value '65122' is not in valid range 2..65120"},
        {"ringer-enabled", "loud", "The provided value 'loud' is not supported! Allowed: true;false;beep;"},
        {"ringer-enabled", "", "The provided value is empty!"},
        {"moh-enabled", "1", "The provided value is not valid"},
        {"ice-server-addr-0", "a b", "The provided value contains white spaces"},
        {"door-opener-name-1", "", "The provided value must have length from 1 to 12 characters!"},
        {"door-opener-name-1", "thirteen char", "The provided value must have length from 1 to 12 characters!"},
    };
    for (auto const& one : cases) {
        auto const before = value(one.item);
        auto const answer = tool({"set", "--json", std::string(one.item) + "=" + one.refused});
        EXPECT_EQ(answer.status, 4);
        EXPECT_EQ(answer.json()["items"][0]["reason"], one.reason);
        EXPECT_EQ(answer.json()["items"][0]["result"], "refused");
        EXPECT_EQ(value(one.item), before);
    }
}

TEST_F(SettingsVerbs, AccountForEachValueOfABulkSet)
{
    auto const answer =
        tool({"set", "--json", "ringer-volume=9", "handset-volume=2", "headset-volume=7", "moh-enabled=FALSE"});
    EXPECT_EQ(answer.status, 4);
    std::string results;
    auto const json = answer.json();
    for (auto const& item : json["items"])
        results += item["result"].get<std::string>() + " ";
    EXPECT_EQ(results, "refused unchanged stored stored ");
    EXPECT_EQ(value("51") + value("59"), "7\nfalse\n");
}

TEST_F(SettingsVerbs, WriteNothingOnADryRun)
{
    ASSERT_EQ(tool({"set", "--dry-run", "ringer-volume=7"}).status, 0);
    EXPECT_FALSE(std::filesystem::exists(dataDirectory()));
    auto const before = tool({"list", "--json"}).out;
    auto const answer = tool({"set", "--dry-run", "--json", "ringer-volume=7", "rtp-base-port=1", "handset-volume=2"});
    EXPECT_EQ(answer.status, 4);
    EXPECT_EQ(answer.json()["items"][0]["result"], "would store");
    EXPECT_EQ(answer.json()["items"][1]["reason"], "The provided value '1' is not even.");
    EXPECT_EQ(answer.json()["items"][2]["result"], "unchanged");
    EXPECT_EQ(tool({"list", "--json"}).out, before);
}

TEST_F(SettingsVerbs, RestoreATableWhoseCheckFails)
{
    auto const answer = tool({"set", "--json", "codec[1]/type=0", "ringer-volume=6"});
    EXPECT_EQ(answer.status, 4);
    EXPECT_EQ(answer.json()["items"][0]["result"], "refused");
    EXPECT_EQ(answer.json()["items"][1]["result"], "stored");
    EXPECT_EQ(value("codec[1]/type"), "3\n");
}

TEST_F(SettingsVerbs, ShowNoSecretAnywhere)
{
    struct Case {
        char const* item;
        char const* accepted;
        char const* refused; ///< null: nothing is refused
    };
    std::vector<Case> const cases{
        {"ice-server-pwd-0", "Zebra-one-secret", nullptr},
        {"ice-server-pwd-1", "Zebra-two-secret", nullptr},
        {"camera-password-4", "Zebra-three-secret", "Zebra-three-much-too-long-secret"},
        {"door-opener-password-2", "Zebra-four-secret", "Zebra-four-much-too-long-secret"},
        {"door-opener-pin-3", "Zebra-5-secret", "Zebra-five-too-long-secret"},
    };
    for (auto const& one : cases) {
        std::string const item = one.item;
        std::vector<std::vector<std::string>> runs{
            {"set", "--watch", item + "=" + one.accepted},
            {"get", item},
            {"list", item},
            {"describe", item},
            {"set", item + "=" + one.accepted},
            {"set", "--dry-run", item + "=" + one.accepted + "x"},
        };
        if (one.refused)
            runs.push_back({"set", item + "=" + one.refused});
        for (auto run : runs) {
            for (auto const* extra : {"--log-level=6", "--json"}) {
                run.emplace_back(extra);
                auto const answer = tool(run);
                EXPECT_EQ((answer.out + answer.err).find("Zebra"), std::string::npos)
                    << ::testing::PrintToString(run) << answer.out << answer.err;
            }
        }
        EXPECT_EQ(tool({"get", item}).out, "********\n");
        EXPECT_EQ(value(item), std::string(one.accepted) + "\n");
    }
}

TEST_F(SettingsVerbs, KeepEverySettingOfTheSampleThroughARestart)
{
    std::string const sample = MEDIADATA_SOURCE_DIR "/samples/telephone.conf";
    ASSERT_EQ(tool({"set", "--file", sample}).status, 0);
    std::istringstream lines(slurp(sample));
    std::vector<std::string> read{"get", "--show-secrets"};
    std::string expected;
    for (std::string line; std::getline(lines, line);) {
        if (line.empty() || line.front() == '#')
            continue;
        auto const equals = line.find('=');
        read.push_back(line.substr(0, equals));
        expected += line.substr(0, equals) + " = " + line.substr(equals + 1) + "\n";
    }
    EXPECT_GE(read.size(), 60U);
    EXPECT_EQ(tool(read).out, expected);
    auto const again = tool({"set", "--json", "--file", sample}).json();
    for (auto const& item : again["items"])
        EXPECT_EQ(item["result"], "unchanged") << item;
}

TEST_F(SettingsVerbs, TakeTheUsersAudioSettingsBackToTheirDefaults)
{
    ASSERT_EQ(tool({"set", "ringer-volume=7", "ringer-minimum-volume=5"}).status, 0);
    auto const reset = tool({"reset", "audio", "--json"}).json();
    EXPECT_EQ(reset["items"].size(), 1U);
    EXPECT_EQ(reset["items"][0]["item"], "ringer-volume");
    EXPECT_EQ(value("ringer-volume") + value("ringer-minimum-volume"), "3\n5\n");
}

TEST_F(SettingsVerbs, ListByGlobAndByPartOfAName)
{
    auto const names = [&](std::string const& pattern) {
        std::string text;
        auto const json = tool({"list", pattern, "--json"}).json();
        for (auto const& item : json["items"])
            text += item["item"].get<std::string>() + " ";
        return text;
    };
    EXPECT_EQ(names("codec[?]/rank"), "codec[1]/rank codec[2]/rank codec[3]/rank codec[4]/rank ");
    EXPECT_EQ(names("CAMERA-URL"), "camera-url-1 camera-url-2 camera-url-3 camera-url-4 ");
    EXPECT_EQ(names("ringer-volume"), "ringer-volume ");
}

TEST_F(SettingsVerbs, AnswerEachQuestionInJsonThatParses)
{
    std::vector<std::vector<std::string>> const questions{
        {"list"},           {"get", "1", "57", "60", "108"},
        {"set", "1=2"},     {"describe", "190"},
        {"reset", "audio"}, {"catalogue"},
        {"get", "nothing"}, {"get"},
        {"frobnicate"},
    };
    for (auto words : questions) {
        words.emplace_back("--json");
        auto const answer = tool(words);
        ASSERT_TRUE(answer.json().is_object()) << answer.out;
        EXPECT_EQ(answer.json()["exit"], answer.status);
        EXPECT_EQ(answer.err, "");
    }
}

TEST_F(SettingsVerbs, PrintTheCatalogueThatPeopleReviewed)
{
    auto const text = tool({"catalogue", "--format", "tsv"}).out;
    EXPECT_EQ(text, slurp(MEDIADATA_SOURCE_DIR "/tests/catalogue.tsv"));
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 807);
    EXPECT_EQ(std::count(text.begin(), text.end(), '\t'), 807 * 13);
    EXPECT_EQ(tool({"catalogue", "--format", "json"}).json()["catalogue"].size(), 807U);
}

} // namespace ToolTest

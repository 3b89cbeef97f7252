// The verbs about single settings, run as a user runs them.
#include "ToolRunner.h"

#include <algorithm>
#include <sstream>

namespace ToolTest {

class SettingsVerbs : public ToolRunner {
protected:
    using Texts = std::vector<std::string>;

    static Texts words(std::string const& command)
    {
        std::istringstream text(command);
        return {std::istream_iterator<std::string>(text), {}};
    }

    std::string value(std::string const& item) const { return tool({"get", "--show-secrets", item}).out; }
};

TEST_F(SettingsVerbs, EndWithTheDocumentedStatus)
{
    write("good.conf", "# comment\n\n ringer-volume = 5 \n");
    write("bad.conf", "ringer-volume\n");
    auto const good = "set --file " + (root() / "good.conf").string();
    auto const bad = "set --file " + (root() / "bad.conf").string();
    std::pair<int, std::vector<std::string>> const cases[]{
        {0, {"--help", "get 61", "set ringer-volume=4", "set ringer-volume=4", good, "reset audio"}},
        {2,
         {"", "frobnicate", "get", "get 61 --no-such-option", "set", "set ringer-volume", "set ringer-volume=1 61=2", bad}},
        {2, {"set --file /no/such/file", "set --file /", "mgmt set ringer-volume=1 61=2"}},
        {2, {"catalogue --format xml"}},
        {3,
         {"get ringer-volumes", "get 0", "get 806", "describe Ringer-Volume", "list no*such", "set 61=5 no-such-item=1",
          "reset everything"}},
        {4, {"set ringer-volume=9", "set 108=<Schema/>", "set codec[1]/type=0", "get 632"}},
        {5, {"get function-key-def-100"}}};
    for (auto const& [status, commands] : cases)
        for (auto const& command : commands)
            EXPECT_EQ(tool(words(command)).status, status) << command;
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
    std::pair<int, std::vector<char const*>> const cases[]{
        {61, {"ringer-volume", "AudioSettings/RingerVolume", "RingerVolume"}},
        {109, {"codec[1]/type", "codecSettings/codec[1]/type", "CodecType1"}},
        {82, {"play-dtmf", "AudioSettings/play-dtmf"}},
        {633, {"country"}},
        {797, {"OpusTest"}},
        {129, {"DistinctiveRinging"}}};
    for (auto const& [tag, names] : cases) {
        for (auto const* const name : names) {
            auto const found = tool({"describe", "--json", name}).json();
            ASSERT_TRUE(found.is_object()) << name;
            EXPECT_EQ(found["item"]["tag"], tag) << name;
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
        {"ringer-enabled", "loud", "The provided value 'loud' is not supported! Allowed: true;false;beep;"},
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
        Texts runs{"set --watch " + item + "=" + one.accepted,
                   "get " + item,
                   "list " + item,
                   "describe " + item,
                   "set " + item + "=" + one.accepted,
                   "set --dry-run " + item + "=" + one.accepted + "x"};
        if (one.refused)
            runs.push_back("set " + item + "=" + one.refused);
        for (auto const& command : runs) {
            for (auto const* extra : {" --log-level=6", " --log-level=6 --json"}) {
                auto const answer = tool(words(command + extra));
                EXPECT_EQ((answer.out + answer.err).find("Zebra"), std::string::npos) << command << answer.out << answer.err;
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
    for (char const* const question : {"list", "get 1 57 60 108", "set 1=2", "describe 190", "reset audio", "catalogue",
                                       "get nothing", "get", "frobnicate"}) {
        auto const answer = tool(words(question + std::string(" --json")));
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

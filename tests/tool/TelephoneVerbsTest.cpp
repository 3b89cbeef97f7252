// The verbs about tables, the management service, the flag file, the device and the shell, run as a user runs them.
#include "ToolRunner.h"

#include <sys/resource.h>

namespace ToolTest {

class TelephoneVerbs : public ToolRunner {
protected:
    /// One column of a table, top to bottom.
    std::string column(std::string const& table, std::string const& name) const
    {
        std::string text;
        auto const json = tool({"table", table, "--json"}).json();
        for (auto const& row : json[table])
            text += row[name].dump() + " ";
        return text;
    }

    std::string value(std::string const& item) const { return tool({"get", item}).out; }
};

TEST_F(TelephoneVerbs, ShowEachTableInText)
{
    for (auto const* const table : {"codec", "srtp", "headset", "ringing", "door-openers", "cameras", "group-pickup"}) {
        auto const answer = tool({"table", table});
        EXPECT_EQ(answer.status, 0) << table;
        EXPECT_FALSE(answer.out.empty()) << table;
        EXPECT_TRUE(tool({"table", table, "--json"}).json().contains(table));
    }
    EXPECT_EQ(column("codec", "type") + column("codec", "allowed"), "3 0 2 1 true true true false ");
    EXPECT_EQ(column("srtp", "method"), "2 4 3 1 0 ");
    EXPECT_EQ(column("headset", "rank"), "1 2 3 ");
    EXPECT_EQ(column("door-openers", "name"), R"("DoorOpener 1" "DoorOpener 2" "DoorOpener 3" "DoorOpener 4" )");
}

TEST_F(TelephoneVerbs, TellTheCodecsVerdictByItsTypeNotByItsRow)
{
    ASSERT_EQ(tool({"flags", "opus_test=false"}).status, 0); // Takes the verdict of type 3 away.
    EXPECT_EQ(column("codec", "hardware"), "false true true true ");
    ASSERT_EQ(tool({"set", "codec[1]/type=0", "codec[2]/type=3"}).status, 0);
    EXPECT_EQ(column("codec", "type") + column("codec", "hardware"), "0 3 2 1 true false true true ");
}

TEST_F(TelephoneVerbs, AnswerAManagementSetItemByItem)
{
    auto const answer = tool({"mgmt", "set", "--json", "ringer-volume=6", "moh-enabled=maybe", "country=DE"});
    EXPECT_EQ(answer.status, 4);
    std::string results;
    auto const json = answer.json();
    for (auto const& item : json["items"])
        results += item["item"].get<std::string>() + " " + item["result"].get<std::string>() + "; ";
    EXPECT_EQ(results, "ringer-volume taken; moh-enabled refused; country ignored; ");
    EXPECT_EQ(json["items"][1]["reason"], "The provided value is not valid");
    EXPECT_EQ(value("ringer-volume"), "6\n");
    auto const unchanged = tool({"mgmt", "set", "--json", "ringer-volume=6"}).json();
    EXPECT_EQ(unchanged["items"][0]["reason"], "UNCHANGED_DATA: ringer-volume");
    EXPECT_EQ(unchanged["exit"], 4);
    rlimit limit{};
    ::getrlimit(RLIMIT_FSIZE, &limit);
    rlimit const full{2000, limit.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &full);
    auto const failed = tool({"mgmt", "set", "--json", "headset[1]/allowed=false"}).json();
    auto const reset = tool({"mgmt", "reset-user-data"});
    ::setrlimit(RLIMIT_FSIZE, &limit);
    EXPECT_TRUE(failed["items"][0]["result"] == "failed" && failed["exit"] == 5 && reset.status == 5) << failed << reset.err;
    ASSERT_EQ(tool({"set", "ringer-melody-0=5"}).status, 0);
    EXPECT_EQ(tool({"mgmt", "reset-user-data"}).status, 0);
    EXPECT_EQ(value("headset[1]/allowed") + value("ringer-volume") + value("ringer-melody-0"), "true\n3\n2\n");
}

TEST_F(TelephoneVerbs, HideWhatTheDeviceCannotUse)
{
    struct {
        char const *model, *usb, *root;
        std::size_t hidden;
    } const cases[]{{"entry", "no", "codecSettings", 8},     {"top", "no", "codecSettings", 4},
                    {"top", "yes", "headsetPriorities", 0},  {"top", "no", "headsetPriorities", 3},
                    {"other", "no", "headsetPriorities", 6}, {"other", "no", "SRTPEncryptionSettings", 9}};
    for (auto const& one : cases) {
        ASSERT_EQ(tool({"device", "--model", one.model, "--usb", one.usb}).status, 0);
        std::size_t hidden = 0;
        auto const json = tool({"mgmt", "get", one.root, "--json"}).json();
        for (auto const& item : json["items"])
            hidden += item["value"].is_null();
        EXPECT_EQ(hidden, one.hidden) << one.root << " " << one.model << " " << one.usb;
    }
}

TEST_F(TelephoneVerbs, WriteTheFlagFileAsTheLibraryReadsIt)
{
    auto const file = dataDirectory() / "data/database/media_config";
    EXPECT_EQ(tool({"flags", "force_etsi", "aes256_test=true"}).status, 0);
    EXPECT_EQ(slurp(file), "force_etsi\naes256_test true\n");
    EXPECT_EQ(value("805") + value("798") + value("799"), "true\ntrue\nfalse\n");
    EXPECT_EQ(tool({"flags", "force_etsi", "no_such_flag"}).status, 3);
    EXPECT_EQ(tool({"flags", "force_etsi=yes"}).status, 4);
    EXPECT_EQ(slurp(file), "force_etsi\naes256_test true\n");
    EXPECT_EQ(tool({"flags", "force_etsi="}).status, 0);
    EXPECT_EQ(slurp(file), "aes256_test true\n");
    EXPECT_EQ(tool({"flags", "aes256_test="}).status, 0);
    EXPECT_FALSE(std::filesystem::exists(file));
    EXPECT_EQ(value("798"), "false\n");
}

TEST_F(TelephoneVerbs, RunInOneProcessThatTellsOfChangesAsTheyCome)
{
    auto const answer =
        tool({"shell"}, "# a comment\n\nset 'ringer-volume=5'\nwatch handset*\nset headset-volume=5\n"
                        "mgmt set handset-volume=4\nset ringer-volume=9\nget \"open\nexit\nset ringer-volume=1\n");
    EXPECT_EQ(answer.status, 4);
    EXPECT_NE(answer.out.find("* ringer-volume = 5\n"), std::string::npos);
    EXPECT_EQ(answer.out.find("* headset-volume"), std::string::npos);
    EXPECT_NE(answer.out.find("* handset-volume = 4\n"), std::string::npos);
    EXPECT_NE(answer.err.find("a quote is not closed"), std::string::npos);
    EXPECT_EQ(value("ringer-volume"), "5\n");
}

} // namespace ToolTest

// Secrets go in by every way there is and are asked for by every verb, with the log at its highest level: none may come out
// again, neither on the two streams nor in a file. A new verb is a new line of the table; `%` stands for the secret.
#include "ToolRunner.h"

#include <sstream>

namespace ToolTest {

class Secrets : public ToolRunner {};

struct Line {
    char const* words;
    char const* input = "";
};

constexpr Line lines[]{
    {"set camera-password-1=%"},
    {"set ice-server-pwd-0=% door-opener-pin-1=% door-opener-password-1=% ringer-volume=5"},
    {"set --watch ice-server-pwd-1=% door-opener-pin-2=%"},
    {"set --dry-run camera-password-2=%"},
    {"set --file -", "camera-password-2=%\ndoor-opener-pin-3=%\n"},
    {"set camera-password-1=%-much-too-long-to-be-taken door-opener-pin-1=%-much-too-long-to-be-taken ringer-volume=9"},
    {"mgmt set camera-password-3=% door-opener-pin-4=% ringer-volume=6"},
    {"mgmt set camera-password-3=%-much-too-long-to-be-taken ringer-volume=9"},
    {"mgmt changed camera-password-4=%"},
    {"get camera-password-1 ice-server-pwd-0 door-opener-pin-1"},
    {"list"},
    {"list *password*"},
    {"describe door-opener-password-1"},
    {"table door-openers"},
    {"table cameras"},
    {"mgmt get camera-password-1 camera-password-3 door-opener-pin-4"},
    {"mgmt journal"},
    {"mgmt reset-user-data"},
    {"explain camera-password-1"},
    {"diff"},
    {"diff --commands"},
    {"export"},
    {"export --secrets --passphrase-file -", "the words that lock it\n"},
    {"history"},
    {"reset audio"},
    {"mobility unmanaged"},
    {"device --model entry"},
    {"shell",
     "watch *password*\nset camera-password-4=% door-opener-pin-1=%x\nmgmt set camera-password-4=%y\nlist\nmgmt journal\n"},
};

std::string filled(std::string text, std::string const& secret)
{
    for (auto at = text.find('%'); at != std::string::npos; at = text.find('%'))
        text.replace(at, 1, secret);
    return text;
}

TEST_F(Secrets, ComeOutNowhere)
{
    std::string const mark = "Zq7Secret";
    int number = 0;
    for (auto const& line : lines)
        for (std::string const form : {"", " --json"}) {
            auto const secret = mark + std::to_string(++number);
            std::istringstream text("--log-level=6 " + filled(line.words, secret) + form);
            auto const answer = tool({std::istream_iterator<std::string>(text), {}}, filled(line.input, secret));
            EXPECT_TRUE(answer.status == 0 || answer.status == 4) << line.words << answer.err;
            EXPECT_NE(answer.err.find("log "), std::string::npos) << line.words << " logs nothing";
            for (auto const& shown : {answer.out, answer.err})
                EXPECT_EQ(shown.find(mark), std::string::npos)
                    << line.words << form << ": " << shown.substr(shown.find(mark));
        }
    for (auto const& each : std::filesystem::recursive_directory_iterator(dataDirectory()))
        EXPECT_TRUE(each.is_directory() || slurp(each.path()).find(mark) == std::string::npos) << each.path();
    for (auto const* const item : {"camera-password-1", "camera-password-4", "door-opener-pin-4", "ice-server-pwd-1"}) {
        EXPECT_EQ(tool({"get", "--show-secrets", item}).out.find(mark), 0U) << item << " was not stored at all";
        EXPECT_EQ(tool({"get", item}).out, "********\n");
    }
}

} // namespace ToolTest

// Secrets go in by every way there is and are asked for by every verb, with the log at its highest level: none may come out
// again, neither on the two streams nor in a file. A new verb is a new line of the table; `%` stands for the secret.
#include "ToolRunner.h"

namespace ToolTest {

using Secrets = ToolRunner;

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
    {"import -", R"({"format": "mediadata export", "version": 1, "settings": {"camera-password-1": "%", "61": 4}})"},
    {"import -",
     R"({"format": "mediadata export", "version": 1, "settings": {"DoorOpener1Pin": "%-much-too-long-to-take"}})"},
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
    int number = 0, searched = 0;
    auto const expectNone = [&](std::string const& shown, std::string const& of, int places) {
        EXPECT_EQ(shown.find(mark), std::string::npos) << of << ": " << shown.substr(shown.find(mark));
        searched += places;
    };
    for (std::string const others : {"", "serve,watch,watch --json"}) { // alone, and served by a process that others watch
        std::vector<std::unique_ptr<Process>> processes;
        for (auto const& words : split(others, ',')) {
            processes.emplace_back(new Process(start(std::to_string(processes.size()), wordsOf("--log-level=6 " + words))));
            EXPECT_TRUE(words == "serve" ? processes.back()->says("serving ") : true);
        }
        for (auto const& line : lines)
            for (std::string const form : {"", " --json"}) {
                auto const secret = mark + std::to_string(++number);
                auto const answer = run("--log-level=6 " + filled(line.words, secret) + form, filled(line.input, secret));
                bool const refused = !processes.empty() && line.words == std::string("shell"); // its watch
                EXPECT_EQ(answer.status, answer.status == 0 ? 0 : refused ? 2 : 4) << line.words << answer.err;
                EXPECT_NE((answer.err + (processes.empty() ? "" : processes.front()->err())).find("log "), std::string::npos)
                    << line.words << " logs nothing";
                expectNone(answer.out + answer.err, line.words + form, 2);
            }
        for (auto const& process : processes) {
            EXPECT_TRUE(process == processes.front() ? true : process->says("camera-password-1"));
            process->end(SIGTERM);
            expectNone(process->out() + process->err(), others, 2);
        }
    }
    for (auto const& each : std::filesystem::recursive_directory_iterator(dataDirectory()))
        if (!each.is_directory())
            expectNone(contentOf(each.path()), each.path(), 1);
    std::cout << "secrets: " << number << " command lines, " << searched
              << " streams and files searched: " << (HasFailure() ? "failed\n" : "0 hits\n");
    for (std::string const item : {"camera-password-1", "camera-password-4", "door-opener-pin-4", "ice-server-pwd-1"}) {
        EXPECT_EQ(out("get --show-secrets " + item).find(mark), 0U) << item << " was not stored at all";
        EXPECT_EQ(out("get " + item), "********\n");
    }
}

TEST_F(Secrets, AreUnreadableWithoutTheirKeyUntilItIsBackOrTheyAreSetAgain)
{
    run("set ice-server-pwd-0=one ice-server-pwd-1=two door-opener-type-1=1 door-opener-pin-1=3"); // The PIN takes no cipher text.
    auto const key = dataDirectory() / "secret.key";
    std::filesystem::rename(key, root() / "kept");
    run("set ice-server-pwd-1=new");
    std::string shown;
    auto const see = [&](std::string const& words, std::string const& input = {}) {
        auto const answer = run(words, input);
        shown += answer.out + answer.err;
        return answer;
    };
    for (std::string const form : {" --show-secrets", " --json --show-secrets", " --json"})
        for (std::string const words :
             {"list *pwd*", "list --changed", "describe door-opener-pin-1", "explain ice-server-pwd-0", "diff",
              "explain door-opener-pin-1", "table door-openers", "mgmt get ice-server-pwd-0", "export",
              "watch --initial --until=door-opener-type-1=1 door-*-1", "history", "get ice-server-pwd-0",
              "get door-opener-pin-1"}) {
            auto const answer = see(words + form);
            EXPECT_NE((answer.out + answer.err).find("unreadable"), std::string::npos) << words << form;
            EXPECT_EQ(answer.status, words.starts_with("get") ? 5 : 0) << words << form;
        }
    EXPECT_EQ(out("get --show-secrets ice-server-pwd-1"), "new\n");
    EXPECT_NE(see("diff --commands --show-secrets").out.find("# left out, unreadable: door-opener-pin-1"),
              std::string::npos);
    auto const box = see("export --secrets --passphrase-file -", "words\n").out;
    std::filesystem::rename(root() / "kept", key);
    write("words", "words\n");
    EXPECT_EQ(see("import --secrets --passphrase-file " + (root() / "words").string() + " -", box).status, 0);
    EXPECT_EQ(out("get --show-secrets ice-server-pwd-0 ice-server-pwd-1 door-opener-pin-1"),
              "ice-server-pwd-0 = one\nice-server-pwd-1 = new\ndoor-opener-pin-1 = 3\n");
    EXPECT_EQ(shown.find("x1:"), std::string::npos) << shown;
    EXPECT_EQ(status("set ice-server-pwd-0=x1:" + std::string(56, 'A')), 4) << "cipher text taken for a secret";
}

} // namespace ToolTest

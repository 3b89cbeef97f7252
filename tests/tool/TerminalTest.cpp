// What a person at a terminal sees and types.
#include "ToolRunner.h"

#include "cli/Registry.h"
#include "report/Text.h"

namespace ToolTest {

TEST(Text, ShowsWhatATerminalObeysAndWhatNobodySees)
{
    struct {
        std::string text, shown;
        std::size_t columns;
    } const cases[]{{"Müller", "Müller", 6},
                    {"\x1b[2J\r\n\t\x7f", R"(\x1b[2J\x0d\n\t\x7f)", 19},
                    {"a\xc2\x9b"
                     "b",
                     R"(a\u{9b}b)", 8},
                    {"\u202egnp\u2066\u200f\u061c", R"(\u{202e}gnp\u{2066}\u{200f}\u{61c})", 34},
                    {"a\u200b\u200d\u2060\ufeff", R"(a\u{200b}\u{200d}\u{2060}\u{feff})", 33},
                    {"\xff\xc3", R"(\xff\xc3)", 8},
                    {"\xc0\xaf\xed\xa0\x80\xf4\x90\x80\x80", R"(\xc0\xaf\xed\xa0\x80\xf4\x90\x80\x80)", 36}, // no UTF-8
                    {"電話 e\u0301", "電話 e\u0301", 6}};
    for (auto const& [text, shown, columns] : cases) {
        EXPECT_EQ(Tool::escaped(text), shown);
        EXPECT_EQ(Tool::width(shown), columns) << shown;
    }
    EXPECT_EQ(Tool::escaped("a\n\u202e", "\n"), "a\n\\u{202e}");
    EXPECT_EQ(Tool::beginning("電話e\u0301x", 5), "電話e\u0301");
    EXPECT_EQ(Tool::beginning("電話", 3), "電");
}

/// Of every verb, whatever it says about a value.
struct TerminalOf : ToolRunner {};

TEST_F(TerminalOf, AnyVerbShowsNoValueThatTheTerminalObeys)
{
    std::string const value = "a\u202eb\u200b\xff\x1b[31m";
    for (auto const* const item : {"camera-url-1", "camera-username-1"})
        ASSERT_EQ(tool({"set", item + ("=" + value)}).status, 0);
    for (std::string const command : {"list camera", "get camera-url-1 camera-username-1", "describe camera-url-1",
                                      "explain camera-url-1", "diff", "history", "table cameras", "mgmt get camera-url-1",
                                      "export", "diff --commands", "reset --dry-run camera-url-1"}) {
        Terminal terminal(dataDirectory(), command + " --color never");
        EXPECT_EQ(terminal.end(), 0) << terminal.said();
        EXPECT_EQ(terminal.said().find_first_of("\x1b\xff\xe2"), std::string::npos) << terminal.said();
    }
    auto const refusal = tool({"get", value}).err + tool({value}).err + tool({"set", "ringer-volume=" + value}).out;
    EXPECT_EQ(refusal.find_first_of("\x1b\xff\xe2"), std::string::npos) << refusal;
    EXPECT_EQ(out("get camera-url-1"), value + '\n');
}

TEST_F(TerminalOf, ThisWidthATableIsMadeFor)
{
    std::string const value(50, 'x');
    ASSERT_EQ(tool({"set", "camera-url-1=" + value}).status, 0);
    struct {
        char const* columns;
        std::string command;
        bool isWhole, hasDefault;
    } const cases[]{{"60", "list camera-url-1", false, false},
                    {"60", "list camera-url-1 --full", true, false},
                    {"160", "list camera-url-1", true, true},
                    {"160", "list camera-url-1 --full", true, true}};
    for (auto const& [columns, command, isWhole, hasDefault] : cases) {
        ::setenv("COLUMNS", columns, 1);
        Terminal terminal(dataDirectory(), command);
        EXPECT_EQ(terminal.end(), 0);
        EXPECT_EQ(terminal.said().find(value) != std::string::npos, isWhole) << terminal.said();
        EXPECT_EQ(terminal.said().find("DEFAULT") != std::string::npos, hasDefault) << terminal.said();
        EXPECT_EQ(out(command).find("DEFAULT"), std::string::npos);
    }
    ::unsetenv("COLUMNS");
}

TEST_F(TerminalOf, AShellLosesOnlyTheLineByABreak)
{
    ASSERT_EQ(status("get 61"), 0);
    for (bool const isHeld : {false, true}) {
        std::optional<Process> holder;
        if (isHeld) {
            holder.emplace(root() / "holder", Words{"--data-dir", dataDirectory().string(), "serve"});
            ASSERT_TRUE(holder->says("serving "));
        }
        std::string const prompt = isHeld ? "mediadata (process " + holder->number() + ")> " : "mediadata> ";
        Terminal terminal(dataDirectory(), "shell");
        ASSERT_TRUE(terminal.says(prompt)) << terminal.said();
        terminal.type("set ringer-volume=6");
        ASSERT_TRUE(terminal.says("volume=6")) << terminal.said();
        terminal.type("\x03");
        ASSERT_TRUE(terminal.says("^C\r\n")) << terminal.said();
        ASSERT_TRUE(terminal.says(prompt)) << terminal.said();
        terminal.type("get ringer-volume\n");
        EXPECT_TRUE(terminal.says("\n3\r\n")) << terminal.said();
        terminal.type("exit\n");
        EXPECT_EQ(terminal.end(), 0) << terminal.said();
    }
}

TEST_F(TerminalOf, AShellWorksThroughAHolderAndWithoutItWhenItIsGone)
{
    write("values", "headset-volume=3\n");
    ASSERT_EQ(status("get 61"), 0);
    Process holder(root() / "holder", {"--data-dir", dataDirectory().string(), "serve"});
    ASSERT_TRUE(holder.says("serving "));
    auto const answer = run("shell", "set --file " + (root() / "values").string() +
                                         "\nset --ask ice-server-pwd-0\nZebra\n"
                                         "watch\nserve\nget headset-volume --json\n");
    EXPECT_EQ(answer.status, 2) << answer.out << answer.err;
    EXPECT_NE(answer.err.find("watch: another process has the telephone"), std::string::npos) << answer.err;
    EXPECT_NE(answer.out.find("\"value\": 3"), std::string::npos) << answer.out;

    auto shell = start("shell", {"shell", "--show-secrets", "--json"}, "get ice-server-pwd-0\nset ringer-volume=7\n");
    EXPECT_EQ(shell.end(), 0) << shell.err();
    EXPECT_NE(shell.out().find("\"Zebra\""), std::string::npos) << shell.out();

    Terminal terminal(dataDirectory(), "shell");
    ASSERT_TRUE(terminal.says("> "));
    EXPECT_EQ(holder.end(SIGTERM), 0);
    terminal.type("set ringer-volume=6\n");
    EXPECT_TRUE(terminal.says("no longer holds the data directory; each line now opens it")) << terminal.said();
    EXPECT_TRUE(terminal.says("\nmediadata> ")) << terminal.said();
    EXPECT_EQ(out("get ringer-volume"), "6\n");
    terminal.type("exit\n");
    EXPECT_EQ(terminal.end(), 0) << terminal.said();
}

/// In a directory such as the examples are for.
TEST_F(TerminalOf, TheHelpOfEachVerbShowsExamplesThatWork)
{
    telephone = "phones/one";
    write("template.json", R"({"format": "mediadata export", "version": 1, "settings": {"ringer-melody": 2}})");
    ::setenv("MEDIADATA_DIR", dataDirectory().c_str(), 1);
    auto const path = std::filesystem::path(MEDIADATA_TOOL).parent_path().string() + ":" + ::getenv("PATH");
    Tool::Registry const registry(Tool::Place::Process);
    for (auto const& verb : registry.verbs) {
        if (std::holds_alternative<Tool::Group>(verb.action))
            continue;
        std::filesystem::remove_all(root() / "phones");
        std::filesystem::create_directory(root() / "phones");
        ASSERT_EQ(status("get 61"), 0);
        auto const help = out(verb.name + " --help");
        std::size_t count = 0;
        for (auto const& line : split(help.substr(0, help.find("With --json")), '\n')) {
            if (line.find(" mediadata ") == std::string::npos || line.starts_with("Usage"))
                continue;
            ++count;
            auto const* const command = "cd \"$1\" && PATH=$2 && eval \"$3\"";
            bool const lasts = verb.lasting && line.find("--until") == std::string::npos;
            auto const typed = (lasts ? "exec " : "") + line;
            Process process(root() / (verb.name + std::to_string(count)), {"-ec", command, "", root().string(), path, typed},
                            "", "/bin/sh");
            EXPECT_TRUE(!lasts || process.says(verb.lasting->doing)) << line;
            EXPECT_EQ(process.end(lasts ? SIGTERM : 0), 0) << line << process.out() << process.err();
        }
        EXPECT_GE(count, 2U) << help;
        EXPECT_EQ(help.find("Exit status"), std::string::npos) << "the same for all verbs";
    }
    ::unsetenv("MEDIADATA_DIR");
}

} // namespace ToolTest

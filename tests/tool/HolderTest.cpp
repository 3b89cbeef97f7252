// A process that holds the data directory and serves the others: real processes, and hostile bytes at its socket.
#include "ToolRunner.h"

#include "cli/Seclusion.h"

#include <sys/fsuid.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>

namespace ToolTest {

struct Holder : ToolRunner {
    /// What waits for no disk makes many changes in no time.
    static void SetUpTestSuite() { ::setenv("TMPDIR", "/dev/shm", 0); }

    /// Longer than the address of a socket may be.
    std::filesystem::path dataDirectory() const override { return root() / std::string(150, 'd') / "telephone"; }

    void hold()
    {
        m_holder.reset(new Process(start("holder", {"serve"})));
        ASSERT_TRUE(m_holder->says("serving "));
    }

    /// A new socket with what connect() or bind() made of the name in the data directory.
    template <class Call> std::pair<int, int> socketAfter(Call const& call) const
    {
        auto const directory = ::open(dataDirectory().c_str(), O_PATH | O_CLOEXEC);
        auto const socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        ("/proc/self/fd/" + std::to_string(directory) + "/mediadata.socket").copy(address.sun_path, 100);
        auto const failed = call(socket, reinterpret_cast<sockaddr*>(&address), sizeof address);
        ::close(directory);
        return {socket, failed};
    }

    /// A connection on which these bytes were sent; -1 when it is refused.
    int send(std::string const& bytes) const
    {
        auto const [socket, failed] = socketAfter(::connect);
        [[maybe_unused]] auto const sent = ::send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        return failed == 0 ? socket : -1;
    }

    static std::string wire(Words const& texts)
    {
        std::string all;
        for (auto const& text : texts)
            all += std::to_string(text.size()) + ':' + text + ',';
        return std::to_string(all.size()) + ':' + all + ',';
    }

    std::unique_ptr<Process> m_holder;
};

TEST_F(Holder, LetsEveryVerbAnswerAsItDoesAlone)
{
    write("values", "headset-volume = 3\nringer-audio-file = \"\xff\xfe\"\n");
    write("key", "Kupfer\n");
    auto const commands = split(
        "set ringer-volume=5 camera-password-1=Zebra;set --watch ringer-volume=9 room-character=1;set --file -;flags;"
        "set --file values;set --file /dev/no/such;set --dry-run 61=2;get 61 nothing;get 63 camera-password-1;describe 61;"
        "explain codec[1]/allowed;list;table codec;set codec[1]/type=0;mgmt set rtp-base-port=5005;country KR;catalogue;"
        "mgmt get codecSettings;mgmt changed function-key-def-100=line;mobility managed;device --model entry;diff;diff "
        "values;"
        "diff --commands;reset audio;export;export --secrets --passphrase-file no;import values;"
        "import - --passphrase-file key;--color always set 61=9;watch nothing;frobnicate;get --no",
        ';');
    auto const answers = [&] {
        std::vector<Answer> result;
        for (auto const& command : commands) {
            for (std::string const extra : {"", " --json", " --show-secrets"}) {
                auto& answer = result.emplace_back(run(command + extra, "moh-enabled=false\n"));
                // What start-up logs belongs to the process that started.
                while (answer.err.starts_with("log "))
                    answer.err.erase(0, answer.err.find('\n') + 1);
            }
        }
        return result;
    };
    std::filesystem::current_path(root());
    auto const alone = answers();
    std::filesystem::remove_all(dataDirectory());
    hold();
    auto const held = answers();
    std::filesystem::current_path("/");
    for (std::size_t at = 0; at < alone.size(); ++at)
        EXPECT_EQ(held[at], alone[at]) << commands[at / 3];
    EXPECT_EQ(m_holder->end(SIGTERM), 0);
    EXPECT_FALSE(std::filesystem::exists(dataDirectory() / "mediadata.socket"));
}

TEST_F(Holder, TellsAWatcherWhatAThirdProcessChanges)
{
    hold();
    auto asText = start("text", {"watch", "*-password-1", "--count", "2"});
    auto asJson = start("json", {"watch", "--json"});
    EXPECT_TRUE(asText.says("watching "));
    EXPECT_TRUE(asJson.says("watching "));
    run("set --watch camera-password-1=Zebra door-opener-password-1=Zebra ringer-volume=7");
    EXPECT_EQ(asText.end(), 0);
    EXPECT_EQ(asText.out().find("Zebra"), std::string::npos);
    EXPECT_NE(asText.out().find(" camera-password-1 = ********"), std::string::npos);
    EXPECT_TRUE(asJson.says(R"("item":"ringer-volume","old":3,"new":7})"));
    EXPECT_EQ(m_holder->end(SIGINT), 0);
    EXPECT_EQ(asJson.end(), 5);
    for (auto const& line : split(asJson.out(), '\n'))
        EXPECT_TRUE(nlohmann::json::accept(line)) << line;
    EXPECT_EQ(status("watch --count 1 --timeout 1"), 1);
}

/// While a shell counts watchers come: each sees the value that there is and all that follow, none twice.
TEST_F(Holder, TellsAWatcherWhatThereIsAndThenAllThatFollows)
{
    run("set ringer-audio-file=100");
    std::string lines;
    for (int count = 101; count <= 700; ++count)
        lines += "set ringer-audio-file=" + std::to_string(count) + '\n';
    auto counting = start("counting", {"shell"}, lines);
    EXPECT_TRUE(counting.says("= 110\n"));
    auto const watch =
        wordsOf("watch --until ringer-audio-file=700 --initial --json --data-dir " + dataDirectory().string());
    std::list<Process> watchers;
    for (int number = 0; number < 6; ++number)
        watchers.emplace_back(root() / std::to_string(number), watch);
    for (auto& watcher : watchers) {
        EXPECT_EQ(watcher.end(), 0);
        auto const told = split(watcher.out(), '\n');
        auto expected = 0;
        for (auto const& line : told) {
            auto const change = nlohmann::json::parse(line);
            auto const value = std::stoi(change["new"].get<std::string>());
            EXPECT_EQ(value, expected == 0 ? value : expected);
            EXPECT_EQ(change["old"].is_null(), expected == 0);
            expected = value + 1;
        }
        EXPECT_EQ(expected, 701);
    }
    EXPECT_GT(split(watchers.front().out(), '\n').size(), 1U) << "it came when all was over";
    EXPECT_EQ(status("watch --until ringer-audio-file=701 --timeout 1"), 1);
}

TEST_F(Holder, KeepsSecretsOutOfCommandLinesAndDumps)
{
    for (bool const isServed : {false, true}) {
        if (isServed)
            hold();
        auto const asked = run("set --ask camera-password-1 61=5 --ask camera-password-2", "Zebra\n=Zebu");
        EXPECT_EQ(asked.err, "");
        EXPECT_EQ(out("get --show-secrets camera-password-1 camera-password-2"),
                  "camera-password-1 = Zebra\ncamera-password-2 = =Zebu\n");
        EXPECT_EQ(status("set --ask camera-password-1"), 2);
        EXPECT_EQ(status("set --ask no-such-item"), 3);
        EXPECT_NE(run("set camera-password-1=Gnu camera-password-2=Gnu").err.find("camera-password-1: a secret among"),
                  std::string::npos);
        EXPECT_EQ(run("set camera-password-1= 61=4 --yes").err, "");
    }
    EXPECT_NE(contentOf("/proc/" + m_holder->number() + "/limits").find("core file size        0  "), std::string::npos);
    auto const child = ::fork();
    if (child == 0) {
        Tool::secludeProcess();
        ::_exit(::prctl(PR_GET_DUMPABLE));
    }
    int dumpable = -1;
    ::waitpid(child, &dumpable, 0);
    EXPECT_EQ(dumpable, 0);
}

TEST_F(Holder, SaysWhenItIsReady)
{
    auto const service = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{AF_UNIX, ""};
    auto const name = "@mediadata-" + std::to_string(::getpid());
    name.copy(address.sun_path, sizeof address.sun_path);
    address.sun_path[0] = '\0';
    auto const size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + name.size());
    ASSERT_EQ(::bind(service, reinterpret_cast<sockaddr*>(&address), size), 0);
    auto const told = [&] {
        char text[64];
        pollfd waiting{service, POLLIN, 0};
        ::poll(&waiting, 1, 20000);
        auto const length = ::recv(service, text, sizeof text, MSG_DONTWAIT);
        return std::string(text, static_cast<std::size_t>(std::max<ssize_t>(length, 0)));
    };
    int ready[2];
    ASSERT_EQ(::pipe(ready), 0);
    ::setenv("NOTIFY_SOCKET", name.c_str(), 1);
    auto holder = start("serving", {"serve", "--ready-fd", std::to_string(ready[1])});
    ::close(ready[1]);
    EXPECT_EQ(readAll(ready[0]), "ready\n");
    EXPECT_EQ(told(), "READY=1");
    for (int const signal : {SIGTERM, 0}) { // of one that works through the first, and ends by itself
        auto watcher = start("watching", {"watch", "--timeout", signal == 0 ? "1" : "100"});
        EXPECT_EQ(told(), "READY=1");
        EXPECT_EQ(watcher.end(signal), 0);
        EXPECT_EQ(told(), "STOPPING=1");
    }
    ::unsetenv("NOTIFY_SOCKET");
    EXPECT_EQ(holder.end(SIGTERM), 0);
    EXPECT_EQ(told(), "STOPPING=1");
    ::close(service);
    EXPECT_EQ(status("serve --ready-fd 999"), 2);
}

TEST_F(Holder, LeavesNothingInTheWayWhenItIsKilled)
{
    hold();
    auto const refused = run("serve");
    EXPECT_EQ(refused.status, 5);
    EXPECT_NE(refused.err.find("process " + m_holder->number()), std::string::npos) << refused.err;
    EXPECT_EQ(status("set ringer-volume=8"), 0);
    m_holder->end(SIGKILL);
    EXPECT_EQ(out("get ringer-volume"), "8\n");
    hold();
    m_holder->end(SIGKILL);
    std::filesystem::remove(dataDirectory() / "mediadata.socket");
    std::filesystem::create_symlink("/dev/null", dataDirectory() / "mediadata.socket");
    EXPECT_EQ(status("serve"), 5);
    EXPECT_EQ(out("get ringer-volume"), "8\n");
}

TEST_F(Holder, IsWaitedForInAQueueButNotForever)
{
    hold();
    auto const queueIsServedAfter = [&](std::string const& name, auto const& letGo) {
        // Whether it serves and is stopped, or has the lock alone.
        auto const refused = run("--timeout 2 get 61");
        EXPECT_EQ(refused.status, 5);
        EXPECT_NE(refused.err.find("waiting"), std::string::npos) << refused.err;
        EXPECT_NE(refused.err.find("in use by process " + name + "; waited 2 s for it\n"), std::string::npos) << refused.err;
        std::list<Process> queue;
        for (int command = 0; command < 200; ++command)
            queue.emplace_back(root() / ("queued" + std::to_string(command)),
                               Words{"--data-dir", dataDirectory().string(), "--timeout", "300", "set", "61=5"});
        EXPECT_TRUE(queue.back().says("waiting"));
        letGo();
        for (auto& command : queue)
            EXPECT_EQ(command.end(), 0) << command.err();
    };
    m_holder->signal(SIGSTOP);
    queueIsServedAfter(m_holder->number(), [&] { m_holder->signal(SIGCONT); });
    m_holder->end(SIGTERM);
    auto const lock = ::open((dataDirectory() / "mediadata.lock").c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_EQ(::flock(lock, LOCK_EX), 0);
    ASSERT_EQ(::write(lock, "4711\n", 5), 5);
    queueIsServedAfter("4711", [&] { ::close(lock); });
}

TEST_F(Holder, SurvivesWhateverComesThroughItsSocket)
{
    hold();
    auto const good = wire({"mediadata 2", "word", "get", "word", "61"});
    for (auto const& bytes : {std::string("GET / HTTP/1.1\r\n"), good.substr(0, good.size() - 1), std::string(100000, '1'),
                              wire({"mediadata 2", "word", "serve"}), wire({"mediadata 3"}), wire(Words(70000, "x"))}) {
        auto const socket = send(bytes);
        ::shutdown(socket, SHUT_WR);
        EXPECT_EQ(readAll(socket).find("3:out"), std::string::npos) << bytes.substr(0, 40);
        EXPECT_EQ(out("get 61"), "3\n") << bytes.substr(0, 40);
    }
    for (int idle = 0; idle < 40; ++idle)
        ASSERT_GE(send(good.substr(0, good.size() - 1)), 0);
    EXPECT_EQ(out("get 61"), "3\n");
    EXPECT_EQ(m_holder->end(SIGTERM), 0);
}

TEST_F(Holder, AnswersOtherVersionsInOneSentence)
{
    hold();
    EXPECT_EQ(readAll(send(wire({"mediadata 0", "verb", "get"}))),
              wire({"refuse", "it speaks mediadata 2, this command mediadata 0; both have to be of one version"}));
    m_holder->end(SIGTERM);
    auto const [socket, failed] = socketAfter(::bind);
    ASSERT_EQ(failed + ::listen(socket, 1), 0);
    std::string const who = "mediadata: process " + std::to_string(::getpid()) + ", which holds the data directory";
    std::string const strange = who + ", answers what this command does not understand; both have to be of one version\n";
    std::pair<std::string, std::string> const answers[]{{wire({"refuse", "it is newer"}), who + ": it is newer\n"},
                                                        {wire({"welcome", "2"}), strange},
                                                        {wire({"begin"}) + wire({"say", "1", "3"}), strange},
                                                        {"HTTP/1.1 400\r\n", strange}};
    for (auto const& [bytes, sentence] : answers) {
        auto command = start("old", {"get", "61"});
        auto const connection = ::accept(socket, nullptr, nullptr);
        ASSERT_EQ(::write(connection, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
        EXPECT_EQ(command.end(), 5);
        EXPECT_EQ(command.err(), sentence);
        ::close(connection);
    }
    ::close(socket);
}

TEST_F(Holder, CanBeAnApplication)
{
    Process application(root() / "application", {dataDirectory().string(), "hold"}, "", EXAMPLE_CLIENT);
    ASSERT_TRUE(application.says("the tool is let in")) << application.err();
    auto watcher = start("watcher", {"watch", "ringer-*"});
    EXPECT_TRUE(watcher.says("watching "));
    EXPECT_EQ(out("get ringer-volume"), "6\n");
    EXPECT_EQ(status("set ringer-volume=7"), 0);
    EXPECT_TRUE(watcher.says("ringer-volume = 7 (was 6; #3 set by "));
    EXPECT_TRUE(application.says("ringer volume is now 7\n"));
    EXPECT_EQ(status("set ringer-volume=9"), 4);
    std::filesystem::create_directories(dataDirectory() / "data/database");
    write((dataDirectory() / "data/database/media_config").string(), "force_etsi\n");
    EXPECT_EQ(status("mgmt set ringer-volume=4"), 0);
    EXPECT_TRUE(application.says("ringer volume is now 4\n"));
    EXPECT_EQ(column(ask("history ForceEtsi")["history"], "door"), "flag file ");
    auto const history = ask("history ringer-volume")["history"];
    std::string told;
    for (auto const& entry : history)
        for (auto const& change : entry["changes"])
            told += entry["verb"].dump() + entry["door"].dump() + change["old"].dump() + change["new"].dump() + " ";
    EXPECT_EQ(told,
              R"(null"application"35 null"application"56 "set""command"67 "set""command"7"9" "mgmt set""management"74 )");
    EXPECT_EQ(application.end(SIGTERM), 0);
    EXPECT_EQ(watcher.end(), 5);
    EXPECT_EQ(out("get ringer-volume"), "4\n");
}

TEST_F(Holder, IsNotHeldUpByWatchersThatDoNotRead)
{
    hold();
    int socket = -1;
    char first = 0;
    for (int watcher = 0; watcher < 48; ++watcher) { // As many as leave room for commands.
        socket = send(wire({"mediadata 2", "word", "watch"}));
        ASSERT_EQ(::recv(socket, &first, 1, MSG_PEEK), 1);
    }
    EXPECT_EQ(status("watch --count 1 --timeout 1"), 5);
    for (int round = 0; round < 60; ++round) {
        Words words{"set", "ringer-audio-file=" + std::string(10000, static_cast<char>('A' + round))};
        for (int key = 100; key < 1000; key += 100) {
            for (int button = 0; button < 12; ++button)
                words.push_back("direct-video-" + std::to_string(key + button) + (round % 2 == 0 ? "=1" : "=0"));
        }
        EXPECT_EQ(tool(words).status, 0);
    }
    EXPECT_NE(readAll(socket, " changes missed\n").find(" changes missed\n"), std::string::npos);
    // A long answer that is being read when the holder is to end comes whole.
    auto const slow = send(wire({"mediadata 2", "word", "history", "word", "--limit", "word", "99999"}));
    ASSERT_EQ(::recv(slow, &first, 1, MSG_PEEK), 1);
    EXPECT_EQ(status("get 61"), 0); // which has its turn when the answer is on its way
    m_holder->signal(SIGTERM);
    EXPECT_TRUE(readAll(slow).ends_with(wire({"end", "0"})));
    EXPECT_EQ(m_holder->end(), 0);
}

TEST_F(Holder, AnswersNobodyElsesCommands)
{
    if (::geteuid() != 0)
        GTEST_SKIP() << "only root can act as another user";
    hold();
    auto const child = ::fork();
    if (child == 0) {
        // Another user for the holder, though the directory's own mode would keep that one out.
        bool const acts = ::seteuid(65534) == 0 && ::setfsuid(0) >= 0;
        auto const answer = readAll(send(wire({"mediadata 2", "word", "get", "word", "61"})));
        ::_exit(acts && answer.find("another user") != std::string::npos ? 0 : 1);
    }
    int status = -1;
    ::waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
}

TEST_F(Holder, IsNotNeededForCompletion)
{
    std::string const scripts = MEDIADATA_SOURCE_DIR "/tool/cli/completions/";
    auto const shell = [&](std::string const& command) {
        return std::system(("bash -c '" + command + "' >" + (root() / "said").string() + " 2>&1").c_str());
    };
    std::pair<char const*, char const*> const cases[]{
        {"mediadata ge", "get"},
        {"mediadata set ringer-vol", "ringer-volume="},
        {"mediadata --json set --watch ringer-volume=", "1 2 3 4 5 6 7 8"},
        {"mediadata set codec[1]/al", R"(codec\[1\]/allowed=)"},
        {R"(mediadata set codec\[1\]/allowed=f)", "false"},
        {R"(mediadata get \"codec[1]/al)", "codec[1]/allowed"},
        {"mediadata --color=n", "never"},
        {"mediadata set --dry", "--dry-run"},
        {"mediadata set --file /etc/os-relea", "/etc/os-release"},
        {"mediadata table nothi", ""},
        {"mediadata watch --until ringer-vol", "ringer-volume="},
        {"mediadata history sho", "show"},
        {"mediadata set group-pickup-tone-type=", "0 1 2 3"},
    };
    for (auto const& [line, expected] : cases) {
        EXPECT_EQ(shell("source " + scripts + "mediadata.bash; COMP_LINE=\"" + line +
                        "\" COMP_WORDS=(\"" MEDIADATA_TOOL
                        "\"); COMP_POINT=${#COMP_LINE}; _mediadata; echo ${COMPREPLY[*]}"),
                  0);
        EXPECT_EQ(contentOf(root() / "said"), std::string(expected) + "\n") << line;
    }
    Process described(root() / "described", {"complete", "--described", "--", "set", "group-pickup-tone-type=1"});
    EXPECT_EQ(described.end(), 0);
    EXPECT_EQ(described.out(), "group-pickup-tone-type=1\ttone\n");
}

} // namespace ToolTest

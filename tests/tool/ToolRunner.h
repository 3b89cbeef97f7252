// Runs the built tool in a fresh data directory and keeps what it printed.
#pragma once

#include "../TemporaryDirectory.h"

#include <nlohmann/json.hpp>

#include <poll.h>
#include <pty.h>

#include <cerrno>
#include <system_error>

namespace ToolTest {

using Words = std::vector<std::string>;

inline Words wordsOf(std::string const& command)
{
    std::istringstream text(command);
    return {std::istream_iterator<std::string>(text), {}};
}

inline Words split(std::string const& text, char separator)
{
    std::istringstream rest(text);
    Words parts;
    for (std::string part; std::getline(rest, part, separator);)
        parts.push_back(part);
    return parts;
}

struct Answer {
    int status = -1;
    std::string out;
    std::string err;

    nlohmann::json json() const { return nlohmann::json::parse(out, nullptr, false); }
    bool operator==(Answer const&) const = default;
};

/// What comes through the socket, up to a text or to the end; it is closed then.
inline std::string readAll(int socket, std::string const& last = "\n\n\n")
{
    std::string text;
    char piece[65536];
    for (ssize_t got = 1; got > 0 && text.find(last) == std::string::npos;) {
        got = ::read(socket, piece, sizeof piece);
        text.append(piece, static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
    }
    ::close(socket);
    return text;
}

inline void PrintTo(Answer const& answer, std::ostream* stream)
{
    *stream << answer.status << '\n' << answer.out << answer.err;
}

/// One member of each element, in one line.
inline std::string column(nlohmann::json const& rows, char const* name)
{
    std::string text;
    for (auto const& row : rows)
        text += (row[name].is_string() ? row[name].get<std::string>() : row[name].dump()) + ' ';
    return text;
}

/// What a fork answered. Where it failed the test does: a signal to "process" -1 would go to all there are.
inline pid_t made(pid_t child)
{
    if (child < 0)
        throw std::system_error(errno, std::generic_category(), "no process was made");
    return child;
}

/// A process, of the tool unless named, its standard streams in files; killed at the latest with this object.
class Process {
public:
    Process(std::filesystem::path streams, std::vector<std::string> words, std::string const& input = {},
            std::string tool = MEDIADATA_TOOL)
        : m_streams(std::move(streams))
    {
        std::ofstream(stream(STDIN_FILENO), std::ios::binary) << input;
        for (int const each : {STDOUT_FILENO, STDERR_FILENO})
            std::filesystem::remove(stream(each)); // What one before has said is not this one's.
        std::vector<char*> arguments{tool.data()};
        for (auto& word : words)
            arguments.push_back(word.data());
        arguments.push_back(nullptr);
        m_child = made(::fork());
        if (m_child != 0)
            return;
        if (s_longestFile != 0) {
            rlimit const limit{s_longestFile, s_longestFile};
            ::setrlimit(RLIMIT_FSIZE, &limit);
        }
        for (int const each : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
            auto const flags = each == STDIN_FILENO ? O_RDONLY : O_WRONLY | O_CREAT | O_TRUNC | O_APPEND;
            if (::dup2(::open(stream(each).c_str(), flags, 0600), each) < 0)
                ::_exit(126);
        }
        ::execv(arguments.front(), arguments.data());
        ::_exit(127);
    }
    ~Process() { end(SIGKILL); }
    Process(Process const&) = delete;
    Process& operator=(Process const&) = delete;

    std::string out() const { return contentOf(stream(STDOUT_FILENO)); }
    std::string err() const { return contentOf(stream(STDERR_FILENO)); }
    std::string number() const { return std::to_string(m_child); }
    void signal(int number) const { ::kill(m_child, number); }

    static inline rlim_t s_longestFile = 0; ///< what a process can write to any file; 0: no limit

    /// Waits until the process has written the text, or has ended, or has had two minutes for it.
    ::testing::AssertionResult says(std::string const& text) const
    {
        auto const said = [&] { return (out() + err()).find(text) != std::string::npos; };
        siginfo_t info{};
        for (int round = 0; round < 24000 && !said() && info.si_pid == 0; ++round, ::usleep(5000))
            ::waitid(P_PID, static_cast<id_t>(m_child), &info, WEXITED | WNOHANG | WNOWAIT);
        return said() ? ::testing::AssertionSuccess()
                      : ::testing::AssertionFailure()
                            << (info.si_pid == 0 ? "runs on" : "has ended") << " without \"" << text << "\":\n"
                            << out() << err();
    }

    /// The exit status; signal 0 waits for the process to end by itself.
    int end(int signal = 0)
    {
        if (m_child <= 0)
            return -1;
        int status = 0;
        ::kill(m_child, signal);
        while (::waitpid(m_child, &status, 0) < 0 && errno == EINTR) {
        }
        m_child = 0;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

private:
    std::filesystem::path stream(int number) const { return m_streams.string() + '.' + std::to_string(number); }

    std::filesystem::path m_streams;
    pid_t m_child = 0;
};

/// The tool at a terminal of its own; ended at the latest with this object, when the terminal goes away.
class Terminal {
public:
    Terminal(std::filesystem::path const& dataDirectory, std::string const& command)
    {
        auto words = wordsOf("mediadata --data-dir " + dataDirectory.string() + ' ' + command);
        m_child = made(::forkpty(&m_terminal, nullptr, nullptr, nullptr));
        if (m_child != 0)
            return;
        std::vector<char*> arguments;
        std::ranges::transform(words, std::back_inserter(arguments), [](auto& word) { return word.data(); });
        arguments.push_back(nullptr);
        ::execv(MEDIADATA_TOOL, arguments.data());
        ::_exit(127);
    }
    ~Terminal() { end(); }
    Terminal(Terminal const&) = delete;
    Terminal& operator=(Terminal const&) = delete;

    void type(std::string const& keys) const
    {
        [[maybe_unused]] auto const sent = ::write(m_terminal, keys.data(), keys.size());
    }

    /// Waits until this has been said behind what was waited for before, or the tool has ended.
    bool says(std::string const& text)
    {
        auto at = m_said.find(text, m_heard);
        for (; at == std::string::npos && hear(); at = m_said.find(text, m_heard)) {
        }
        m_heard = std::min(at, m_said.size());
        m_heard += at == std::string::npos ? 0 : text.size();
        return at != std::string::npos;
    }

    std::string const& said() const { return m_said; }

    /// Waits for the tool to end, and answers its exit status.
    int end()
    {
        if (m_child <= 0)
            return -1;
        while (hear()) {
        }
        int status = 0;
        ::waitpid(std::exchange(m_child, 0), &status, 0);
        ::close(m_terminal);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

private:
    bool hear()
    {
        char piece[4096];
        pollfd waiting{m_terminal, POLLIN, 0};
        auto const got = ::poll(&waiting, 1, 20000) == 1 ? ::read(m_terminal, piece, sizeof piece) : 0;
        if (got > 0)
            m_said.append(piece, static_cast<std::size_t>(got));
        else if (got == 0)
            ::kill(m_child, SIGKILL);
        return got > 0;
    }

    pid_t m_child = 0;
    int m_terminal = -1;
    std::string m_said;
    std::size_t m_heard = 0;
};

struct ToolRunner : ::testing::Test {
    std::string telephone = "telephone"; ///< the name of the data directory
    bool isReady = true;                 ///< it is made before the first command

    std::filesystem::path const& root() const { return m_root; }
    virtual std::filesystem::path dataDirectory() const { return m_root / telephone; }

    void write(std::string const& name, std::string const& text) const
    {
        std::ofstream(m_root / name, std::ios::binary) << text;
    }

    /// Over a new telephone where there is nothing yet.
    Process start(std::string const& name, std::vector<std::string> words, std::string const& input = {}) const
    {
        if (isReady && !std::filesystem::exists(dataDirectory()))
            Process(m_root / "init", {"init", dataDirectory().string()}).end();
        words.insert(words.begin(), {"--data-dir", dataDirectory().string()});
        return {m_root / name, std::move(words), input};
    }

    /// One process of the tool with these words, its standard input out of `input`.
    Answer tool(std::vector<std::string> words, std::string const& input = {}) const
    {
        auto process = start("tool", std::move(words), input);
        int const status = process.end();
        return {status, process.out(), process.err()};
    }

    /// The same for words without blanks in them.
    Answer run(std::string const& command, std::string const& input = {}) const { return tool(wordsOf(command), input); }
    int status(std::string const& command) const { return run(command).status; }
    std::string out(std::string const& command) const { return run(command).out; }
    nlohmann::json ask(std::string const& command) const { return run(command + " --json").json(); }

private:
    TemporaryDirectory const m_place;
    std::filesystem::path const m_root = m_place.path();
};

} // namespace ToolTest

#include "verbs/Shell.h"

#include "holder/Server.h"
#include "holder/Watch.h"
#include "workbench/Items.h"
#include "workbench/Values.h"

#include <editline/readline.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <thread>
#include <utility>

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace Tool {

namespace {

/// The changes that `watch` lets through: all of them at first.
struct Filter {
    bool on = true;
    std::optional<std::set<Data::eDataTag>> only = {};
};

std::string text(Filter const& watch, std::vector<HeardChange> const& changes, Options const& options)
{
    std::string lines;
    for (auto const& change : changes) {
        if (!watch.on || (watch.only && !watch.only->contains(change.tag)))
            continue;
        auto const value = shown(change.tag, change.value, options.showSecrets);
        lines += options.json ? changeLine({timeNow(), change}, true, options.showSecrets)
                              : "* " + nameOf(change.tag) + " = " + cellText(value) + '\n';
    }
    return lines;
}

/// What the shell itself finds wrong.
int refuse(Invocation const& invocation, ExitCode code, std::string item, std::string reason)
{
    auto const report = failure(code, std::move(item), std::move(reason));
    if (invocation.options.json)
        renderJson(report, invocation.console->out);
    else
        renderText(report, *invocation.console);
    return code;
}

int applyWatch(Invocation const& invocation, Filter& watch, std::vector<std::string> const& words)
{
    if (words.size() > 2)
        return refuse(invocation, exitUsage, "", "usage: watch [PATTERN | off]");
    watch = {};
    if (words.size() == 1)
        return exitOk;
    watch.on = words[1] != "off";
    if (!watch.on)
        return exitOk;
    auto const tags = matchItems(words[1]);
    watch.only.emplace(tags.begin(), tags.end());
    return tags.empty() ? refuse(invocation, exitUnknownItem, words[1], "matches no item") : exitOk;
}

/// A secret is not to be called back with the cursor keys.
bool namesASecret(std::vector<std::string> const& words)
{
    return std::any_of(words.begin(), words.end(), [](std::string const& word) {
        auto const tag = findItem(word.substr(0, word.find('=')));
        return tag && isSecret(*tag);
    });
}

/// The line editor's callbacks take no context: what is offered for the word that is being typed.
std::vector<std::string> offered;

char* nextOffer(char const*, int state)
{
    static std::size_t next = 0;
    if (state == 0)
        next = 0;
    return next < offered.size() ? ::strdup(offered[next++].c_str()) : nullptr;
}

char** complete(char const* text, int start, int)
{
    std::vector<std::string> before;
    splitWords(std::string(rl_line_buffer, static_cast<std::size_t>(start)), before);
    offered = completions(before, text, true);
    // A value follows at once after "ITEM=", a blank after everything else.
    rl_completion_append_character = !offered.empty() && offered.front().ends_with('=') ? 0 : static_cast<int>(' ');
    rl_attempted_completion_over = 1;
    return rl_completion_matches(text, nextOffer);
}

/// What other processes changed while a line is being typed: the line editor's thread prints it above that line.
struct {
    std::mutex mutex; ///< guards the lines
    std::string lines;
    Host::FileDescriptor event{}; ///< of runShell(): before main() it would become a standard stream that the caller closed
} news;

void tell(std::string const& lines, bool atOnce)
{
    if (atOnce) {
        std::cout << lines << std::flush;
        return;
    }
    std::lock_guard const held(news.mutex);
    news.lines += lines;
    std::uint64_t const one = 1;
    [[maybe_unused]] auto const written = ::write(news.event.get(), &one, sizeof one);
}

/// What ends the shell besides its input, see runShell().
int endDescriptor = -1;

/// Waits for a key. The line editor calls it until there is one, and gives the line up when it is taken away.
int awaitKeyOrNews()
{
    std::array<pollfd, 3> waiting{{{STDIN_FILENO, POLLIN, 0}, {news.event.get(), POLLIN, 0}, {endDescriptor, POLLIN, 0}}};
    ::poll(waiting.data(), waiting.size(), -1);
    if (waiting[2].revents != 0)
        rl_event_hook = nullptr;
    std::uint64_t count = 0;
    if (::read(news.event.get(), &count, sizeof count) < 0)
        return 0;
    std::lock_guard const held(news.mutex);
    std::cout << "\r\x1b[K" << std::exchange(news.lines, "") << std::flush;
    rl_forced_update_display();
    return 0;
}

/// Reads a line of the standard input, byte by byte: what follows may be meant for the line's own command, as with
/// "set --file -". False at the end of the input, and when the shell is to end.
bool readLine(std::string& line)
{
    line.clear();
    for (char next = 0; next != '\n';) {
        std::array<pollfd, 2> waiting{{{STDIN_FILENO, POLLIN, 0}, {endDescriptor, POLLIN, 0}}};
        if (::poll(waiting.data(), waiting.size(), -1) > 0 && waiting[1].revents != 0)
            return false;
        auto const got = ::read(STDIN_FILENO, &next, 1);
        if (got > 0 && next != '\n')
            line += next;
        else if (got == 0 || (got < 0 && errno != EINTR))
            return !line.empty();
    }
    return true;
}

class Input {
public:
    explicit Input(bool terminal) : m_terminal(terminal)
    {
        if (!m_terminal)
            return;
        static char blanks[] = " \t";
        rl_basic_word_break_characters = blanks;
        rl_completer_word_break_characters = blanks;
        rl_attempted_completion_function = complete;
        rl_event_hook = awaitKeyOrNews;
        rl_initialize();
        using_history();
        std::cout << "All verbs of mediadata; also watch [PATTERN | off], help, exit. The tabulator key completes.\n";
    }

    bool read(std::string& line) const
    {
        if (!m_terminal)
            return readLine(line);
        std::unique_ptr<char, decltype(&std::free)> const text(::readline("mediadata> "), &std::free);
        if (text)
            line = text.get();
        return text != nullptr;
    }

    void remember(std::string const& line) const
    {
        if (m_terminal)
            add_history(line.c_str());
    }

private:
    bool m_terminal;
};

int runLine(Invocation& invocation, Filter& watch, std::vector<std::string> const& words)
{
    if (words.front() == "watch")
        return applyWatch(invocation, watch, words);
    return runCommand(invocation, words);
}

} // namespace

bool splitWords(std::string const& line, std::vector<std::string>& words)
{
    words.clear();
    char quote = 0;
    bool inWord = false;
    for (std::size_t at = 0; at < line.size(); ++at) {
        char const c = line[at];
        if (quote == 0 && (c == ' ' || c == '\t')) {
            inWord = false;
            continue;
        }
        if (!inWord)
            words.emplace_back();
        inWord = true;
        if (c == '\\' && quote != '\'' && at + 1 < line.size())
            words.back() += line[++at];
        else if (c == quote)
            quote = 0;
        else if (quote == 0 && (c == '\'' || c == '"'))
            quote = c;
        else
            words.back() += c;
    }
    return quote == 0;
}

int runShell(Invocation& invocation, Server& server, int end)
{
    endDescriptor = end;
    news.event = Host::FileDescriptor(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    Filter watch;
    auto const options = invocation.options;
    bool const isTerminal = ::isatty(STDIN_FILENO) == 1;
    auto const own = std::this_thread::get_id();
    invocation.inShell = true;
    std::optional<Listening> listening;
    {
        auto const turn = server.commandTurn();
        listening.emplace([&](std::vector<HeardChange> const& changes) {
            tell(text(watch, changes, options), !isTerminal || std::this_thread::get_id() == own);
        });
    }
    Input const input(isTerminal);
    int gravest = exitOk;
    for (std::string line; input.read(line);) {
        std::vector<std::string> words;
        if (!splitWords(line, words)) {
            gravest = std::max(gravest, refuse(invocation, exitUsage, "", "a quote is not closed"));
            continue;
        }
        if (words.empty() || words.front().rfind('#', 0) == 0)
            continue;
        if (words.front() == "exit" || words.front() == "quit")
            break;
        if (!namesASecret(words))
            input.remember(line);
        auto const turn = server.commandTurn();
        gravest = std::max(gravest, runLine(invocation, watch, words));
    }
    auto const turn = server.commandTurn();
    listening.reset();
    return gravest;
}

} // namespace Tool

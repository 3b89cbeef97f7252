#include "Shell.h"

#include "Items.h"

#include <editline/readline.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <memory>
#include <optional>
#include <set>
#include <utility>

#include <unistd.h>

namespace Tool {

namespace {

/// The changes that `watch` lets through: all of them at first.
struct Watch {
    bool on = true;
    std::optional<std::set<Data::eDataTag>> only = {};
};

void print(Watch const& watch, std::vector<HeardChange> const& changes, bool showSecrets)
{
    for (auto const& [tag, value] : changes) {
        if (watch.on && (!watch.only || watch.only->count(tag) != 0))
            std::cout << "* " << nameOf(tag) << " = " << cellText(shown(tag, value, showSecrets)) << std::endl;
    }
}

int applyWatch(Watch& watch, std::vector<std::string> const& words)
{
    if (words.size() > 2) {
        std::cerr << "mediadata: usage: watch [PATTERN | off]\n";
        return exitUsage;
    }
    watch = {};
    if (words.size() == 1)
        return exitOk;
    watch.on = words[1] != "off";
    if (!watch.on)
        return exitOk;
    auto const tags = matchItems(words[1]);
    watch.only.emplace(tags.begin(), tags.end());
    if (tags.empty())
        std::cerr << "mediadata: " << words[1] << ": matches no item\n";
    return tags.empty() ? exitUnknownItem : exitOk;
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
    offered = completions(before, text);
    // A value follows at once after "ITEM=", a blank after everything else.
    rl_completion_append_character = !offered.empty() && offered.front().ends_with('=') ? 0 : static_cast<int>(' ');
    rl_attempted_completion_over = 1;
    return rl_completion_matches(text, nextOffer);
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
        rl_initialize();
        using_history();
        std::cout << "All verbs of mediadata; also watch [PATTERN | off], help, exit. The tabulator key completes.\n";
    }

    bool read(std::string& line) const
    {
        if (!m_terminal)
            return static_cast<bool>(std::getline(std::cin, line));
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

int runLine(Workbench& workbench, Watch& watch, std::vector<std::string> const& words)
{
    if (words.front() == "watch")
        return applyWatch(watch, words);
    if (words.front() == "help")
        return runCommand(workbench, {"--help"});
    return runCommand(workbench, words);
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

int runShell(Workbench& workbench)
{
    Watch watch;
    bool const showSecrets = workbench.options.showSecrets;
    workbench.inShell = true;
    workbench.session->listen([&](auto const& changes) { print(watch, changes, showSecrets); });
    Input const input(::isatty(STDIN_FILENO) == 1);
    int gravest = exitOk;
    for (std::string line; input.read(line);) {
        std::vector<std::string> words;
        if (!splitWords(line, words)) {
            std::cerr << "mediadata: a quote is not closed\n";
            gravest = std::max<int>(gravest, exitUsage);
            continue;
        }
        if (words.empty() || words.front().rfind('#', 0) == 0)
            continue;
        if (words.front() == "exit" || words.front() == "quit")
            break;
        if (!namesASecret(words))
            input.remember(line);
        gravest = std::max(gravest, runLine(workbench, watch, words));
    }
    workbench.session->listen({});
    return gravest;
}

} // namespace Tool

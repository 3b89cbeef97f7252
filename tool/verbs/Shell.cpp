// All verbs in one running process, with line editing, history, completion and change notifications: `shell`.
#include "verbs/Verbs.h"

#include "cli/CommandLine.h"
#include "cli/LineEditor.h"
#include "cli/SplitWords.h"
#include "holder/Remote.h"
#include "holder/Server.h"
#include "holder/Watcher.h"
#include "report/Renderers.h"
#include "report/Text.h"
#include "workbench/Items.h"
#include "workbench/Values.h"

#include <algorithm>
#include <functional>
#include <optional>
#include <ostream>
#include <set>
#include <string>
#include <utility>

namespace Tool::Verbs {

namespace {

/// The changes that `watch` lets through: all of them at first.
struct Filter {
    bool on = true;
    std::optional<std::set<Data::eDataTag>> only = {};
};

std::string linesOf(Filter const& watch, std::vector<Change> const& changes, Options const& options)
{
    std::string lines;
    for (auto const& change : changes) {
        if (!watch.on || (watch.only && !watch.only->contains(change.tag)))
            continue;
        auto const value = shown(change.tag, change.value, options.showSecrets);
        lines += options.json ? changeLine(change, true, options.showSecrets)
                              : "* " + nameOf(change.tag) + " = " + cellText(value) + '\n';
    }
    return lines;
}

/// What the shell itself finds wrong.
int refuse(Invocation const& invocation, ExitCode code, std::string item, std::string reason)
{
    return show(failure(code, std::move(item), std::move(reason)), *invocation.console, invocation.options.json);
}

int applyWatch(Invocation const& invocation, Filter& watch, Words const& words)
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
bool namesASecret(Words const& words)
{
    return std::any_of(words.begin(), words.end(), [](std::string const& word) {
        auto const tag = findItem(word.substr(0, word.find('=')));
        return tag && isSecret(*tag);
    });
}

/// How a shell works the lines off that it reads.
struct Lines {
    std::function<std::string()> prompt;
    std::function<int(Words const&)> run;
};

/// Until "exit" or the end of the input. Answers the gravest exit status of the commands.
int runLines(Invocation const& invocation, LineEditor& editor, Lines const& lines)
{
    int gravest = exitOk;
    for (std::string line; editor.read(line, lines.prompt());) {
        Words words;
        if (!splitWords(line, words)) {
            gravest = std::max(gravest, refuse(invocation, exitUsage, "", "a quote is not closed"));
            continue;
        }
        if (words.empty() || words.front().starts_with('#'))
            continue;
        if (words.front() == "exit" || words.front() == "quit")
            break;
        if (!namesASecret(words))
            editor.remember(line);
        gravest = std::max(gravest, lines.run(words));
    }
    return gravest;
}

/// In the process that holds the telephone.
int runHere(Holding const& holding)
{
    auto& invocation = holding.invocation;
    auto& server = holding.server;
    LineEditor editor(holding.end);
    Filter watch;
    auto const options = invocation.options;
    invocation.place = Place::Shell;
    {
        Threads::Lock const turn(server.turn());
        invocation.feed->tell([&](std::vector<Change> const& changes) { editor.tell(linesOf(watch, changes, options)); });
    }
    auto const run = [&](Words const& words) {
        Threads::Lock const turn(server.turn());
        return words.front() == "watch" ? applyWatch(invocation, watch, words) : runCommand(invocation, words);
    };
    int const gravest = runLines(invocation, editor, {[] { return "mediadata> "; }, run});
    Threads::Lock const turn(server.turn());
    invocation.feed->tell(nullptr);
    return gravest;
}

/// Each line is a command of its own: through the process that serves the telephone, and on it itself when none does any more.
int runThere(Invocation& invocation, int end)
{
    LineEditor editor(end);
    invocation.place = Place::Shell;
    pid_t holder = 0;
    auto const look = [&] {
        auto const found = Remote::find(invocation.options.dataDirectory);
        auto const now = found ? found->process() : 0;
        if (now != holder && holder != 0)
            invocation.console->err << "mediadata: process " << holder << " no longer holds the data directory; "
                                    << (now == 0 ? "each line now opens it" : "process " + std::to_string(now) + " does")
                                    << std::endl;
        holder = now;
    };
    auto const prompt = [&] {
        look();
        return holder == 0 ? "mediadata> " : "mediadata (process " + std::to_string(holder) + ")> ";
    };
    auto const run = [&](Words const& words) -> int {
        look();
        if (words.front() == "watch")
            return refuse(invocation, exitUsage, "watch",
                          "another process has the telephone: run it in a process of its own");
        int const status = runCommand(invocation, words);
        invocation.workbench.reset();
        invocation.console->forget();
        return status;
    };
    return runLines(invocation, editor, {prompt, run});
}

} // namespace

Verb shellVerb()
{
    return {.name = "shell",
            .help = "Run lines of commands; others are served meanwhile",
            .places = {Place::Process},
            .action = WhileHolding(runHere),
            .whileHeld = runThere};
}

} // namespace Tool::Verbs

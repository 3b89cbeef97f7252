// All verbs in one running process, with line editing, history, completion and change notifications: `shell`.
#include "verbs/Verbs.h"

#include "cli/CommandLine.h"
#include "cli/LineEditor.h"
#include "cli/SplitWords.h"
#include "holder/Server.h"
#include "holder/Watcher.h"
#include "report/Renderers.h"
#include "report/Text.h"
#include "workbench/Items.h"
#include "workbench/Values.h"

#include <algorithm>
#include <optional>
#include <set>
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

/// Reads commands until "exit" or the end of the input. Answers the gravest exit status of the commands.
int runLines(Holding const& holding)
{
    auto& [invocation, server, end, readiness] = holding;
    LineEditor editor(end);
    Filter watch;
    auto const options = invocation.options;
    invocation.place = Place::Shell;
    {
        Threads::Lock const turn(server.turn());
        invocation.feed->tell([&](std::vector<Change> const& changes) { editor.tell(linesOf(watch, changes, options)); });
    }
    int gravest = exitOk;
    for (std::string line; editor.read(line);) {
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
        Threads::Lock const turn(server.turn());
        bool const isWatch = words.front() == "watch";
        gravest = std::max(gravest, isWatch ? applyWatch(invocation, watch, words) : runCommand(invocation, words));
    }
    Threads::Lock const turn(server.turn());
    invocation.feed->tell(nullptr);
    return gravest;
}

} // namespace

Verb shellVerb()
{
    return {.name = "shell",
            .help = "Run lines of commands; others are served meanwhile",
            .places = {Place::Process},
            .action = WhileHolding(runLines)};
}

} // namespace Tool::Verbs

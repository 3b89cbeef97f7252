#include "cli/CommandLine.h"

#include "cli/OtherProgram.h"
#include "cli/Parser.h"
#include "cli/Readiness.h"
#include "cli/Registry.h"
#include "cli/Seclusion.h"
#include "cli/Serving.h"
#include "holder/EndSignals.h"
#include "holder/Reach.h"
#include "holder/Remote.h"
#include "holder/Watcher.h"
#include "report/ProgressLine.h"
#include "report/Renderers.h"
#include "verbs/Verbs.h"
#include "workbench/Journal.h"

#include "Author.h"
#include "workbench/Items.h"

#include "HostPlatform.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <memory>
#include <optional>
#include <ostream>
#include <utility>

#include <unistd.h>

namespace Tool {

namespace {

/// A command that was understood.
struct Call {
    Invocation& invocation;
    Words const& words;
    General const& general;
    Verb const& verb;

    bool isOfThisProcess() const { return invocation.place == Place::Process; }
    int answer(Report const& report) const
    {
        bool const isOneOfManyLines = std::holds_alternative<Following>(verb.action);
        return show(report, *invocation.console, general.json, isOneOfManyLines ? JsonLayout::Line : JsonLayout::Indented);
    }
    int fail(ExitCode code, std::string reason) const { return answer(failure(code, "", std::move(reason))); }
};

/// How a command ends without having the telephone.
struct Elsewhere {
    std::optional<int> status; ///< of the process that has run the command
    std::string failure;       ///< otherwise
};

/// A verb that reads makes no telephone; one that others write through does.
Missing missingFor(Verb const& verb)
{
    if (verb.dryRun && *verb.dryRun)
        return Missing::Rehearse;
    bool const reads = verb.onlyReads ? verb.onlyReads() : verb.changesAs.empty();
    return reads && !std::holds_alternative<WhileHolding>(verb.action) ? Missing::Refuse : Missing::Make;
}

/// Who gives the command. What acts as the management service comes through its door.
Host::Author authorOf(Call const& call)
{
    auto author = ownAuthor(call.verb.name);
    auto const& invocation = call.invocation;
    if (invocation.place == Place::Holder) {
        author.user = invocation.user;
        author.process = invocation.process;
    }
    author.door = call.verb.changesAs == "management" ? "management"
                  : !invocation.door.empty()          ? invocation.door
                  : invocation.place == Place::Shell  ? "shell"
                                                      : "command";
    return author;
}

/// What a line of a shell says to another process: with what was given with the shell.
Words wordsOf(Call const& call)
{
    auto words = call.words;
    auto const give = [&](bool isGiven, char const* option) {
        if (isGiven && !call.isOfThisProcess() && std::find(words.begin(), words.end(), option) == words.end())
            words.insert(words.begin(), option);
    };
    give(call.general.json, "--json");
    give(call.general.showSecrets, "--show-secrets");
    return words;
}

/// Makes sure that this process has the telephone; else says what there is instead.
std::optional<Elsewhere> reachTelephone(Call const& call, Wish wish)
{
    auto& invocation = call.invocation;
    if (!invocation.workbench) {
        invocation.options.missing = missingFor(call.verb);
        auto reached =
            reach(invocation.options, *invocation.console, wordsOf(call), wish, std::chrono::seconds(call.general.timeout));
        if (!reached.workbench)
            return Elsewhere{reached.status, std::move(reached.failure)};
        invocation.workbench = std::move(reached.workbench);
    }
    invocation.workbench->showSecrets(call.general.showSecrets);
    return std::nullopt;
}

int end(Call const& call, Elsewhere const& elsewhere)
{
    return elsewhere.status ? *elsewhere.status : call.fail(exitStorage, elsewhere.failure);
}

int run(Call const& call, Group const&)
{
    return call.fail(exitUsage, "is a group of verbs"); // The parser wants one of them.
}

int run(Call const& call, Alone const& action)
{
    return call.answer(action(*call.invocation.console));
}

int run(Call const& call, OnWorkbench const& action)
{
    std::optional<ProgressLine> progress;
    if (call.invocation.place != Place::Holder)
        progress.emplace(*call.invocation.console, call.verb.name);
    auto const elsewhere = reachTelephone(call, Wish::Answer);
    Report report;
    if (!elsewhere) {
        auto& workbench = *call.invocation.workbench;
        auto const& who = call.verb.changesAs;
        workbench.progress = [&](std::size_t done, std::size_t all) {
            if (progress)
                progress->tell(call.verb.name + ", ", done, all, " stored");
        };
        auto const act = [&] {
            return who.empty() ? action(workbench)
                               : workbench.journal().record(authorOf(call), [&] { return action(workbench); });
        };
        report = act();
        if (!report.question.empty() && call.verb.yes) {
            progress.reset();
            auto& console = *call.invocation.console;
            *call.verb.yes = console.confirm(report.question);
            if (console.lacksInput())
                return exitOk;
            if (*call.verb.yes)
                report = act();
        }
    }
    if (call.invocation.workbench)
        call.invocation.workbench->progress = {};
    progress.reset();
    return elsewhere ? end(call, *elsewhere) : call.answer(report);
}

/// Of a process that is about to hold the telephone for long.
void seclude(Call const& call)
{
    auto const lack = secludeProcess();
    if (!lack.empty() && call.general.verbose)
        call.invocation.console->err << "mediadata: " << lack << std::endl;
}

int run(Call const& call, WhileHolding const& action)
{
    seclude(call);
    EndSignals const signals;
    if (call.verb.whileHeld && Remote::find(call.general.dataDirectory))
        return call.verb.whileHeld(call.invocation, signals.descriptor());
    if (auto const elsewhere = reachTelephone(call, Wish::Hold))
        return end(call, *elsewhere);
    Serving const serving(call.invocation);
    if (!serving.server())
        return call.fail(exitStorage, serving.failure());
    Readiness readiness(*call.invocation.console, call.verb.lasting, call.invocation.workbench->platform().directory());
    return action({call.invocation, *serving.server(), signals.descriptor(), readiness});
}

int run(Call const& call, Following const& action)
{
    auto& invocation = call.invocation;
    if (invocation.place == Place::Holder) {
        invocation.watcher = action(*invocation.feed);
        return exitOk;
    }
    seclude(call);
    // Whoever holds the directory: to be told to end is the usual end.
    for (int const ending : {SIGINT, SIGTERM, SIGHUP})
        std::signal(ending, [](int) {
            Readiness::endBySignal();
            ::_exit(exitOk);
        });
    Readiness readiness(*invocation.console, call.verb.lasting, call.general.dataDirectory);
    invocation.console->whenReady = [&readiness] { readiness.tell(); };
    if (auto const elsewhere = reachTelephone(call, Wish::Changes))
        return end(call, *elsewhere);
    EndSignals const signals;
    Serving const serving(invocation);
    if (!serving.server())
        return call.fail(exitStorage, serving.failure());
    auto& console = *invocation.console;
    auto const watcher = [&] {
        Threads::Lock const turn(serving.server()->turn());
        return action(*invocation.feed);
    }();
    readiness.tell();
    auto const write = [&](std::string const& lines) { return static_cast<bool>(console.out << lines << std::flush); };
    auto const report = watcher->follow(write, {signals.descriptor(), STDOUT_FILENO});
    return watcher->close(report, console.out, console.err);
}

int run(Call const& call)
{
    if (!call.verb.runsAt(call.invocation.place))
        return call.fail(exitUsage, "this verb runs in a process of its own");
    if (!call.verb.program.empty() && !call.invocation.page)
        return call.fail(exitInternal, becomeProgram(call.verb.program, call.words));
    if (call.verb.lasting && call.isOfThisProcess()) {
        if (auto fault = Readiness::fault(*call.verb.lasting); !fault.empty())
            return call.fail(exitUsage, std::move(fault));
    }
    if (call.verb.gather) {
        auto& console = *call.invocation.console;
        console.gathersAhead = call.invocation.workbench == nullptr;
        auto const report = call.verb.gather(console);
        console.gathersAhead = false;
        if (console.lacksInput())
            return exitOk;
        if (report.code != exitOk)
            return call.answer(report);
    }
    return std::visit([&](auto const& action) { return run(call, action); }, call.verb.action);
}

/// What was given with the command holds for the ones after it in a shell.
void takeOver(General const& general, Options& options)
{
    options.showSecrets = general.showSecrets;
    options.json = general.json;
    options.dataDirectory = general.dataDirectory;
    options.logLevel = general.logLevel;
    options.verbose = general.verbose;
}

/// Other users see the words of a process, and the command shell remembers them.
void warnOfSecrets(Console& console, Words const& words)
{
    for (auto const& word : words) {
        auto const equals = std::min(word.find('='), word.size());
        auto const tag = equals + 1 < word.size() ? findItem(word.substr(0, equals)) : std::nullopt;
        if (!tag || !isSecret(*tag))
            continue;
        console.err << "mediadata: " << word.substr(0, equals)
                    << ": a secret among a command's words is seen in the list of processes and kept by the command shell; "
                       "set --ask asks for it\n";
        return;
    }
}

int runWords(Invocation& invocation, Words const& words)
{
    auto& console = *invocation.console;
    bool const isOfThisProcess = invocation.place == Place::Process;
    Registry registry(invocation.place, {invocation.options.json});
    auto& general = registry.general;
    if (isOfThisProcess)
        chooseColours(console, general.colour);
    auto const parsed = parse(words, registry);
    // The parser takes options over only when all words are in order.
    bool const wantsJson = general.json || std::find(words.begin(), words.end(), "--json") != words.end();
    if (parsed.isVersion && wantsJson)
        return show({exitOk, {{"version", Layout::Text, {"text"}, {{MEDIADATA_VERSION}}}}}, console, true);
    if (!parsed.text.empty()) {
        console.out << parsed.text;
        return exitOk;
    }
    if (!parsed.verb)
        return show(parsed.problem, console, wantsJson);
    if (invocation.place != Place::Shell)
        takeOver(general, invocation.options);
    if (isOfThisProcess)
        chooseColours(console, general.colour);
    console.showsAll = general.full;
    general.showSecrets = general.showSecrets || invocation.options.showSecrets;
    general.dataDirectory = invocation.options.dataDirectory.string();
    if (isOfThisProcess)
        warnOfSecrets(console, words);
    if (parsed.verb->general)
        *parsed.verb->general = general;
    return run({invocation, words, general, *parsed.verb});
}

} // namespace

int runCommand(Invocation& invocation, Words words)
{
    if (!words.empty() && words.front() == "help") { // As others have it: help, help VERB.
        words.erase(words.begin());
        words.emplace_back("--help");
    }
    auto& console = *invocation.console;
    bool const isHeard = static_cast<bool>(console.out); // What cannot be written once is not tried again, and told once.
    bool const completes = invocation.place == Place::Process && !words.empty() && words.front() == "complete";
    int const code =
        completes ? show(Verbs::complete({words.begin() + 1, words.end()}), console, false) : runWords(invocation, words);
    if (console.out.flush())
        return code;
    if (isHeard)
        console.err << "mediadata: the answer could not be written\n";
    return std::max<int>(code, exitInternal);
}

} // namespace Tool

#include "cli/CommandLine.h"

#include "cli/Command.h"
#include "cli/Help.h"
#include "verbs/Shell.h"
#include "workbench/Items.h"

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <ostream>
#include <utility>

namespace Tool {

namespace {

constexpr char const* exitCodes = "Exit status: 0 done, 1 internal error or answer not written, 2 wrong usage,\n"
                                  "3 unknown item, 4 value refused, 5 not stored or data directory not usable.\n"
                                  "The gravest counts when several apply.\n"
                                  "ITEM is a tag number (61), a management item (ringer-volume, codec[1]/type), or\n"
                                  "schema/element (AudioSettings/RingerVolume).";

std::filesystem::path defaultDataDirectory()
{
    if (auto const* const named = std::getenv("MEDIADATA_DIR"); named && *named)
        return named;
    if (auto const* const data = std::getenv("XDG_DATA_HOME"); data && *data)
        return std::filesystem::path(data) / "mediadata";
    auto const* const home = std::getenv("HOME");
    return std::filesystem::path(home ? home : ".") / ".local/share/mediadata";
}

} // namespace

Command::Command(Invocation& invocation) : m_invocation(invocation), m_json(invocation.options.json)
{
    m_app.formatter(helpFormatter()); // The verbs take it over when they are added.
    m_app.require_subcommand(1);
    m_app.fallthrough();
    m_app.footer(exitCodes);
    addGlobalOptions();
    addSettings();
    addCatalogue();
    addManagement();
    addTelephone();
    addHolders();
}

void Command::addGlobalOptions()
{
    m_app.add_flag("--json", m_json, "Answer with one JSON object");
    m_app.add_flag("--show-secrets", m_showSecrets, "Show passwords and PINs instead of stars");
    if (m_invocation.inShell)
        return;
    m_app.set_version_flag("--version", "mediadata " MEDIADATA_VERSION, "Print the version and exit");
    m_app.add_option("--color", m_colour, "auto (at a terminal, unless NO_COLOR is set), always or never")
        ->check(CLI::IsMember({"auto", "always", "never"}))
        ->option_text("WHEN");
    auto& options = m_invocation.options;
    options.dataDirectory = defaultDataDirectory();
    m_app.add_option("--data-dir", options.dataDirectory, "Data directory instead of " + options.dataDirectory.string())
        ->envname("MEDIADATA_DIR")
        ->option_text("DIRECTORY");
    m_app
        .add_option("--log-level", options.logLevel,
                    "Log up to this level: 2 errors (default), 3 notices, 5 and 6 traces; of a process that holds the "
                    "data directory its own counts")
        ->check(CLI::Range(0, 6))
        ->envname("MEDIADATA_LOG")
        ->option_text("LEVEL");
}

std::vector<std::string> Command::verbs() const
{
    std::vector<std::string> names;
    for (auto const* const verb : m_app.get_subcommands([](CLI::App const*) { return true; }))
        names.push_back(verb->get_name());
    return names;
}

std::vector<OptionName> Command::options(std::vector<std::string> const& verbs) const
{
    std::vector<OptionName> names;
    auto const take = [&](CLI::App const& app) {
        for (auto const* const option : app.get_options()) {
            for (auto const& name : option->get_lnames())
                names.push_back({"--" + name, option->get_expected_max() > 0});
        }
    };
    take(m_app);
    auto const* app = &m_app;
    for (auto const& verb : verbs) {
        auto const found = app->get_subcommands([&](CLI::App const* each) { return each->get_name() == verb; });
        if (found.empty())
            continue;
        app = found.front();
        take(*app);
    }
    return names;
}

std::vector<std::string> Command::wordsNear(std::string const& word) const
{
    auto const* app = &m_app;
    std::vector<std::string> parsed;
    for (auto given = app->get_subcommands(); !given.empty(); given = app->get_subcommands()) {
        app = given.front();
        parsed.push_back(app->get_name());
    }
    std::vector<std::string> candidates;
    if (word.starts_with('-')) {
        for (auto const& option : options(parsed))
            candidates.push_back(option.name);
    } else {
        for (auto const* const verb : app->get_subcommands([](CLI::App const*) { return true; }))
            candidates.push_back(verb->get_name());
    }
    return nearest(word, candidates);
}

Workbench& Command::workbench()
{
    if (!m_invocation.workbench)
        reach();
    m_invocation.workbench->showSecrets(m_showSecrets || m_invocation.options.showSecrets);
    return *m_invocation.workbench;
}

int Command::render(Report const& report) const
{
    bool const isOneOfManyLines = m_process && !m_holds; // `watch`
    if (m_json)
        renderJson(report, m_invocation.console->out, isOneOfManyLines ? -1 : 2);
    else
        renderText(report, *m_invocation.console);
    return report.code;
}

int Command::run(std::vector<std::string> words)
{
    m_words = words;
    bool const isOwn = !m_invocation.inShell && !m_invocation.isRemote;
    if (isOwn)
        chooseColours(*m_invocation.console, m_colour);
    bool const wantsJson = std::find(words.begin(), words.end(), "--json") != words.end();
    std::reverse(words.begin(), words.end()); // The parser takes its words from the end.
    try {
        m_app.parse(std::move(words));
    } catch (CLI::ParseError const& error) {
        if (error.get_exit_code() == 0) // The help was asked for.
            return m_app.exit(error, m_invocation.console->out, m_invocation.console->err);
        m_json = m_json || wantsJson; // The parser takes options over only when all words are in order.
        auto const unexpected = m_app.remaining(true);
        if (unexpected.empty())
            return render(failure(exitUsage, "", std::string(error.what()) + "; see --help"));
        return render(
            failure(exitUsage, unexpected.front(), "is not expected here; see --help", wordsNear(unexpected.front())));
    }
    try {
        if (!m_invocation.inShell) {
            m_invocation.options.showSecrets = m_showSecrets;
            m_invocation.options.json = m_json;
        }
        if (isOwn)
            chooseColours(*m_invocation.console, m_colour);
        if (m_holds && m_invocation.isRemote)
            return render(failure(exitUsage, "", "this verb runs in a process of its own"));
        if (m_process)
            return m_process();
        if (isOwn)
            gatherInput();
        std::optional<ProgressLine> progress;
        if (!m_invocation.isRemote)
            progress.emplace(*m_invocation.console);
        auto const report = m_action();
        progress.reset();
        return render(report);
    } catch (Answered const& answered) {
        return answered.status;
    } catch (BadInput const& input) {
        return render(failure(exitUsage, input.file, input.reason));
    } catch (OpenFailure const& failed) {
        return render(failure(exitStorage, "", failed.reason));
    }
}

std::vector<std::string> verbNames(bool inShell)
{
    Invocation invocation;
    invocation.inShell = inShell;
    auto names = Command(invocation).verbs();
    if (inShell)
        names.insert(names.end(), {"watch", "help", "exit"});
    return names;
}

std::vector<OptionName> optionNames(std::vector<std::string> const& verbs, bool inShell)
{
    Invocation invocation;
    invocation.inShell = inShell;
    return Command(invocation).options(verbs);
}

int runCommand(Invocation& invocation, std::vector<std::string> words)
{
    if (!words.empty() && words.front() == "help") { // As others have it: help, help VERB.
        words.erase(words.begin());
        words.emplace_back("--help");
    }
    bool const completes = !invocation.inShell && !invocation.isRemote && !words.empty() && words.front() == "complete";
    int const code = completes ? complete({words.begin() + 1, words.end()}, invocation.console->out)
                               : Command(invocation).run(std::move(words));
    auto const& console = *invocation.console;
    if (console.out.flush())
        return code;
    console.err << "mediadata: the answer could not be written\n";
    return std::max<int>(code, exitInternal);
}

} // namespace Tool

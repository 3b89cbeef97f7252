#include "CommandLine.h"

#include "Catalogue.h"
#include "Device.h"
#include "Flags.h"
#include "Management.h"
#include "Settings.h"
#include "Shell.h"
#include "Tables.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <map>
#include <utility>

namespace Tool {

namespace {

constexpr char const* exitCodes =
    "Exit status: 0 done, 1 internal error or answer not written, 2 wrong usage, 3 unknown "
    "item, 4 value\nrefused, 5 not stored or data directory not usable. The gravest counts when several apply.\n"
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

/// One command while it is parsed and run. The options live here because the parser writes into them.
class Command {
public:
    explicit Command(Workbench& workbench);
    int run(std::vector<std::string> words);
    std::vector<std::string> verbs();

private:
    using Verb = std::function<Report(Session&)>;

    CLI::App* add(std::string const& name, std::string const& help);
    /// A verb that needs the library.
    void onSession(CLI::App* verb, Verb action);
    void addGlobalOptions();
    void addSettings();
    void addCatalogue();
    void addManagement();
    void addTelephone();
    void addShell();

    Report assign(Session& session);
    /// The words ITEM=VALUE and what is wrong with them.
    Report assignments(std::vector<Assignment>& result) const;
    Report withAssignments(std::function<Report(std::vector<Assignment> const&)> const& action) const;
    Session& session();
    int render(Report const& report) const;

    struct OpenFailure {
        std::string reason;
    };

    Workbench& m_workbench;
    CLI::App m_app{"See, change and exercise the settings of a telephone's media process.", "mediadata"};
    std::function<Report()> m_action;
    bool m_runsShell = false;
    bool m_json;
    bool m_dryRun = false;
    bool m_watch = false;
    bool m_clear = false;
    bool m_showSecrets = false;
    std::string m_item;
    std::string m_file;
    std::string m_word;
    std::vector<std::string> m_items;
    CatalogueFormat m_format = CatalogueFormat::Tsv;
};

Command::Command(Workbench& workbench) : m_workbench(workbench), m_json(workbench.options.json)
{
    m_app.require_subcommand(1);
    m_app.fallthrough();
    m_app.footer(exitCodes);
    addGlobalOptions();
    addSettings();
    addCatalogue();
    addManagement();
    addTelephone();
    addShell();
}

CLI::App* Command::add(std::string const& name, std::string const& help)
{
    return m_app.add_subcommand(name, help);
}

void Command::onSession(CLI::App* verb, Verb action)
{
    verb->callback([this, action = std::move(action)] { m_action = [this, action] { return action(session()); }; });
}

void Command::addGlobalOptions()
{
    m_app.add_flag("--json", m_json, "Answer with one JSON object");
    m_app.add_flag("--show-secrets", m_showSecrets, "Show passwords and PINs instead of stars");
    if (m_workbench.inShell)
        return;
    auto& options = m_workbench.options;
    options.dataDirectory = defaultDataDirectory();
    m_app.add_option("--data-dir", options.dataDirectory, "Data directory")->envname("MEDIADATA_DIR")->capture_default_str();
    m_app
        .add_option("--log-level", options.logLevel,
                    "Log to the error stream up to this level: 2 errors, 3 notices, 5 and 6 traces")
        ->check(CLI::Range(0, 6))
        ->envname("MEDIADATA_LOG")
        ->capture_default_str();
}

void Command::addSettings()
{
    auto* const listing = add("list", "List items with their values");
    listing->add_option("PATTERN", m_item, "A glob with * or ?, or a part of a name");
    onSession(listing, [this](Session& session) { return list(session, m_item); });

    auto* const reading = add("get", "Print values");
    reading->add_option("ITEM", m_items)->required();
    onSession(reading, [this](Session& session) { return get(session, m_items); });

    auto* const writing = add("set", "Set values, all in one bulk set");
    writing->add_option("ITEM=VALUE", m_items);
    writing->add_option("--file", m_file, "Read ITEM=VALUE lines from a file, - for standard input");
    writing->add_flag("--dry-run", m_dryRun, "Check the values and write nothing");
    writing->add_flag("--watch", m_watch, "Show what a registered callback heard");
    onSession(writing, [this](Session& session) { return assign(session); });

    auto* const describing = add("describe", "Show everything the catalogue says about an item");
    describing->add_option("ITEM", m_item)->required();
    onSession(describing, [this](Session& session) { return describe(session, m_item); });

    auto* const resetting = add("reset", "Reset a set of settings to their defaults");
    resetting->add_option("SET", m_word, "audio: the user's audio settings")->required()->check(CLI::IsMember({"audio"}));
    onSession(resetting, resetAudio);
}

void Command::addCatalogue()
{
    std::map<std::string, CatalogueFormat> const formats{
        {"tsv", CatalogueFormat::Tsv}, {"json", CatalogueFormat::Objects}, {"markdown", CatalogueFormat::Markdown}};
    auto* const verb = add("catalogue", "Print the table of all settings");
    verb->add_option("--format", m_format, "tsv, json or markdown")->transform(CLI::CheckedTransformer(formats));
    verb->callback([this] {
        m_action = [this] {
            m_json = m_json || m_format == CatalogueFormat::Objects;
            return catalogue(m_json ? CatalogueFormat::Objects : m_format);
        };
    });
}

void Command::addManagement()
{
    auto* const verb = add("mgmt", "Act as the management service");
    verb->require_subcommand(1);
    auto* const reading = verb->add_subcommand("get", "Read items as the service reads them");
    reading->add_option("ITEM", m_items, "An item, or a table such as codecSettings")->required();
    onSession(reading, [this](Session& session) { return managementGet(session, m_items); });

    auto* const writing = verb->add_subcommand("set", "Set items of the media component, with reject reasons");
    writing->add_option("ITEM=VALUE", m_items)->required();
    onSession(writing, [this](Session& session) {
        return withAssignments([&](auto const& values) { return managementSet(session, values); });
    });

    auto* const changed = verb->add_subcommand("changed", "Report that items of other components changed");
    changed->add_option("ITEM=VALUE", m_items)->required();
    onSession(changed, [this](Session& session) {
        return withAssignments([&](auto const& values) { return managementChanged(session, values); });
    });
    onSession(verb->add_subcommand("reset-user-data", "Order a reset of the user's settings"), managementReset);
    onSession(verb->add_subcommand("journal", "Show what the library read, reported and requested"), managementJournal);
}

void Command::addTelephone()
{
    auto* const showing = add("table", "Show a table as people read it");
    showing->add_option("NAME", m_word, "The table")->required()->check(CLI::IsMember(tableNames()));
    showing->add_option("--alert", m_item, "Of the ringing table, the row of this alert identifier");
    onSession(showing, [this](Session& session) { return table(session, m_word, m_item); });

    auto* const where = add("country", "Show the country, or report a new one");
    where->add_option("CODE", m_word, "Two capital letters, as of ISO 3166-1");
    onSession(where, [this](Session& session) { return country(session, m_word); });

    auto* const moving = add("mobility", "Announce how the user's data is handled");
    moving->add_option("TYPE", m_word, "all, managed, unmanaged or an empty text")->required();
    onSession(moving, [this](Session& session) { return mobility(session, m_word); });

    auto* const options = add("flags", "Show or change the flag file");
    options->add_option("FLAG[=VALUE]", m_items, "FLAG alone means true, FLAG= takes its line away");
    options->add_flag("--clear", m_clear, "Remove the file");
    onSession(options, [this](Session& session) { return flags(session, m_items, m_clear); });

    auto* const profile = add("device", "Show or change the device profile");
    profile->add_option("--model", m_word)->check(CLI::IsMember({"entry", "top", "other"}));
    profile->add_option("--usb", m_item)->check(CLI::IsMember({"yes", "no"}));
    onSession(profile, [this](Session& session) { return device(session, m_word, m_item); });
}

void Command::addShell()
{
    if (m_workbench.inShell)
        return;
    add("shell", "All verbs in one running process; commands from a pipe when there is no terminal")->callback([this] {
        m_runsShell = true;
    });
}

std::vector<std::string> Command::verbs()
{
    std::vector<std::string> names;
    for (auto const* const verb : m_app.get_subcommands([](CLI::App const*) { return true; }))
        names.push_back(verb->get_name());
    return names;
}

Report Command::assignments(std::vector<Assignment>& result) const
{
    Report report;
    for (auto const& text : m_items) {
        Assignment assignment;
        if (parseAssignment(text, assignment))
            result.push_back(std::move(assignment));
        else
            report.fail(exitUsage, {text, "expected ITEM=VALUE"});
    }
    return report;
}

Report Command::withAssignments(std::function<Report(std::vector<Assignment> const&)> const& action) const
{
    std::vector<Assignment> values;
    auto report = assignments(values);
    return report.code == exitOk ? action(values) : report;
}

Report Command::assign(Session& session)
{
    std::vector<Assignment> values;
    if (!m_file.empty()) {
        std::ifstream file;
        if (m_file != "-")
            file.open(m_file);
        if (m_file != "-" && !file)
            return failure(exitUsage, m_file, "cannot be read");
        auto report = readAssignments(m_file == "-" ? std::cin : file, m_file, values);
        if (report.code != exitOk)
            return report;
    }
    auto report = assignments(values);
    if (report.code != exitOk)
        return report;
    if (values.empty())
        return failure(exitUsage, "", "nothing to set: give ITEM=VALUE or --file");
    return set(session, values, m_dryRun, m_watch);
}

Session& Command::session()
{
    if (!m_workbench.session) {
        std::string reason;
        m_workbench.options.dryRun = m_dryRun;
        m_workbench.session = Session::open(m_workbench.options, reason);
        if (!m_workbench.session)
            throw OpenFailure{reason};
    }
    m_workbench.session->showSecrets(m_showSecrets || m_workbench.options.showSecrets);
    return *m_workbench.session;
}

int Command::render(Report const& report) const
{
    if (m_json)
        renderJson(report, std::cout);
    else
        renderText(report, std::cout, std::cerr);
    return report.code;
}

int Command::run(std::vector<std::string> words)
{
    bool const wantsJson = std::find(words.begin(), words.end(), "--json") != words.end();
    std::reverse(words.begin(), words.end()); // The parser takes its words from the end.
    try {
        m_app.parse(std::move(words));
    } catch (CLI::ParseError const& error) {
        if (error.get_exit_code() == 0) // The help was asked for.
            return m_app.exit(error, std::cout, std::cerr);
        m_json = m_json || wantsJson; // The parser takes options over only when all words are in order.
        auto const unexpected = m_app.remaining(true);
        return render(failure(exitUsage, unexpected.empty() ? "" : unexpected.front(),
                              std::string(unexpected.empty() ? error.what() : "is not expected here") + "; see --help"));
    }
    try {
        if (!m_workbench.inShell) {
            m_workbench.options.showSecrets = m_showSecrets;
            m_workbench.options.json = m_json;
        }
        if (m_runsShell) {
            session();
            return runShell(m_workbench);
        }
        return render(m_action());
    } catch (OpenFailure const& failed) {
        return render(failure(exitStorage, "", failed.reason));
    }
}

} // namespace

std::vector<std::string> verbNames()
{
    Workbench shell;
    shell.inShell = true;
    auto names = Command(shell).verbs();
    names.insert(names.end(), {"watch", "help", "exit"});
    return names;
}

int runCommand(Workbench& workbench, std::vector<std::string> words)
{
    int const code = Command(workbench).run(std::move(words));
    if (std::cout.flush())
        return code;
    std::cerr << "mediadata: the answer could not be written\n";
    return std::max<int>(code, exitInternal);
}

} // namespace Tool

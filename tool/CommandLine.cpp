#include "CommandLine.h"

#include "Command.h"
#include "Shell.h"

#include <algorithm>
#include <cstdlib>
#include <ostream>
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

} // namespace

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

std::vector<std::string> Command::verbs()
{
    std::vector<std::string> names;
    for (auto const* const verb : m_app.get_subcommands([](CLI::App const*) { return true; }))
        names.push_back(verb->get_name());
    return names;
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
        renderJson(report, m_workbench.console->out);
    else
        renderText(report, m_workbench.console->out, m_workbench.console->err);
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
            return m_app.exit(error, m_workbench.console->out, m_workbench.console->err);
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
    auto const& console = *workbench.console;
    if (console.out.flush())
        return code;
    console.err << "mediadata: the answer could not be written\n";
    return std::max<int>(code, exitInternal);
}

} // namespace Tool

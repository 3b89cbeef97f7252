// The verbs about the configuration as a whole, and their options: explain, diff, export, import, reset, history.
#include "cli/Command.h"
#include "verbs/Diff.h"
#include "verbs/Explain.h"
#include "verbs/History.h"
#include "verbs/Reset.h"
#include "workbench/Differences.h"
#include "workbench/Import.h"

#include <algorithm>
#include <ostream>
#include <utility>

namespace Tool {

namespace {

constexpr char const* passphrasePrompt = "Passphrase";

} // namespace

void Command::addConfiguration()
{
    auto* const explaining = add("explain", "Show where an item's value comes from, layer by layer");
    explaining->add_option("ITEM", m_item, "A name, or a tag number")->required();
    onWorkbench(explaining, [this](Workbench& workbench) { return explain(workbench, m_item); });

    auto const secretOptions = [this](CLI::App* verb, char const* help) {
        verb->add_flag("--secrets", m_secrets, help);
        verb->add_option("--passphrase-file", m_passphraseFile,
                         "Read the passphrase from a file's first line, - for standard input; otherwise it is "
                         "MEDIADATA_PASSPHRASE, or asked for")
            ->option_text("FILE");
    };
    auto* const comparing = add("diff", "Show what differs from the defaults, or from another telephone");
    comparing->add_option("OTHER", m_file, "An exported file, - for standard input, or a data directory");
    comparing->add_flag("--commands", m_commands, "The fewest commands that make this telephone out of a new one");
    secretOptions(comparing, "Open the file's encrypted secrets");
    onWorkbench(comparing, [this](Workbench& workbench) { return compare(workbench); });

    auto* const writing = add("export", "Print the configuration as one JSON document");
    secretOptions(writing, "Put the secrets in, encrypted under a passphrase");
    onWorkbench(writing, [this](Workbench& workbench) { return exportTo(workbench); });

    auto* const reading = add("import", "Take over an exported configuration, each item accounted for");
    reading->add_option("FILE", m_file, "The document, - for standard input")->required();
    reading->add_flag("--dry-run", m_dryRun, "Check the document and write nothing");
    reading->add_flag("--atomic", m_atomic, "Store nothing when one item is refused or unknown");
    secretOptions(reading, "Open the encrypted secrets and store them");
    onChange(reading, "import", [this](Workbench& workbench) { return importFrom(workbench); });

    auto* const resetting = add("reset", "Go back to the defaults");
    resetting
        ->add_option("WHAT", m_items,
                     "audio: the user's audio settings; user-data: everything that follows the user; or items, where a "
                     "table stands for its cells")
        ->required();
    resetting->add_flag("--dry-run", m_dryRun, "Show what would change and write nothing");
    onChange(resetting, "reset", [this](Workbench& workbench) { return reset(workbench, m_items, m_dryRun); });

    auto* const looking = add("history", "Show who changed what, and when");
    looking->add_option("PATTERN", m_item, "A glob with * or ?, or a part of a name");
    looking->add_option("--limit", m_limit, "So many entries, the latest ones; otherwise 100")
        ->check(CLI::Range(0, 1000000))
        ->option_text("NUMBER");
    onWorkbench(looking, [this](Workbench& workbench) { return history(workbench, m_item, m_limit); });
}

void Command::gatherInput()
{
    auto& console = *m_invocation.console;
    for (auto const& file : {m_file, m_passphraseFile}) {
        if (!file.empty())
            console.readAhead(file);
    }
    if (m_app.got_subcommand("diff") && isOtherDirectory())
        console.readDirectoryAhead(m_file);
    if (m_secrets && m_passphraseFile.empty())
        console.askAhead(passphrasePrompt);
}

bool Command::isOtherDirectory() const
{
    std::error_code ignored;
    auto const path = m_invocation.console->directory / m_file;
    return std::filesystem::is_directory(path, ignored) &&
           !std::filesystem::equivalent(path, m_invocation.options.dataDirectory, ignored);
}

std::function<std::optional<std::string>()> Command::passphrase() const
{
    if (m_passphraseFile.empty() && !m_secrets)
        return {};
    if (m_passphraseFile.empty())
        return [this] { return m_invocation.console->passphrase(passphrasePrompt); };
    std::string text;
    if (!m_invocation.console->read(m_passphraseFile, text))
        throw BadInput{m_passphraseFile, "cannot be read"};
    if (m_passphraseFile == "-" && m_file == "-")
        throw BadInput{m_passphraseFile, "holds the document; give the passphrase in a file"};
    text.erase(std::min(text.find('\n'), text.size()));
    if (text.ends_with('\r'))
        text.pop_back();
    return [text] { return std::optional(text); };
}

Report Command::exportTo(Workbench& workbench)
{
    auto report = exportDocument(workbench, passphrase());
    // The document is JSON already.
    m_json = m_json && report.code != exitOk;
    return report;
}

Report Command::importFrom(Workbench& workbench)
{
    std::string text;
    if (!m_invocation.console->read(m_file, text))
        return failure(exitUsage, m_file, "cannot be read");
    Document document;
    auto report = readDocument(text, m_file == "-" ? "standard input" : m_file, passphrase(), document);
    if (report.code != exitOk)
        return report;
    auto account = importDocument(workbench, document, {.dryRun = m_dryRun, .atomic = m_atomic, .all = m_json});
    account.notes = std::move(report.notes);
    return account;
}

Report Command::compare(Workbench& workbench)
{
    if (m_commands && !m_file.empty())
        return failure(exitUsage, m_file, "--commands compares with the defaults");
    if (m_commands)
        return diffCommands(workbench, m_json);
    if (m_file.empty())
        return diff(workbench, defaultDocument(), "the defaults");
    Document other;
    Report report;
    std::error_code ignored;
    auto const& console = *m_invocation.console;
    if (isOtherDirectory()) {
        auto const read = console.readDirectory(m_file);
        if (read.status != exitOk)
            return failure(static_cast<ExitCode>(read.status), m_file, read.text);
        console.err << read.remarks;
        report = parseDocument(read.text, m_file, other);
    } else if (std::filesystem::is_directory(console.directory / m_file, ignored)) {
        other = documentOf(workbench);
    } else {
        std::string text;
        if (!console.read(m_file, text))
            return failure(exitUsage, m_file, "cannot be read");
        report = readDocument(text, m_file == "-" ? "standard input" : m_file, passphrase(), other);
    }
    if (report.code != exitOk)
        return report;
    auto differences = diff(workbench, other, m_file == "-" ? "standard input" : m_file);
    differences.notes = std::move(report.notes);
    return differences;
}

} // namespace Tool

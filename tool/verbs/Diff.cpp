// What differs from another telephone, a file or the defaults, and the commands that make this one anew: `diff`.
#include "verbs/Verbs.h"

#include "report/Console.h"
#include "verbs/Arguments.h"
#include "verbs/Passphrase.h"
#include "workbench/Differences.h"
#include "workbench/Document.h"
#include "workbench/Import.h"
#include "workbench/Items.h"
#include "workbench/OtherTelephone.h"
#include "workbench/Rules.h"
#include "workbench/Values.h"
#include "workbench/Workbench.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace Tool::Verbs {

using namespace Data;

namespace {

/// What is compared with, by gather().
struct Other {
    std::string name; ///< of a document's file or a data directory
    std::filesystem::path path = {};
    FileContent content = {};                     ///< of the file
    std::optional<OtherTelephone> telephone = {}; ///< in the directory
};

struct DiffOptions {
    Words names; ///< of the others; none: the defaults
    bool commands = false;
    bool exitCode = false;
    bool quiet = false;
    PassphraseOptions passphrase;
    General general;
    std::vector<Other> others; ///< by gather()
};

/// A word as the shell takes it for itself.
std::string quoted(std::string const& word)
{
    constexpr std::string_view plain = "_./:@%+,=-";
    auto const isPlain = [=](char c) {
        return std::isalnum(static_cast<unsigned char>(c)) != 0 || plain.find(c) != std::string_view::npos;
    };
    if (!word.empty() && std::all_of(word.begin(), word.end(), isPlain))
        return word;
    std::string text = "'";
    for (char const c : word)
        text += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return text + "'";
}

struct CommandText {
    std::vector<std::string> verb;
    std::vector<std::string> arguments;

    std::string text() const
    {
        std::string line = "mediadata";
        for (auto const& word : verb)
            line += " " + word;
        for (auto const& word : arguments)
            line += (arguments.size() > 1 ? " \\\n    " : " ") + quoted(word);
        return line;
    }
};

/// What no command sets.
struct LeftOut {
    std::string item;
    std::string reason;
    std::string remedy = {};
};

/// What one bulk set has to name. The group-pickup tone type brings its flags along, and the door openers write into the
/// cameras, which cannot be set to anything else.
struct SetText {
    CommandText command{{"set"}, {}};
    std::vector<LeftOut> leftOut = {};
};

SetText setFor(Document const& document, bool showSecrets)
{
    SetText set;
    auto const defaults = defaultDocument().settings;
    auto const links = linkedCameras([&](eDataTag tag) { return document.settings.at(tag); });
    bool const typeChanges = document.settings.at(eDataTagGroupPickupToneType) != defaults.at(eDataTagGroupPickupToneType);
    for (auto const& [tag, value] : document.settings) {
        auto const standard = defaults.find(tag);
        auto const link = links.find(tag);
        auto const given = link != links.end()          ? link->second
                           : standard == defaults.end() ? defaultOf(tag)
                                                        : standard->second;
        bool const isFlag = tag == eDataTagGroupPickupAsRinger || tag == eDataTagGroupPickupToneAllowed;
        if (value == given || (isFlag && typeChanges))
            continue;
        if (link != links.end())
            set.leftOut.push_back({nameOf(tag), "the door openers decide"});
        else if (isUnreadable(tag, value))
            set.leftOut.push_back({nameOf(tag), unreadableWord});
        else if (isSecret(tag) && !showSecrets)
            set.leftOut.push_back({nameOf(tag), "a secret", " (--show-secrets)"});
        else
            set.command.arguments.push_back(nameOf(tag) + "=" + textOf(value));
    }
    return set;
}

std::vector<CommandText> commandsFor(Document const& document, CommandText set)
{
    CommandText changed{{"mgmt", "changed"}, {}};
    for (auto const& [name, value] : document.service)
        changed.arguments.push_back(fmt::format("{}={}", name, value));
    CommandText flags{{"flags"}, {}};
    for (auto const& [flag, value] : *document.flags)
        flags.arguments.push_back(fmt::format("{}={}", flag, value));
    CommandText device{{"device"}, {}};
    auto const standard = defaultDocument();
    if (document.model != standard.model)
        device.verb.insert(device.verb.end(), {"--model", *document.model});
    if (document.usb != standard.usb)
        device.verb.insert(device.verb.end(), {"--usb", *document.usb ? "yes" : "no"});
    std::vector<CommandText> all{std::move(set), std::move(device), std::move(flags), std::move(changed)};
    std::erase_if(all, [](auto const& each) { return each.arguments.empty() && each.verb.size() <= 2; });
    return all;
}

/// `asRows` gives them as rows instead of a text.
Report commandsReport(Workbench& workbench, bool asRows)
{
    auto const document = documentOf(workbench);
    auto [set, leftOut] = setFor(document, workbench.options().showSecrets);
    Section rows{"commands", Layout::Table, {"command"}, {}};
    std::string text;
    for (auto const& command : commandsFor(document, std::move(set))) {
        rows.rows.push_back({command.text()});
        text += command.text() + "\n";
    }
    Section without{"leftOut", Layout::Table, {"item", "reason"}, {}};
    for (auto const& [item, reason, remedy] : leftOut) {
        text += fmt::format("# left out, {}: {}{}\n", reason, item, remedy);
        without.rows.push_back({item, reason + remedy});
    }
    if (text.empty())
        text = "# nothing differs from the defaults\n";
    if (asRows)
        return {exitOk, {std::move(rows), std::move(without)}};
    return {exitOk, {{"commands", Layout::Text, {"text"}, {{text}}}}};
}

/// What the other's name stands for; this telephone's own directory needs no reading.
Other gatherOther(std::string const& name, std::string const& dataDirectory, Console& console)
{
    Other other{name, console.directory / name};
    std::error_code ignored;
    if (!std::filesystem::is_directory(other.path, ignored))
        other.content = console.read(name);
    else if (!std::filesystem::equivalent(other.path, dataDirectory, ignored))
        other.telephone = console.readDirectory(name);
    return other;
}

/// The other telephone; the report says why there is none.
Report readOther(Other const& other, PassphraseOptions const& passphrase, Workbench& workbench, Document& document)
{
    std::error_code ignored;
    if (other.telephone) {
        auto const& [status, text, remarks] = *other.telephone;
        if (status != exitOk)
            return failure(static_cast<ExitCode>(status), other.name, text);
        auto report = parseDocument(text, other.name, document);
        report.remarks = remarks;
        return report;
    }
    if (std::filesystem::is_directory(other.path, ignored)) {
        document = documentOf(workbench);
        return {};
    }
    return readDocument(other.name, other.content, passphrase, document);
}

Report gather(DiffOptions& options, Console& console)
{
    if (options.commands && !console.gathersAhead)
        return {};
    options.others.clear();
    for (auto const& name : options.names) {
        options.others.push_back(gatherOther(name, options.general.dataDirectory, console));
        if (!options.passphrase.typed)
            gatherFor(options.others.back().content, options.passphrase, console);
    }
    return {};
}

Report differencesFrom(Other const& other, PassphraseOptions const& passphrase, Workbench& workbench)
{
    Document document;
    auto report = readOther(other, passphrase, workbench, document);
    if (report.code != exitOk)
        return report;
    auto differences = diff(workbench, document, other.name == "-" ? "standard input" : other.name);
    differences.notes.insert(differences.notes.end(), report.notes.begin(), report.notes.end());
    differences.remarks = std::move(report.remarks);
    return differences;
}

/// A section of several others has the name of each as its first column.
void addFrom(std::string const& name, Section const& section, Section& all)
{
    for (auto row : section.rows) {
        row.insert(row.begin(), Json(name));
        all.rows.push_back(std::move(row));
    }
}

/// All of them in one section of a kind, each below its name.
Report differencesFromAll(DiffOptions const& options, Workbench& workbench)
{
    Report all;
    Section section{"differences", Layout::Table, {"from", "item", "other", "here"}, {}};
    Section missing{"missingSecrets", Layout::Table, {"from", "item", "here"}, {}};
    section.headings = missing.headings = 1;
    for (auto const& other : options.others) {
        auto report = differencesFrom(other, options.passphrase, workbench);
        if (report.sections.empty())
            return report;
        addFrom(other.name, report.sections.front(), section);
        if (report.sections.size() > 1) {
            auto const& its = report.sections[1];
            bool const isBrief = !its.brief.empty() && (missing.rows.empty() || !missing.brief.empty());
            missing.title = its.title;
            missing.brief = isBrief ? its.title + " all empty here" : "";
            addFrom(other.name, report.sections[1], missing);
        }
        if (report.sections.front().rows.empty())
            all.notes.push_back("Nothing differs from " + other.name + ".");
        all.notes.insert(all.notes.end(), report.notes.begin(), report.notes.end());
        all.remarks += report.remarks;
        for (auto& problem : report.problems)
            all.fail(report.code, std::move(problem));
    }
    all.sections.push_back(std::move(section));
    if (!missing.rows.empty())
        all.sections.push_back(std::move(missing));
    return all;
}

Report differences(DiffOptions const& options, Workbench& workbench)
{
    if (options.others.empty()) {
        auto report = diff(workbench, defaultDocument(), "the defaults");
        report.sections.front().called = {{"other", "default"}};
        return report;
    }
    return options.others.size() == 1 ? differencesFrom(options.others.front(), options.passphrase, workbench)
                                      : differencesFromAll(options, workbench);
}

/// The differences, or the fewest commands that make this telephone out of one on which nothing was changed: in JSON as rows,
/// otherwise as a text for the shell.
Report run(DiffOptions const& options, Workbench& workbench)
{
    if (options.commands && !options.names.empty())
        return failure(exitUsage, options.names.front(), "--commands compares with the defaults");
    if (options.commands)
        return commandsReport(workbench, options.general.json);
    auto report = differences(options, workbench);
    bool const isAny = !report.sections.empty() && !report.sections.front().rows.empty();
    if (isAny && (options.exitCode || options.quiet))
        report.raise(exitInternal);
    if (options.quiet) {
        report.sections.clear();
        report.notes.clear();
    }
    return report;
}

} // namespace

Verb diffVerb()
{
    auto const options = std::make_shared<DiffOptions>();
    return {.name = "diff",
            .help = "Show what differs from the defaults, or from other telephones",
            .arguments = withPassphrase(
                {{.name = "OTHER",
                  .target = &options->names,
                  .help = "Exported files, - for standard input, or data directories",
                  .offer = Offers::files},
                 {.name = "--exit-code", .target = &options->exitCode, .help = "End with 1 when there is a difference"},
                 {.name = "--quiet",
                  .target = &options->quiet,
                  .help = "The same, and say nothing of the differences",
                  .letter = "-q"},
                 {.name = "--commands",
                  .target = &options->commands,
                  .help = "The fewest commands that make this telephone out of a new one"}},
                options->passphrase, "Open the file's encrypted secrets"),
            .action = onWorkbench(options),
            .gather = gathering(options),
            .general = &options->general};
}

} // namespace Tool::Verbs

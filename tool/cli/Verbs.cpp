// The verbs and their options.
#include "cli/Command.h"
#include "verbs/Country.h"
#include "verbs/Describe.h"
#include "verbs/Get.h"
#include "verbs/List.h"
#include "verbs/Mobility.h"
#include "verbs/Table.h"
#include "workbench/Device.h"
#include "workbench/FlagFile.h"
#include "workbench/Items.h"
#include "workbench/Management.h"

#include <map>
#include <utility>

namespace Tool {

CLI::App* Command::add(std::string const& name, std::string const& help)
{
    return m_app.add_subcommand(name, help);
}

void Command::onWorkbench(CLI::App* verb, Verb action)
{
    verb->callback([this, action = std::move(action)] { m_action = [this, action] { return action(workbench()); }; });
}

void Command::onChange(CLI::App* verb, std::string who, Verb action)
{
    onWorkbench(verb, [who = std::move(who), action = std::move(action)](Workbench& workbench) {
        return workbench.journal().record(who, [&] { return action(workbench); });
    });
}

void Command::addSettings()
{
    auto* const listing = add("list", "List items with their values");
    listing->add_option("PATTERN", m_item, "A glob with * or ?, or a part of a name");
    listing->add_flag("--changed", m_changedOnly, "Only what differs from its default");
    onWorkbench(listing, [this](Workbench& workbench) { return list(workbench, m_item, m_changedOnly); });

    auto* const reading = add("get", "Print values");
    reading->add_option("ITEM", m_items, "Names, or tag numbers")->required();
    onWorkbench(reading, [this](Workbench& workbench) { return get(workbench, m_items); });

    auto* const writing = add("set", "Set values, all in one bulk set");
    writing->add_option("ITEM=VALUE", m_items, "A value may be empty");
    writing->add_option("--file", m_file, "Read ITEM=VALUE lines from a file, - for standard input")->option_text("FILE");
    writing->add_flag("--dry-run", m_dryRun, "Check the values and write nothing");
    writing->add_flag("--atomic", m_atomic, "Store nothing when one value is refused");
    writing->add_flag("--watch", m_watch, "Show what a registered callback heard");
    onChange(writing, "set", [this](Workbench& workbench) { return assign(workbench); });

    auto* const describing = add("describe", "Show everything the catalogue says about an item");
    describing->add_option("ITEM", m_item, "A name, or a tag number")->required();
    onWorkbench(describing, [this](Workbench& workbench) { return describe(workbench, m_item); });

    addConfiguration();
}

void Command::addCatalogue()
{
    static std::map<std::string, CatalogueFormat> const formats{
        {"tsv", CatalogueFormat::Tsv}, {"json", CatalogueFormat::Objects}, {"markdown", CatalogueFormat::Markdown}};
    auto* const verb = add("catalogue", "Print the table of all settings");
    verb->add_option("--format", m_word, "tsv, json or markdown")
        ->check(CLI::IsMember({"tsv", "json", "markdown"}))
        ->option_text("FORMAT");
    verb->callback([this] {
        m_action = [this] {
            auto const format = m_word.empty() ? CatalogueFormat::Tsv : formats.at(m_word);
            m_json = m_json || format == CatalogueFormat::Objects;
            return catalogue(m_json ? CatalogueFormat::Objects : format);
        };
    });
}

void Command::addManagement()
{
    auto* const verb = add("mgmt", "Act as the management service");
    verb->require_subcommand(1);
    auto* const reading = verb->add_subcommand("get", "Read items as the service reads them");
    reading->add_option("ITEM", m_items, "An item, or a table such as codecSettings")->required();
    onWorkbench(reading, [this](Workbench& workbench) { return managementGet(workbench, m_items); });

    auto* const writing = verb->add_subcommand("set", "Set items of the media component, with reject reasons");
    writing->add_option("ITEM=VALUE", m_items, "As the service names them")->required();
    onChange(writing, "management", [this](Workbench& workbench) {
        return withAssignments([&](auto const& values) { return managementSet(workbench, values); });
    });

    auto* const changed = verb->add_subcommand("changed", "Report that items of other components changed");
    changed->add_option("ITEM=VALUE", m_items, "As the service names them")->required();
    onChange(changed, "management", [this](Workbench& workbench) {
        return withAssignments([&](auto const& values) { return managementChanged(workbench, values); });
    });
    onChange(verb->add_subcommand("reset-user-data", "Order a reset of the user's settings"), "management", managementReset);
    onWorkbench(verb->add_subcommand("journal", "Show what the library read, reported and requested"), managementJournal);
}

void Command::addTelephone()
{
    auto* const showing = add("table", "Show a table as people read it");
    showing->add_option("NAME", m_word, "codec, srtp, headset, ringing, door-openers, cameras or group-pickup")
        ->required()
        ->check(CLI::IsMember(tableNames()));
    showing->add_option("--alert", m_item, "Of the ringing table, the row of this alert identifier")
        ->option_text("IDENTIFIER");
    onWorkbench(showing, [this](Workbench& workbench) { return table(workbench, m_word, m_item); });

    auto* const where = add("country", "Show the country, or report a new one");
    auto* const code = where->add_option("CODE", m_word, "Two capital letters, as of ISO 3166-1");
    onChange(where, "management", [this, code](Workbench& workbench) {
        return country(workbench, code->empty() ? std::nullopt : std::optional(m_word));
    });

    auto* const moving = add("mobility", "Announce how the user's data is handled");
    moving->add_option("TYPE", m_word, "all, managed, unmanaged or an empty text")->required();
    onChange(moving, "management", [this](Workbench& workbench) { return mobility(workbench, m_word); });

    auto* const options = add("flags", "Show or change the flag file");
    options->add_option("FLAG[=VALUE]", m_items, "FLAG alone means true, FLAG= takes its line away");
    options->add_flag("--clear", m_clear, "Remove the file");
    onChange(options, "flag file", [this](Workbench& workbench) { return flags(workbench, m_items, m_clear); });

    auto* const profile = add("device", "Show or change the device profile");
    profile->add_option("--model", m_word, "entry, top or other")
        ->check(CLI::IsMember({"entry", "top", "other"}))
        ->option_text("MODEL");
    profile->add_option("--usb", m_item, "yes or no")->check(CLI::IsMember({"yes", "no"}))->option_text("ANSWER");
    onChange(profile, "device", [this](Workbench& workbench) { return device(workbench, m_word, m_item); });
}

void Command::addHolders()
{
    if (m_invocation.inShell)
        return;
    auto const process = [this](CLI::App* verb, int (Command::*start)(), bool holds) {
        verb->callback([this, start, holds] {
            m_process = [this, start] { return (this->*start)(); };
            m_holds = holds;
        });
    };
    process(add("shell", "Run lines of commands; others are served meanwhile"), &Command::shell, true);
    process(add("serve", "Hold the data directory for others until SIGTERM"), &Command::serve, true);
    auto* const watching = add("watch", "Print changes as they come, of a holder or as one");
    watching->add_option("PATTERN", m_item, "A glob with * or ?, or a part of a name");
    watching->add_option("--count", m_count, "End after so many changes")
        ->check(CLI::Range(0, 1000000))
        ->option_text("NUMBER");
    watching->add_option("--timeout", m_seconds, "End after so many seconds; status 1 if too few")
        ->check(CLI::Range(1, 1000000))
        ->option_text("SECONDS");
    process(watching, &Command::watch, false);
}

Report Command::assignments(std::vector<Assignment>& result) const
{
    Report report;
    bool namesASecret = false; // What follows "camera-password-1" instead of "=" is likely to be one.
    for (auto const& text : m_items) {
        Assignment assignment;
        if (parseAssignment(text, assignment)) {
            result.push_back(std::move(assignment));
            continue;
        }
        report.fail(exitUsage, {namesASecret && !m_showSecrets ? std::string(masked) : text, "expected ITEM=VALUE"});
        auto const tag = findItem(text);
        namesASecret = namesASecret || (tag && isSecret(*tag));
    }
    return report;
}

Report Command::withAssignments(std::function<Report(std::vector<Assignment> const&)> const& action) const
{
    std::vector<Assignment> values;
    auto report = assignments(values);
    return report.code == exitOk ? action(values) : report;
}

Report Command::assign(Workbench& workbench)
{
    std::vector<Assignment> values;
    if (!m_file.empty()) {
        std::string text;
        if (!m_invocation.console->read(m_file, text))
            return failure(exitUsage, m_file, "cannot be read");
        auto report = readAssignments(text, m_file, values);
        if (report.code != exitOk)
            return report;
    }
    auto report = assignments(values);
    if (report.code != exitOk)
        return report;
    if (values.empty())
        return failure(exitUsage, "", "nothing to set: give ITEM=VALUE or --file");
    return set(workbench, values, {.dryRun = m_dryRun, .atomic = m_atomic, .watch = m_watch});
}

} // namespace Tool

#include "verbs/Settings.h"

#include "verbs/Catalogue.h"
#include "workbench/Accepted.h"
#include "workbench/Items.h"
#include "workbench/Outcomes.h"
#include "workbench/Snapshot.h"
#include "workbench/Workbench.h"

#include "Data/DataItemBuilder.h"
#include "Data/DataSourceDB.h"
#include "DataSourceOCMS/DataSourceOCMS.h"

#include <fmt/format.h>

#include <algorithm>
#include <set>
#include <sstream>
#include <utility>

namespace Tool {

using namespace Data;

namespace {

/// The tags of the assignments; the report says which names are unknown or given twice, and nothing is set then.
Report resolve(std::vector<Assignment> const& assignments, std::vector<eDataTag>& tags)
{
    Report report;
    std::set<eDataTag> seen;
    for (auto const& assignment : assignments) {
        auto const tag = findItem(assignment.item);
        if (!tag)
            report.fail(exitUnknownItem, unknownItem(assignment.item).problems.front());
        else if (!seen.insert(*tag).second)
            report.fail(exitUsage, {assignment.item, "given twice"});
        else
            tags.push_back(*tag);
    }
    return report;
}

Section heardSection(std::vector<HeardChange> const& heard, bool showSecrets)
{
    Section section{"heard", Layout::Table, {"tag", "item", "value"}, {}, "\nHeard by the registered callback:"};
    for (auto const& change : heard)
        section.rows.push_back(
            {static_cast<int>(change.tag), nameOf(change.tag), shown(change.tag, change.value, showSecrets)});
    return section;
}

std::string trimmed(std::string const& text)
{
    constexpr char const* blanks = " \t\r";
    auto const first = text.find_first_not_of(blanks);
    return first == std::string::npos ? "" : text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

std::string unquoted(std::string const& text)
{
    return text.size() >= 2 && text.front() == '"' && text.back() == '"' ? text.substr(1, text.size() - 2) : text;
}

char const* ownerOf(eDataTag tag)
{
    if (!isHeld(tag))
        return "another component; asked from the management service each time";
    if (tag > eDataTagFunctionKeyDef915)
        return "media; set by the flag file";
    if (DataCache::DataItemBuilder::findDataRecord(tag)->component != eDataComponentMedia)
        return "another component; observed through the management service";
    return "media";
}

Json orNull(std::string text)
{
    return text == "-" ? Json() : Json(std::move(text));
}

Json nameOrNull(std::string const* name)
{
    return name ? Json(*name) : Json();
}

} // namespace

bool parseAssignment(std::string const& text, Assignment& assignment)
{
    auto const equals = text.find('=');
    if (equals == 0 || equals == std::string::npos)
        return false;
    assignment = {text.substr(0, equals), text.substr(equals + 1)};
    return true;
}

Report readAssignments(std::string const& content, std::string const& fileName, std::vector<Assignment>& assignments)
{
    Report report;
    std::istringstream input(content);
    std::string line;
    for (int number = 1; std::getline(input, line); ++number) {
        auto const text = trimmed(line);
        if (text.empty() || text.front() == '#')
            continue;
        Assignment assignment;
        if (!parseAssignment(text, assignment)) {
            report.fail(exitUsage, {fmt::format("{}:{}", fileName, number), "expected ITEM=VALUE"});
            continue;
        }
        assignments.push_back({trimmed(assignment.item), unquoted(trimmed(assignment.value))});
    }
    return report;
}

Report list(Workbench& workbench, std::string const& pattern, bool changedOnly)
{
    auto const tags = pattern.empty() ? allTags() : matchItems(pattern);
    if (tags.empty())
        return failure(exitUnknownItem, pattern, "matches no item", namesNear(pattern));
    Report report;
    Section section{"items", Layout::Table, {"tag", "item", "type", "value"}, {}};
    auto const others = serviceValues(workbench);
    for (auto const tag : tags) {
        if (!exists(tag))
            continue;
        auto const value = knownValue(tag, others);
        bool const isChanged = !value.is_null() && typeOf(tag) != eDataItemTypeComplex && value != defaultOf(tag);
        if (!changedOnly || isChanged)
            section.rows.push_back({static_cast<int>(tag), nameOf(tag), typeName(typeOf(tag)),
                                    shown(tag, value, workbench.options().showSecrets)});
    }
    if (section.rows.empty())
        report.notes.emplace_back(changedOnly ? "Nothing differs from the defaults."
                                              : "The catalogue has what matches switched off.");
    report.sections.push_back(std::move(section));
    return report;
}

Report get(Workbench& workbench, std::vector<std::string> const& items)
{
    Report report;
    Section section{"items", Layout::Values, {"item", "tag", "type", "value"}, {}};
    for (auto const& name : items) {
        auto const tag = findItem(name);
        if (!tag) {
            report.fail(exitUnknownItem, unknownItem(name).problems.front());
            continue;
        }
        auto const value = readValue(*tag);
        if (!exists(*tag))
            report.fail(exitRefused, {name, "the catalogue has this item switched off"});
        else if (!value)
            report.fail(exitStorage, {name, "the management service has no value for it"});
        else
            section.rows.push_back({nameOf(*tag), static_cast<int>(*tag), typeName(typeOf(*tag)),
                                    shown(*tag, *value, workbench.options().showSecrets)});
    }
    report.sections.push_back(std::move(section));
    return report;
}

Report describe(Workbench& workbench, std::string const& item)
{
    auto const tag = findItem(item);
    if (!tag)
        return unknownItem(item);
    auto const& record = DataCache::DataItemBuilder::dataItemDefaultTable[*tag];
    auto const& database = DataSourceDB::dataDbDescriptionTable[*tag];
    auto const& management = DataSourceOCMS::dataOCMSDescriptionTable[*tag];
    bool const secrets = workbench.options().showSecrets;
    auto const parent = database.parentTable;
    std::vector<std::pair<char const*, Json>> const lines{
        {"item", nameOf(*tag)},
        {"tag", static_cast<int>(*tag)},
        {"value", shown(*tag, readValue(*tag).value_or(Json()), secrets)},
        {"type", typeName(record.value.type)},
        {"default", exists(*tag) ? Json(record.value.text) : Json()},
        {"accepted", acceptedText(*tag)},
        {"value check", orNull(chainText(record.valueChain))},
        {"text check", orNull(chainText(record.stringChain))},
        {"owner", ownerOf(*tag)},
        {"user data", record.isUserData},
        {"secret", isSecret(*tag)},
        {"schema", nameOrNull(database.schema)},
        {"element", nameOrNull(database.element)},
        {"table", parent > eDataTagNone && parent < eDataTagEnd ? Json(nameOf(parent)) : Json()},
        {"management item", nameOrNull(management.item)},
        {"sub-item", nameOrNull(management.subItem)},
        {"names", namesOf(*tag)},
    };
    Section section{"item", Layout::Pairs, {}, {{}}};
    for (auto const& [column, value] : lines) {
        section.columns.emplace_back(column);
        section.rows.front().push_back(value);
    }
    return {exitOk, {std::move(section)}};
}

Report set(Workbench& workbench, std::vector<Assignment> const& assignments, SetOptions options)
{
    std::vector<eDataTag> tags;
    auto report = resolve(assignments, tags);
    if (report.code != exitOk)
        return report;
    auto const others = serviceValues(workbench);
    std::vector<Outcome> outcomes;
    for (std::size_t index = 0; index < tags.size(); ++index) {
        if (isSecret(tags[index]))
            workbench.hideInLog(assignments[index].value);
        workbench.journal().ask(tags[index]);
        outcomes.push_back(check(tags[index], assignments[index].value, others));
    }
    return set(workbench, std::move(outcomes), options);
}

Report set(Workbench& workbench, std::vector<Outcome> outcomes, SetOptions options)
{
    bool const secrets = workbench.options().showSecrets;
    checkRingers(outcomes, options.follow);
    checkTables(workbench, outcomes);
    bool const heldBack = options.atomic && holdBack(outcomes);
    std::vector<HeardChange> heard;
    if (!options.dryRun && !heldBack) {
        auto previous = workbench.listen({});
        workbench.listen([&](auto const& changes) {
            heard.insert(heard.end(), changes.begin(), changes.end());
            if (previous)
                previous(changes);
        });
        auto const earlier = options.atomic ? Snapshot::values() : std::vector<Json>();
        store(workbench, outcomes);
        if (options.atomic && holdBack(outcomes))
            putBack(workbench, earlier);
        workbench.listen(std::move(previous));
    }
    if (!options.dryRun)
        noteRefusals(workbench, outcomes);
    auto report = account(outcomes, secrets);
    if (options.watch)
        report.sections.push_back(heardSection(heard, secrets));
    return report;
}

} // namespace Tool

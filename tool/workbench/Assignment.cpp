#include "workbench/Assignment.h"

#include "workbench/ChangeCallback.h"
#include "workbench/Consequences.h"
#include "workbench/Items.h"
#include "workbench/Outcomes.h"
#include "workbench/Snapshot.h"
#include "workbench/Workbench.h"

#include <fmt/format.h>

#include <algorithm>
#include <set>
#include <sstream>
#include <utility>

namespace Tool {

using namespace Data;

namespace {

Problem unknownAt(Assignment const& assignment)
{
    auto problem = unknownItem(assignment.item).problems.front();
    if (!assignment.place.empty())
        problem = {assignment.place, fmt::format("{}: {}; nothing was stored", assignment.item, problem.reason),
                   std::move(problem.suggestions)};
    return problem;
}

/// The tags of the assignments; the report says which names are unknown or given twice, and nothing is set then.
Report resolve(std::vector<Assignment> const& assignments, std::vector<eDataTag>& tags)
{
    Report report;
    std::set<eDataTag> seen;
    for (auto const& assignment : assignments) {
        auto const tag = findItem(assignment.item);
        if (!tag)
            report.fail(exitUnknownItem, unknownAt(assignment));
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

constexpr char const* blanks = " \t\r";

std::string trimmed(std::string const& text)
{
    auto const first = text.find_first_not_of(blanks);
    return first == std::string::npos ? "" : text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

std::string unquoted(std::string const& text)
{
    return text.size() >= 2 && text.front() == '"' && text.back() == '"' ? text.substr(1, text.size() - 2) : text;
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

Report parseAssignments(std::vector<std::string> const& texts, bool showSecrets, std::vector<Assignment>& assignments)
{
    Report report;
    bool namesASecret = false; // What follows "camera-password-1" instead of "=" is likely to be one.
    for (auto const& text : texts) {
        Assignment assignment;
        if (parseAssignment(text, assignment)) {
            assignments.push_back(std::move(assignment));
            continue;
        }
        report.fail(exitUsage, {namesASecret && !showSecrets ? std::string(masked) : text, "expected ITEM=VALUE"});
        auto const tag = findItem(text);
        namesASecret = namesASecret || (tag && isSecret(*tag));
    }
    return report;
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
        assignments.push_back({trimmed(assignment.item), unquoted(trimmed(assignment.value)),
                               fmt::format("{}:{}:{}", fileName, number, line.find_first_not_of(blanks) + 1)});
    }
    return report;
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
        workbench.journal().ask(tags[index]);
        outcomes.push_back(check(tags[index], assignments[index].value, others));
    }
    return set(workbench, std::move(outcomes), options);
}

Report set(Workbench& workbench, std::vector<Outcome> outcomes, SetOptions options)
{
    bool const secrets = workbench.options().showSecrets;
    auto const manner = options.follow ? Manner::Follow : Manner::Once;
    refuseUndone(outcomes, manner);
    checkTables(workbench, outcomes);
    orderByRank(workbench, outcomes);
    bool const heldBack = options.atomic && holdBack(outcomes);
    auto const forecast = forecastOf(outcomes, manner);
    auto const asked = askedFor(outcomes);
    auto const losses = options.yes ? std::vector<eDataTag>() : wiped(forecast, asked);
    if (!losses.empty() && !options.dryRun) {
        holdGoodBack(outcomes);
        auto report = account(outcomes, secrets);
        report.sections.push_back(alsoChanged(workbench, {}, {}));
        addWiped(workbench, report, losses);
        askToWipe(report, losses);
        return report;
    }
    std::vector<HeardChange> heard;
    Snapshot const before(workbench);
    auto foretold = alsoChanged(workbench, forecast, asked);
    if (!options.dryRun && !heldBack) {
        Listening const listening([&](auto const& changes) { heard.insert(heard.end(), changes.begin(), changes.end()); });
        auto const earlier = options.atomic ? Snapshot::values() : std::vector<Json>();
        store(workbench, outcomes);
        if (options.atomic && holdBack(outcomes))
            putBack(workbench, earlier);
    }
    if (!options.dryRun)
        noteRefusals(workbench, outcomes);
    auto report = account(outcomes, secrets);
    report.sections.push_back(options.dryRun ? std::move(foretold) : alsoChanged(before, asked));
    addWiped(workbench, report, losses);
    if (options.watch)
        report.sections.push_back(heardSection(heard, secrets));
    return report;
}

} // namespace Tool

#include "workbench/Management.h"

#include "report/Text.h"
#include "workbench/Accepted.h"
#include "workbench/Consequences.h"
#include "workbench/Items.h"
#include "workbench/Outcomes.h"
#include "workbench/Rehearsal.h"
#include "workbench/RingerCopies.h"
#include "workbench/Rules.h"
#include "workbench/Snapshot.h"
#include "workbench/Workbench.h"

#include "Data/DataItemBuilder.h"
#include "Data/DataSourceOCMS.h"

#include "ManageableData.h"
#include "ManagementService.h"

#include <algorithm>
#include <map>
#include <optional>
#include <utility>

namespace Tool {

using namespace Data;

namespace {

struct ManagementNames {
    std::string item;
    std::string subItem;
};

/// The management names of a tag; nothing when it has none.
std::optional<ManagementNames> managementNames(eDataTag tag)
{
    auto const& row = DataSourceOCMS::dataOCMSDescriptionTable[tag];
    if (!row.item)
        return std::nullopt;
    return ManagementNames{*row.item, row.subItem ? *row.subItem : *row.item};
}

bool isOwned(eDataTag tag)
{
    return DataCache::DataItemBuilder::dataItemDefaultTable[tag].component == eDataComponentMedia;
}

/// The tags that a name stands for: all cells of a management item or a table, otherwise one.
std::vector<eDataTag> tagsOf(std::string const& name)
{
    std::vector<eDataTag> tags;
    for (auto const tag : allTags()) {
        auto const& row = DataSourceOCMS::dataOCMSDescriptionTable[tag];
        if (row.item && row.subItem && *row.item == name)
            tags.push_back(tag);
    }
    return tags.empty() ? namedBy(name) : tags;
}

Problem noManagementItem(std::string const& name)
{
    return {name, "the management service has no item for it"};
}

ManageableData recordOf(TagTexts const& values)
{
    ManageableData record;
    for (auto const& [tag, text] : values) {
        auto const names = *managementNames(tag);
        record.populate(names.item, names.subItem, text);
    }
    return record;
}

/// The assignments by tag. Problems mean that nothing is to be sent.
struct Request {
    TagTexts values;
    std::map<eDataTag, std::string> refused; ///< what the tool itself does not let through, and why
    Report report;

    /// What is sent.
    TagTexts wanted() const
    {
        auto wanted = values;
        std::erase_if(wanted, [&](auto const& each) { return refused.contains(each.first); });
        return wanted;
    }
};

Request requestOf(Workbench& workbench, std::vector<Assignment> const& assignments)
{
    Request request;
    for (auto const& [name, text, place] : assignments) {
        auto const tag = findItem(name);
        if (!tag) {
            request.report.fail(exitUnknownItem, unknownItem(name).problems.front());
            continue;
        }
        if (!managementNames(*tag)) {
            request.report.fail(exitUnknownItem, noManagementItem(name));
            continue;
        }
        if (std::any_of(request.values.begin(), request.values.end(),
                        [&](auto const& each) { return each.first == *tag; })) {
            request.report.fail(exitUsage, {name, "given twice"});
            continue;
        }
        workbench.journal().ask(*tag);
        request.values.emplace_back(*tag, libraryText(*tag, text));
        if (auto reason = whyUnfit(*tag, text); !reason.empty())
            request.refused.emplace(*tag, std::move(reason));
    }
    return request;
}

/// What a rule would undo, and the cells of tables that would not pass their checks. The library gives no reason for those.
void refuseUnfit(Workbench& workbench, Request& request)
{
    std::vector<Outcome> outcomes;
    for (auto const& [tag, text] : request.wanted()) {
        if (isOwned(tag))
            outcomes.push_back(check(tag, text, {}));
    }
    refuseUndone(outcomes, Manner::Once);
    for (auto const& outcome : outcomes) {
        if (outcome.result == Result::Refused && !outcome.wanted.is_null())
            request.refused.emplace(outcome.tag, outcome.reason);
    }
    Rehearsal rehearsal;
    auto const tables = workbench.quietly([&] {
        rehearsal.want(recordOf(request.wanted()));
        return rehearsal.refused();
    });
    for (auto const& [tag, text] : request.values) {
        if (auto const found = tables.find(storedTableOf(tag)); found != tables.end())
            request.refused.emplace(tag, found->second);
    }
}

using Reasons = std::map<std::pair<std::string, std::string>, std::string>;

Reasons reasonsOf(ManageableData const& record)
{
    Reasons reasons;
    for (auto const& reject : record.rejectReasons()) {
        auto& text = reasons[{reject.item, reject.subItem}];
        text += (text.empty() ? "" : "; ") + reject.reason;
    }
    return reasons;
}

} // namespace

Report managementGet(Workbench& workbench, std::vector<std::string> const& items)
{
    Report report;
    ManageableData asked;
    ManageableData observed;
    std::vector<std::pair<eDataTag, ManagementNames>> wanted;
    for (auto const& name : items) {
        auto const tags = tagsOf(name);
        if (tags.empty())
            report.fail(exitUnknownItem, unknownItem(name).problems.front());
        for (auto const tag : tags) {
            if (auto const names = managementNames(tag)) {
                (isOwned(tag) ? asked : observed).populate(names->item, names->subItem);
                wanted.emplace_back(tag, *names);
            } else {
                report.fail(exitUnknownItem, noManagementItem(name));
            }
        }
    }
    workbench.service().getOwned(asked);
    // What other components own, the service answers itself.
    if (!observed.entries().empty())
        workbench.service().readData(observed);
    Section section{"items", Layout::Table, {"item", "sub-item", "value", "reason"}, {}};
    for (auto const& [tag, names] : wanted) {
        std::string text;
        bool const known = (isOwned(tag) ? asked : observed).interogate(names.item, names.subItem, text);
        auto const* const missing = isOwned(tag) ? "hidden: the hardware cannot use this row" : "the service has no value";
        section.rows.push_back({names.item, names.subItem == names.item ? Json() : Json(names.subItem),
                                known ? shown(tag, typedValue(tag, text), workbench.options().showSecrets) : Json(),
                                known ? Json() : Json(missing)});
    }
    report.sections.push_back(std::move(section));
    return report;
}

Report managementSet(Workbench& workbench, std::vector<Assignment> const& assignments)
{
    auto request = requestOf(workbench, assignments);
    if (request.report.code != exitOk)
        return std::move(request.report);
    refuseUnfit(workbench, request);
    Snapshot const changes(workbench);
    auto const wanted = request.wanted();
    auto record = recordOf(wanted);
    workbench.storage().takeItems();
    bool const taken = [&] {
        auto const copies = RingerCopies::atChange(workbench, wanted);
        return workbench.service().setOwned(record);
    }();
    auto const notStored = workbench.storage().takeItems();
    auto const reasons = reasonsOf(record);
    auto& report = request.report;
    Section section{"items", Layout::Table, {"result", "item", "value", "reason"}, {}};
    auto const value = [](eDataTag tag) { return readValue(tag).value_or(Json()); };
    for (auto const& [tag, text] : request.values) {
        auto const names = *managementNames(tag);
        auto const reason = reasons.find({names.item, names.subItem});
        auto const own = request.refused.find(tag);
        Outcome outcome{tag, text, {}, {}};
        if (!isOwned(tag)) {
            outcome.result = Result::Ignored;
            outcome.reason = "belongs to another component: use mgmt changed";
        } else if (own != request.refused.end() || reason != reasons.end()) {
            outcome.reason = own != request.refused.end() ? own->second : reason->second;
        } else if (outcome.wanted = validate(tag, text, outcome.reason); !outcome.wanted.is_null()) {
            auto const now = value(tag);
            bool const isMoved = now != outcome.wanted && hardwareFlagOf(tag, value) != eDataTagNone;
            bool const isThere = taken || now == outcome.wanted;
            settle(outcome, isThere, !notStored.contains(storedTableOf(tag)));
            if (isMoved && outcome.result == Result::Refused) {
                outcome.result = Result::Taken;
                outcome.reason = "the rows of its table were put in order: it is " + cellText(now);
            }
        }
        if (outcome.result == Result::Stored)
            outcome.result = Result::Taken;
        if (outcome.result == Result::Taken && outcome.reason.empty())
            outcome.reason = limitOf(outcome);
        report.raise(rowOf(outcome.result).raises);
        noteRefusals(workbench, {outcome});
        section.rows.push_back({wordOf(outcome.result), nameOf(tag),
                                shown(tag, typedValue(tag, text), workbench.options().showSecrets),
                                outcome.reason.empty() ? Json() : Json(outcome.reason)});
    }
    report.sections.push_back(std::move(section));
    report.sections.push_back(changes.section("changed", "\nChanged:"));
    if (report.code != exitStorage && (!taken || !request.refused.empty()))
        report.fail(exitRefused, {"", "the request was refused"});
    return std::move(report);
}

Report managementChanged(Workbench& workbench, std::vector<Assignment> const& assignments)
{
    auto request = requestOf(workbench, assignments);
    auto& report = request.report;
    for (auto const& [tag, text] : request.values) {
        if (isOwned(tag))
            report.fail(exitRefused, {nameOf(tag), "belongs to the media component: use mgmt set"});
        else if (request.refused.contains(tag))
            report.fail(exitRefused, {nameOf(tag), request.refused.at(tag)});
    }
    if (report.code != exitOk)
        return std::move(report);
    Snapshot const changes(workbench);
    if (!changeService(workbench, request.values))
        return failure(exitStorage, "", "the management service could not keep it");
    report.sections.push_back(changes.section("changed", "Changed:"));
    return std::move(report);
}

bool changeService(Workbench& workbench, TagTexts const& values)
{
    auto record = recordOf(values);
    auto const copies = RingerCopies::atChange(workbench, values);
    return workbench.service().change(record);
}

bool withdrawFromService(Workbench& workbench, TagTexts const& values)
{
    auto record = recordOf(values);
    return workbench.service().withdraw(record);
}

bool resetUserData(Workbench& workbench)
{
    TagTexts cells;
    for (auto const tag : allTags()) {
        if (storedTableOf(tag) != eDataTagNone)
            cells.emplace_back(tag, textOf(defaultOf(tag)));
    }
    auto const copies = RingerCopies::atChange(workbench, cells);
    return workbench.service().resetUserData();
}

Report managementReset(Workbench& workbench)
{
    Snapshot const changes(workbench);
    for (auto const tag : allTags())
        workbench.journal().ask(tag);
    if (!resetUserData(workbench))
        return failure(exitStorage, "", "the library did not reset the user's settings");
    return {exitOk, {changes.section("changed", "Changed:")}};
}

Report managementJournal(Workbench& workbench)
{
    Section section{"journal", Layout::Table, {"time", "kind", "item", "value"}, {}};
    section.headings = 1;
    for (auto const& entry : workbench.service().journal()) {
        bool const isQuestion = entry.kind == "read" && entry.value.empty();
        section.rows.push_back(
            {timeText(entry.time), entry.kind, entry.item, isQuestion ? Json() : typedValue(entry.item, entry.value)});
    }
    return {exitOk, {std::move(section)}};
}

} // namespace Tool

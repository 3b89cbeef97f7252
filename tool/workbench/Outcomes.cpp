#include "workbench/Outcomes.h"

#include "report/Text.h"
#include "workbench/Accepted.h"
#include "workbench/Items.h"
#include "workbench/Rehearsal.h"
#include "workbench/RingerCopies.h"
#include "workbench/Rules.h"
#include "workbench/Snapshot.h"
#include "workbench/Workbench.h"

#include "Data/BulkData.h"
#include "Data/DataSourceDB.h"
#include "Data/RankedTables.h"
#include "Media/MediaDataCache.h"
#include "Tables/Rules.h"
#include "Tables/SettingOptions.h"

#include "HostPlatform.h"
#include "store/Database.h"

#include <fmt/format.h>

#include <algorithm>
#include <optional>
#include <utility>

namespace Tool {

using namespace Data;
using Media::MediaDataCache;

namespace {

void addToBulk(BulkData& bulk, eDataTag tag, Json const& value)
{
    if (value.is_number())
        bulk.addTagValue<int>(tag, value.get<int>(), false);
    else if (value.is_boolean())
        bulk.addTagValue<bool>(tag, value.get<bool>(), false);
    else
        bulk.addTagValue<std::string>(tag, value.get<std::string>(), false);
}

/// These take effect each time they are written, also with the value they have.
bool alwaysWritten(eDataTag tag)
{
    return tag == eDataTagSubmitResendLatestQdcReport || tag == eDataTagQosStatistics;
}

Outcome const* findOutcome(std::vector<Outcome> const& outcomes, eDataTag tag)
{
    auto const found = std::find_if(outcomes.begin(), outcomes.end(), [=](Outcome const& each) { return each.tag == tag; });
    return found == outcomes.end() ? nullptr : &*found;
}

/// The group-pickup tone type brings its two flags along. Set together with them it would leave the group's remembered type
/// behind, and the next change of a flag would be undone.
bool settledByToneType(std::vector<Outcome> const& outcomes)
{
    auto const wanted = [&](eDataTag tag) {
        auto const* const found = findOutcome(outcomes, tag);
        bool const changes = found && found->result == Result::WouldStore;
        return std::pair(changes, changes ? found->wanted : readValue(tag).value_or(Json()));
    };
    auto const [typeChanges, type] = wanted(eDataTagGroupPickupToneType);
    auto const asRinger = wanted(eDataTagGroupPickupAsRinger).second;
    auto const allowed = wanted(eDataTagGroupPickupToneAllowed).second;
    return typeChanges && type == Json(Tables::toneTypeOf({asRinger == Json(true), allowed == Json(true)}));
}

} // namespace

Outcome check(eDataTag tag, std::string const& text, ServiceValues const& others)
{
    Outcome outcome{tag, text, knownValue(tag, others), {}};
    if (!exists(tag))
        outcome.reason = "the catalogue has this item switched off";
    else if (typeOf(tag) == eDataItemTypeComplex)
        outcome.reason = "a table is set by its cells";
    else if (Tables::flagWordOf(tag))
        outcome.reason = "is set by the flag file: use flags";
    else if (outcome.reason = whyUnfit(tag, text); outcome.reason.empty())
        outcome.wanted = validate(tag, libraryText(tag, text), outcome.reason);
    if (!outcome.wanted.is_null())
        outcome.result = outcome.wanted == outcome.before && !alwaysWritten(tag) ? Result::Unchanged : Result::WouldStore;
    return outcome;
}

std::string limitOf(Outcome const& outcome)
{
    auto const tag = outcome.tag;
    auto const* const column = Tables::columnOf(tag);
    if (auto const rule = ringerRuleOf(tag);
        rule && readValue(rule->identifier) == Json("") && outcome.wanted != rule->atStart)
        return "until the next start, when a row without an alert identifier may have " + cellText(rule->atStart) + " again";
    auto const links = cameraLinks([](eDataTag each) { return readValue(each).value_or(Json()); });
    if (auto const link = links.find(tag); link != links.end() && link->second != outcome.wanted)
        return "until the door openers, which make it " + cellText(link->second) + ", are checked again";
    if (column && column->form == Tables::Form::place && outcome.wanted != Json(Tables::codecs.rowOf(tag) + 1))
        return "until the next start, which ranks codecs in the order of their rows";
    if (tag == eDataTagMobilityDataUpdate && outcome.wanted != Json("") && outcome.wanted != Json("managed"))
        return "announced once, a start does not repeat it";
    if (Tables::isHardwareFlag(tag))
        return "until the next start, which asks the hardware anew";
    return isFleeting(tag) ? "reported to the management service, and kept by nothing over a restart" : "";
}

void checkTables(Workbench& workbench, std::vector<Outcome>& outcomes, DataTagValue_t const& hardware)
{
    Rehearsal rehearsal;
    for (auto const& [flag, text] : hardware)
        rehearsal.want(flag, text);
    for (auto const& outcome : outcomes) {
        if (outcome.result == Result::WouldStore)
            rehearsal.want(outcome.tag, textOf(outcome.toStore()));
    }
    auto const refused = workbench.quietly([&] { return rehearsal.refused(); });
    for (auto& outcome : outcomes) {
        auto const found = refused.find(storedTableOf(outcome.tag));
        if (outcome.result == Result::WouldStore && found != refused.end()) {
            outcome.result = Result::Refused;
            outcome.reason = found->second;
        }
    }
}

void orderByRank(Workbench& workbench, std::vector<Outcome>& outcomes)
{
    auto const& table = Tables::codecs;
    bool isRanked = false;
    DataTagValue_t cells;
    for (auto cell = table.first; cell <= table.last; cell = Tables::cellTag(cell, 1)) {
        auto const* const named = findOutcome(outcomes, cell);
        bool const isWanted = named && !named->wanted.is_null();
        if (isWanted && named->result == Result::Refused)
            return;
        isRanked = isRanked || (isWanted && Tables::columnOf(cell)->role == Tables::Role::rank);
        cells[cell] = textOf(isWanted ? named->wanted : readValue(cell).value_or(Json()));
    }
    if (!isRanked)
        return;
    Utils::sortCodecsByRank(cells, table.rows);
    for (auto const& [cell, text] : cells) {
        auto const named = std::ranges::find(outcomes, cell, &Outcome::tag);
        if (named == outcomes.end()) {
            if (auto moved = check(cell, text, {}); moved.result == Result::WouldStore) {
                moved.reason = "follows from the ranks";
                outcomes.push_back(std::move(moved));
            }
        } else if (!named->wanted.is_null() && textOf(named->wanted) != text) {
            named->placed = validate(cell, text, named->reason);
            named->reason = "the rows go in the order of their ranks, which makes it " + text;
            named->result = Result::WouldStore;
        }
    }
    checkTables(workbench, outcomes);
}

bool holdBack(std::vector<Outcome>& outcomes)
{
    if (std::none_of(outcomes.begin(), outcomes.end(), [](Outcome const& each) { return isBad(each.result); }))
        return false;
    holdGoodBack(outcomes);
    return true;
}

void holdGoodBack(std::vector<Outcome>& outcomes)
{
    for (auto& outcome : outcomes) {
        if (isGood(outcome.result))
            outcome.result = Result::HeldBack;
    }
}

void noteRefusals(Workbench& workbench, std::vector<Outcome> const& outcomes)
{
    for (auto const& outcome : outcomes) {
        if (outcome.result == Result::Refused)
            workbench.journal().refuse(outcome.tag, outcome.given(), outcome.reason, Result::Refused);
        else if (outcome.result == Result::Failed)
            workbench.journal().refuse(outcome.tag, outcome.given(), outcome.reason, Result::NotStored);
    }
}

/// The library takes a secret for empty that it cannot decipher, and so stores no empty text over it.
bool emptyStored(eDataTag tag)
{
    auto const& row = DataSourceDB::dataDbDescriptionTable[tag];
    return Host::Platform::current()->database().write({*row.schema, *row.element, ""});
}

void settle(Outcome& outcome, bool taken, bool tableStored)
{
    auto const after = readValue(outcome.tag).value_or(Json());
    if (!tableStored) {
        outcome.result = Result::Failed;
        outcome.reason = "the database did not store its table, the next start brings the previous value back";
    } else if (storedTableOf(outcome.tag) != eDataTagNone && (!taken || after != outcome.toStore())) {
        outcome.result = Result::Refused;
        outcome.reason = fmt::format("the rules of the table {} undid it", nameOf(storedTableOf(outcome.tag)));
    } else if (!taken) {
        outcome.result = Result::Failed;
        outcome.reason = isKept(outcome.tag) ? "the database did not store it, the previous value stands"
                                             : "the management service did not take it";
    } else if (isUnreadable(outcome.tag, after) && !emptyStored(outcome.tag)) {
        outcome.result = Result::Failed;
        outcome.reason = "the database did not store it";
    } else {
        outcome.result = isFleeting(outcome.tag) ? Result::Taken : Result::Stored;
        if (!isUnreadable(outcome.tag, after) && after != outcome.toStore())
            outcome.reason = "a dependent rule made it " + cellText(after);
    }
}

void store(Workbench& workbench, std::vector<Outcome>& outcomes)
{
    bool const settled = settledByToneType(outcomes);
    BulkData bulk;
    TagTexts wanted;
    for (auto const& outcome : outcomes) {
        bool const isFlag = outcome.tag == eDataTagGroupPickupAsRinger || outcome.tag == eDataTagGroupPickupToneAllowed;
        if (outcome.result != Result::WouldStore || (isFlag && settled))
            continue;
        addToBulk(bulk, outcome.tag, outcome.toStore());
        wanted.emplace_back(outcome.tag, textOf(outcome.toStore()));
    }
    if (wanted.empty())
        return;
    workbench.storage().takeItems();
    {
        auto const copies = RingerCopies::atChange(workbench, wanted);
        MediaDataCache::setDataBulk(bulk);
        workbench.dispatchRequests();
    }
    auto const notStored = workbench.storage().takeItems();
    auto const notTaken = bulk.getTagsNotSetInDb();
    for (auto& outcome : outcomes) {
        bool const isUndone =
            outcome.result == Result::Unchanged && isHeld(outcome.tag) && readValue(outcome.tag) != outcome.wanted;
        if (outcome.result == Result::WouldStore || isUndone)
            settle(outcome, !notTaken.contains(outcome.tag), !notStored.contains(storedTableOf(outcome.tag)));
    }
}

void storeTogether(Workbench& workbench, std::vector<Outcome>& outcomes)
{
    for (int pass = 0; pass < storingPasses; ++pass) {
        store(workbench, outcomes);
        bool isUndone = false;
        for (auto& outcome : outcomes) {
            bool const counts = outcome.result == Result::Stored || outcome.result == Result::Unchanged;
            if (counts && isHeld(outcome.tag) && readValue(outcome.tag) != outcome.toStore() && pass + 1 < storingPasses) {
                outcome.result = Result::WouldStore;
                outcome.reason.clear();
                isUndone = true;
            }
        }
        if (!isUndone)
            break;
    }
    for (auto& outcome : outcomes) {
        if (outcome.result == Result::Stored && outcome.before == outcome.toStore() && outcome.placed.is_null())
            outcome.result = Result::Unchanged;
    }
}

void putBack(Workbench& workbench, std::vector<Json> const& earlier)
{
    std::vector<Outcome> outcomes;
    for (std::size_t index = 0; index < earlier.size(); ++index) {
        auto const tag = allTags()[index];
        if (!earlier[index].is_null())
            outcomes.push_back(check(tag, textOf(earlier[index]), {}));
    }
    storeTogether(workbench, outcomes);
}

std::vector<std::string> accountColumns()
{
    return {"result", "item", "old", "new", "accepted", "reason"};
}

std::vector<Json> accountRow(Outcome const& outcome, bool showSecrets)
{
    auto const reason = outcome.reason.empty() && isGood(outcome.result) ? limitOf(outcome) : outcome.reason;
    return {wordOf(outcome.result),
            nameOf(outcome.tag),
            shown(outcome.tag, outcome.before, showSecrets),
            shown(outcome.tag, outcome.given(), showSecrets),
            outcome.wanted.is_null() ? Json(acceptedText(outcome.tag)) : Json(),
            reason.empty() ? Json() : Json(reason)};
}

Report account(std::vector<Outcome> const& outcomes, bool showSecrets)
{
    Report report;
    Section section{"items", Layout::Table, accountColumns(), {}};
    std::size_t refused = 0;
    std::size_t failed = 0;
    for (auto const& outcome : outcomes) {
        section.rows.push_back(accountRow(outcome, showSecrets));
        refused += outcome.result == Result::Refused;
        failed += outcome.result == Result::Failed;
    }
    report.sections.push_back(std::move(section));
    if (refused != 0)
        report.fail(exitRefused, {"", fmt::format("{} of {} values refused", refused, outcomes.size())});
    if (failed != 0)
        report.raise(exitStorage); // The history says why and how many.
    return report;
}

} // namespace Tool

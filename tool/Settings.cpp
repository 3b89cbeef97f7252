#include "Settings.h"

#include "Catalogue.h"
#include "Changes.h"
#include "Items.h"
#include "Session.h"

#include "Data/BulkData.h"
#include "Data/DataItemBase.h"
#include "Data/DataItemBuilder.h"
#include "Data/DataSourceDB.h"
#include "DataSourceOCMS/DataSourceOCMS.h"
#include "Media/MediaDataCache.h"

#include "ManagementService.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <utility>

namespace Tool {

using namespace Data;
using Media::MediaDataCache;

namespace {

/// What becomes of one assignment.
struct Outcome {
    eDataTag tag;
    std::string text; ///< as given
    Json before;
    Json wanted; ///< null when the text was refused
    std::string result;
    std::string reason;
};

constexpr char const* tableIsSetByCells = "a table is set by its cells";

/// The library's own check of a text, on an item of its own making; the typed value when it passes.
Json validate(eDataTag tag, std::string const& text, std::string& reason)
{
    std::unique_ptr<DataItemBase> const item(DataCache::DataItemBuilder::createDataItem(tag, eDataSourceNone));
    if (!item || !item->setValueString(text, reason))
        return {};
    int number = 0;
    if (item->getValue(number))
        return number;
    bool flag = false;
    if (item->getValue(flag))
        return flag;
    std::string value;
    item->getValue(value);
    return value;
}

void addToBulk(BulkData& bulk, eDataTag tag, Json const& value)
{
    if (value.is_number())
        bulk.addTagValue<int>(tag, value.get<int>(), false);
    else if (value.is_boolean())
        bulk.addTagValue<bool>(tag, value.get<bool>(), false);
    else
        bulk.addTagValue<std::string>(tag, value.get<std::string>(), false);
}

bool isStorageError(std::string const& line)
{
    return line.find("storing into db failed") != std::string::npos;
}

/// These take effect each time they are written, also with the value they have.
bool alwaysWritten(eDataTag tag)
{
    return tag == eDataTagSubmitResendLatestQdcReport || tag == eDataTagQosStatistics;
}

/// What the management service holds, by name.
using ServiceValues = std::map<std::string, std::string>;

/// Taken as a whole: reading one by one would fill the service's journal.
ServiceValues serviceValues(Session& session)
{
    ServiceValues values;
    for (auto const& item : session.service().items())
        values.emplace(item.subItem, item.value);
    return values;
}

Json knownValue(eDataTag tag, ServiceValues const& others)
{
    if (isHeld(tag))
        return readValue(tag).value_or(Json());
    auto const other = others.find(nameOf(tag));
    std::string ignored;
    return other == others.end() ? Json() : validate(tag, other->second, ignored);
}

Outcome check(eDataTag tag, std::string const& text, ServiceValues const& others)
{
    Outcome outcome{tag, text, knownValue(tag, others), {}, "refused", {}};
    if (!exists(tag))
        outcome.reason = "the catalogue has this item switched off";
    else if (typeOf(tag) == eDataItemTypeComplex)
        outcome.reason = tableIsSetByCells;
    else
        outcome.wanted = validate(tag, text, outcome.reason);
    if (!outcome.wanted.is_null())
        outcome.result = outcome.wanted == outcome.before && !alwaysWritten(tag) ? "unchanged" : "would store";
    return outcome;
}

/// What the library made of a value that passed its checks.
void settle(Outcome& outcome, bool taken, bool databaseFailed)
{
    auto const after = readValue(outcome.tag).value_or(Json());
    if (storedTableOf(outcome.tag) != eDataTagNone && (!taken || after != outcome.wanted) && !databaseFailed) {
        outcome.result = "refused";
        outcome.reason = fmt::format("the check of the table {} rejected it, previous values restored",
                                     nameOf(storedTableOf(outcome.tag)));
    } else if (!taken || databaseFailed) {
        outcome.result = "failed";
        bool const isStored = isHeld(outcome.tag) && (storedTableOf(outcome.tag) != eDataTagNone ||
                                                      DataSourceDB::dataDbDescriptionTable[outcome.tag].schema != nullptr);
        outcome.reason =
            isStored ? "the database did not store it, the previous value stands" : "the management service did not take it";
    } else {
        outcome.result = "stored";
        if (after != outcome.wanted)
            outcome.reason = "a dependent rule made it " + cellText(after);
        else if (outcome.tag >= eDataTagCodecRank1 && outcome.tag <= eDataTagCodecRank4)
            outcome.reason = "until the next start: codecs are stored in row order, to re-rank them exchange their types";
    }
}

void store(Session& session, std::vector<Outcome>& outcomes)
{
    BulkData bulk;
    for (auto const& outcome : outcomes) {
        if (outcome.result == "would store")
            addToBulk(bulk, outcome.tag, outcome.wanted);
    }
    if (bulk.getTags().empty())
        return;
    session.takeErrors();
    MediaDataCache::setDataBulk(bulk);
    // A table whose text the database refuses is not among the tags that the bulk set gives back; the log is its only trace.
    auto const errors = session.takeErrors();
    auto const storingFailed = [](std::string const& line) {
        return line.find("storing into db failed") != std::string::npos;
    };
    bool const databaseFailed = std::any_of(errors.begin(), errors.end(), storingFailed);
    auto const notTaken = bulk.getTagsNotSetInDb();
    for (auto& outcome : outcomes) {
        if (outcome.result == "would store")
            settle(outcome, !notTaken.contains(outcome.tag), databaseFailed && storedTableOf(outcome.tag) != eDataTagNone);
    }
}

Report account(std::vector<Outcome> const& outcomes, bool showSecrets)
{
    Report report;
    Section section{"items", Layout::Table, {"result", "item", "old", "new", "reason"}, {}};
    std::size_t refused = 0;
    std::size_t failed = 0;
    for (auto const& outcome : outcomes) {
        Json const given = outcome.wanted.is_null() ? Json(outcome.text) : outcome.wanted;
        section.rows.push_back({outcome.result, nameOf(outcome.tag), shown(outcome.tag, outcome.before, showSecrets),
                                shown(outcome.tag, given, showSecrets),
                                outcome.reason.empty() ? Json() : Json(outcome.reason)});
        refused += outcome.result == "refused";
        failed += outcome.result == "failed";
    }
    report.sections.push_back(std::move(section));
    if (refused != 0)
        report.fail(exitRefused, {"", fmt::format("{} of {} values refused", refused, outcomes.size())});
    if (failed != 0)
        report.fail(exitStorage, {"", fmt::format("{} of {} values not stored", failed, outcomes.size())});
    return report;
}

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

Report list(Session& session, std::string const& pattern)
{
    auto const tags = pattern.empty() ? allTags() : matchItems(pattern);
    if (tags.empty())
        return failure(exitUnknownItem, pattern, "matches no item", namesNear(pattern));
    Report report;
    Section section{"items", Layout::Table, {"tag", "item", "type", "value"}, {}};
    auto const others = serviceValues(session);
    for (auto const tag : tags) {
        if (!exists(tag))
            continue;
        auto const value = shown(tag, knownValue(tag, others), session.options().showSecrets);
        section.rows.push_back({static_cast<int>(tag), nameOf(tag), typeName(typeOf(tag)), value});
    }
    report.sections.push_back(std::move(section));
    return report;
}

Report get(Session& session, std::vector<std::string> const& items)
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
                                    shown(*tag, *value, session.options().showSecrets)});
    }
    report.sections.push_back(std::move(section));
    return report;
}

Report describe(Session& session, std::string const& item)
{
    auto const tag = findItem(item);
    if (!tag)
        return unknownItem(item);
    auto const& record = DataCache::DataItemBuilder::dataItemDefaultTable[*tag];
    auto const& database = DataSourceDB::dataDbDescriptionTable[*tag];
    auto const& management = DataSourceOCMS::dataOCMSDescriptionTable[*tag];
    bool const secrets = session.options().showSecrets;
    auto const parent = database.parentTable;
    std::vector<std::pair<char const*, Json>> const lines{
        {"item", nameOf(*tag)},
        {"tag", static_cast<int>(*tag)},
        {"value",
         exists(*tag) ? shown(*tag, readValue(*tag).value_or(Json()), secrets) : Json("switched off in the catalogue")},
        {"type", typeName(record.value.type)},
        {"default", exists(*tag) ? Json(record.value.text) : Json()},
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

Report set(Session& session, std::vector<Assignment> const& assignments, bool dryRun, bool watch)
{
    std::vector<eDataTag> tags;
    auto report = resolve(assignments, tags);
    if (report.code != exitOk)
        return report;
    auto const others = serviceValues(session);
    std::vector<Outcome> outcomes;
    for (std::size_t index = 0; index < tags.size(); ++index) {
        if (isSecret(tags[index]))
            session.hideInLog(assignments[index].value);
        outcomes.push_back(check(tags[index], assignments[index].value, others));
    }
    std::vector<HeardChange> heard;
    if (!dryRun && watch) {
        auto previous =
            session.listen([&heard](auto const& changes) { heard.insert(heard.end(), changes.begin(), changes.end()); });
        store(session, outcomes);
        session.listen(std::move(previous));
    } else if (!dryRun) {
        store(session, outcomes);
    }
    report = account(outcomes, session.options().showSecrets);
    auto const isTableCell = [](Outcome const& outcome) { return storedTableOf(outcome.tag) != eDataTagNone; };
    if (dryRun && std::any_of(outcomes.begin(), outcomes.end(), isTableCell))
        report.notes.emplace_back("The checks of whole tables run only when their cells are set.");
    if (watch)
        report.sections.push_back(heardSection(heard, session.options().showSecrets));
    return report;
}

Report resetAudio(Session& session)
{
    Changes const changes(session);
    session.takeErrors();
    MediaDataCache::resetDataSetUserAudio();
    Report report{exitOk, {changes.section("items")}};
    report.notes.push_back(fmt::format("{} settings went back to their defaults.", report.sections.front().rows.size()));
    for (auto const& error : session.takeErrors()) {
        if (isStorageError(error))
            report.fail(exitStorage, {"", error});
    }
    return report;
}

} // namespace Tool

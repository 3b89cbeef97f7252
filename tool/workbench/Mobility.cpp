#include "workbench/Mobility.h"

#include "report/Text.h"
#include "workbench/Consequences.h"
#include "workbench/Document.h"
#include "workbench/Items.h"
#include "workbench/Management.h"
#include "workbench/Outcomes.h"
#include "workbench/Rehearsal.h"
#include "workbench/Workbench.h"

#include "Data/DataItemBase.h"
#include "Data/DataItemBuilder.h"
#include "Data/DataSourceDB.h"
#include "Media/MediaDataCache.h"

#include "HostPlatform.h"

#include <fmt/format.h>

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

namespace Tool {

using namespace Data;

namespace {

constexpr MobilityType types[]{
    {"all", true, "read the user's data anew, push what waits"},
    {"managed", true, "read it anew; what changes then waits"},
    {"unmanaged", false, "read nothing, push what waits"},
    {"", false, "as unmanaged"},
};

/// The texts that the database is to hold: of single settings, and of tables with the cells in them.
DataTagValue_t textsToStore(std::vector<Outcome> const& outcomes)
{
    DataTagValue_t texts;
    Rehearsal rehearsal;
    for (auto const& outcome : outcomes) {
        if (outcome.result != Result::WouldStore)
            continue;
        if (storedTableOf(outcome.tag) == eDataTagNone)
            texts[outcome.tag] = textOf(outcome.wanted);
        else
            rehearsal.want(outcome.tag, textOf(outcome.wanted));
    }
    texts.merge(rehearsal.tableTexts());
    return texts;
}

/// As one group: a user arrives whole.
bool storePastTheLibrary(Workbench& workbench, DataTagValue_t const& texts)
{
    DataSourceDB database(workbench.platform(), {allTags().begin(), allTags().end()}, nullptr);
    workbench.storage().takeItems();
    bool const isGroup = workbench.platform().beginGroup();
    bool stored = true;
    for (auto const& [tag, text] : texts) {
        std::unique_ptr<DataItemBase> const item(DataCache::DataItemBuilder::createDataItem(tag, eDataSourceNone));
        std::string ignored;
        stored = item->setValueString(text, ignored) && database.writeDataValue(tag, item.get()) && stored;
    }
    stored = (!isGroup || workbench.platform().endGroup()) && stored;
    return workbench.storage().takeItems().empty() && stored;
}

} // namespace

std::span<MobilityType const> mobilityTypes()
{
    return types;
}

MobilityType const* findMobilityType(std::string const& text)
{
    auto const* const found = std::ranges::find_if(types, [&](MobilityType const& type) { return type.text == text; });
    return found == std::end(types) ? nullptr : found;
}

Report mobility()
{
    Section last{"mobility", Layout::Pairs, {"announced"}, {{readValue(eDataTagMobilityDataUpdate).value_or(Json())}}};
    Section all{"types", Layout::Table, {"type", "meaning"}, {}, "\nWhat may be announced:"};
    for (auto const& type : types)
        all.rows.push_back({type.text, type.meaning});
    Section waiting{"waiting", Layout::Table, {"item", "value"}, {}, "\nWaiting to be pushed:"};
    DataTagValue_t pending;
    Media::MediaDataCache::getPendingUserData(pending);
    std::string ignored;
    for (auto const& [tag, text] : pending)
        waiting.rows.push_back({nameOf(tag), validate(tag, text, ignored)});
    return {exitOk, {std::move(last), std::move(all), std::move(waiting)}};
}

Report announce(Workbench& workbench, MobilityType const& type, bool isDry)
{
    if (isDry) {
        Report report;
        Forecast forecast;
        forecast.set({{eDataTagMobilityDataUpdate, type.text}});
        addForetold(workbench, report, forecast, {eDataTagMobilityDataUpdate});
        return report;
    }
    return managementChanged(workbench, {{nameOf(eDataTagMobilityDataUpdate), type.text}});
}

Report arrive(Workbench& workbench, Document const& document, MobilityType const& type)
{
    Report report;
    for (auto const& each : document.unknown)
        report.fail(exitUnknownItem, problemOf(each));
    std::vector<Outcome> outcomes;
    for (auto const& [tag, value] : document.settings) {
        if (!DataCache::DataItemBuilder::isUserData(tag))
            continue;
        workbench.journal().ask(tag);
        outcomes.push_back(check(tag, textOf(value), {}));
    }
    checkTables(workbench, outcomes);
    auto refused = outcomes;
    std::erase_if(refused, [](Outcome const& each) { return !isBad(each.result); });
    if (!refused.empty()) {
        noteRefusals(workbench, refused);
        report.sections = account(refused, workbench.options().showSecrets).sections;
        report.fail(exitRefused, {"", fmt::format("{} of {} values refused", refused.size(), outcomes.size())});
    }
    if (report.code != exitOk)
        return report;
    if (!storePastTheLibrary(workbench, textsToStore(outcomes)))
        return failure(exitStorage, "", "the database did not store all of the user's data, and nothing was announced");
    report = announce(workbench, type, false);
    for (auto const& outcome : outcomes) {
        auto const now = readValue(outcome.tag).value_or(Json());
        if (now != outcome.wanted)
            report.fail(exitOk, {nameOf(outcome.tag), "a dependent rule made it " + cellText(now)});
    }
    return report;
}

} // namespace Tool

// Back to the defaults: `reset`.
#include "verbs/Verbs.h"

#include "verbs/Arguments.h"
#include "workbench/Assignment.h"
#include "workbench/Consequences.h"
#include "workbench/Document.h"
#include "workbench/Import.h"
#include "workbench/Items.h"
#include "workbench/Management.h"
#include "workbench/Outcomes.h"
#include "workbench/PastEntries.h"
#include "workbench/Snapshot.h"
#include "workbench/Workbench.h"

#include "Data/BulkData.h"
#include "Data/DataItemBuilder.h"
#include "Media/MediaDataCache.h"
#include "Tables/SettingOptions.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <utility>

namespace Tool::Verbs {

using namespace Data;
using Media::MediaDataCache;

namespace {

struct ResetOptions {
    Words what; ///< "audio" or "user-data", which the library resets by operations of its own; or items
    bool all = false;
    bool dryRun = false; ///< says what would change and changes nothing
};

std::vector<eDataTag> userData()
{
    std::vector<eDataTag> tags;
    for (auto const tag : allTags()) {
        auto const* const record = DataCache::DataItemBuilder::findDataRecord(tag);
        if (record && record->component == eDataComponentMedia && record->isUserData && typeOf(tag) != eDataItemTypeComplex)
            tags.push_back(tag);
    }
    return tags;
}

bool resetAudio(Workbench&)
{
    MediaDataCache::resetDataSetUserAudio();
    // Announced by the next pass: that of an empty write.
    BulkData nothing;
    return MediaDataCache::setDataBulk(nothing);
}

Report resetSet(Workbench& workbench, std::vector<eDataTag> const& tags, bool (*action)(Workbench&), bool dryRun)
{
    Tags const asked(tags.begin(), tags.end());
    std::map<eDataTag, Json> wanted;
    for (auto const tag : tags) {
        if (isHeld(tag) && exists(tag))
            wanted[tag] = defaultOf(tag);
    }
    Forecast forecast;
    forecast.set(wanted);
    Report report;
    Snapshot const before(workbench);
    bool done = true;
    if (dryRun) {
        report.sections = {foretold(workbench, forecast, "items", [&](eDataTag tag) { return asked.contains(tag); }),
                           alsoChanged(workbench, forecast, asked)};
    } else {
        for (auto const tag : tags)
            workbench.journal().ask(tag);
        done = action(workbench);
        report.sections = {before.section("items", {}, [&](eDataTag tag) { return asked.contains(tag); }),
                           alsoChanged(before, asked)};
    }
    report.notes.push_back(fmt::format("{} settings {} back to their defaults.", report.sections.front().rows.size(),
                                       dryRun ? "would go" : "went"));
    if (!done)
        report.fail(exitStorage, {"", "not everything was reset"});
    return report;
}

/// All at once, as if a document said so: one after the other, rules would undo some. Nothing of what was is kept.
Report resetAll(Workbench& workbench, bool dryRun)
{
    Document document;
    document.settings = defaultDocument().settings;
    auto report = importDocument(workbench, document, {.dryRun = dryRun, .yes = true});
    std::erase_if(report.sections, [](Section const& section) { return section.name == "counts"; });
    if (report.sections.front().rows.empty())
        report.notes.emplace_back("Nothing differs from the defaults.");
    if (dryRun || report.code != exitOk)
        return report;
    auto const forgotten = forget(workbench, std::nullopt, true);
    report.notes.insert(report.notes.end(), forgotten.notes.begin(), forgotten.notes.end());
    for (auto const& problem : forgotten.problems)
        report.fail(forgotten.code, problem);
    return report;
}

Report resetItems(Workbench& workbench, Words const& items, bool dryRun)
{
    Report report;
    std::vector<Outcome> outcomes;
    for (auto const& name : items) {
        auto const tags = namedBy(name);
        if (tags.empty())
            report.fail(exitUnknownItem, unknownItem(name).problems.front());
        for (auto const tag : tags) {
            if (std::any_of(outcomes.begin(), outcomes.end(), [&](auto const& each) { return each.tag == tag; }))
                continue;
            workbench.journal().ask(tag);
            auto const& record = DataCache::DataItemBuilder::dataItemDefaultTable[tag];
            auto& outcome = outcomes.emplace_back(check(tag, record.value.text, {}));
            if (record.component == eDataComponentMedia)
                continue;
            outcome.result = Result::Refused;
            outcome.reason = "belongs to another component: use mgmt changed";
        }
    }
    return report.code == exitOk ? set(workbench, std::move(outcomes), {.dryRun = dryRun, .follow = true, .yes = true})
                                 : report;
}

/// A table's or group's name stands for all its cells.
Report run(ResetOptions const& options, Workbench& workbench)
{
    auto const& what = options.what;
    if (options.all != what.empty())
        return failure(exitUsage, "", options.all ? "--all stands alone" : "nothing to reset: give WHAT or --all");
    if (options.all)
        return resetAll(workbench, options.dryRun);
    auto const names = [&](char const* word) { return std::find(what.begin(), what.end(), word) != what.end(); };
    if (!names("audio") && !names("user-data"))
        return resetItems(workbench, what, options.dryRun);
    if (what.size() > 1)
        return failure(exitUsage, what.back(), "audio and user-data stand alone");
    auto const audio = Tables::audioResetTags();
    return names("audio") ? resetSet(workbench, {audio.begin(), audio.end()}, resetAudio, options.dryRun)
                          : resetSet(workbench, userData(), resetUserData, options.dryRun);
}

} // namespace

Verb resetVerb()
{
    auto const options = std::make_shared<ResetOptions>();
    return {.name = "reset",
            .help = "Go back to the defaults",
            .arguments = {{.name = "WHAT",
                           .target = &options->what,
                           .help = "audio: the user's audio settings; user-data: everything that follows the user; or "
                                   "items, where a table or group stands for its cells",
                           .offer = Offers::words({"audio", "user-data"})},
                          {.name = "--all",
                           .target = &options->all,
                           .help = "Every setting that the telephone keeps; wipes the history, too"},
                          Arguments::dryRun(&options->dryRun)},
            .changesAs = "reset",
            .action = onWorkbench(options),
            .dryRun = &options->dryRun};
}

} // namespace Tool::Verbs

// Changes as they come: `watch`.
#include "verbs/Verbs.h"

#include "holder/Watcher.h"
#include "verbs/Arguments.h"
#include "workbench/Assignment.h"
#include "workbench/Items.h"
#include "workbench/Values.h"

#include "Data/DataTypes.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <set>
#include <string>

namespace Tool::Verbs {

namespace {

struct WatchOptions {
    std::string pattern;                          ///< a glob or a part of a name; empty: all items
    std::optional<std::set<Data::eDataTag>> only; ///< the items that match, by gather(); nothing: all
    bool initial = false;
    std::string until;        ///< ITEM=VALUE
    std::optional<Goal> goal; ///< the same, by gather()
    std::size_t count = 0;    ///< ends after so many changes; 0: never
    std::size_t seconds = 0;  ///< ends after so much time; 0: never
    General general;
    Lasting lasting{"watching"};
};

/// Makes the goal out of ITEM=VALUE.
Report setGoal(WatchOptions& options)
{
    Assignment wanted;
    if (!parseAssignment(options.until, wanted))
        return failure(exitUsage, options.until, "expected ITEM=VALUE");
    auto const tag = findItem(wanted.item);
    if (!tag)
        return unknownItem(wanted.item);
    if (!isHeld(*tag) || typeOf(*tag) == Data::eDataItemTypeComplex)
        return failure(exitUsage, wanted.item, "cannot be waited for: its changes are not announced");
    std::string reason;
    auto value = validate(*tag, wanted.value, reason);
    if (value.is_null())
        return failure(exitRefused, wanted.item, reason + "; it will never be so");
    options.goal = Goal{*tag, std::move(value)};
    return {};
}

Report gather(WatchOptions& options, Console&)
{
    if (!options.until.empty()) {
        if (auto report = setGoal(options); report.code != exitOk)
            return report;
        options.only = {options.goal->tag};
    }
    if (options.pattern.empty())
        return {};
    auto const tags = matchItems(options.pattern);
    if (tags.empty())
        return failure(exitUnknownItem, options.pattern, "matches no item", namesNear(options.pattern));
    if (!options.only)
        options.only.emplace();
    options.only->insert(tags.begin(), tags.end());
    return {};
}

/// Begins to take the changes of the feed.
std::shared_ptr<Watcher> follow(WatchOptions const& options, ChangeFeed& feed)
{
    return std::make_shared<Watcher>(feed.subscribe(options.only),
                                     WatcherOptions{.initial = options.initial,
                                                    .until = options.goal,
                                                    .count = options.count,
                                                    .seconds = options.seconds,
                                                    .json = options.general.json,
                                                    .showSecrets = options.general.showSecrets});
}

} // namespace

Verb watchVerb()
{
    auto const options = std::make_shared<WatchOptions>();
    return {.name = "watch",
            .help = "Print changes as they come, of a holder or as one",
            .arguments = {Arguments::pattern(&options->pattern),
                          {.name = "--initial",
                           .target = &options->initial,
                           .help = "First print the present values of what is watched"},
                          {.name = "--until",
                           .target = &options->until,
                           .help = "End when the item is or becomes this; without PATTERN only it is watched",
                           .value = "ITEM=VALUE",
                           .offer = Offers::assignments},
                          {.name = "--count",
                           .target = &options->count,
                           .help = "End after so many changes",
                           .value = "NUMBER",
                           .range = {{0, 1000000}}},
                          {.name = "--timeout",
                           .target = &options->seconds,
                           .help = "End after so many seconds; status 1 if it was too early",
                           .value = "SECONDS",
                           .range = {{1, 1000000}}},
                          Arguments::readyDescriptor(options->lasting)},
            .places = {Place::Process, Place::Holder}, // The shell has its own.
            .action = [options](ChangeFeed& feed) { return follow(*options, feed); },
            .gather = gathering(options),
            .general = &options->general,
            .lasting = &options->lasting};
}

} // namespace Tool::Verbs

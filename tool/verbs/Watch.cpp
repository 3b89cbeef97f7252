// Changes as they come: `watch`.
#include "verbs/Verbs.h"

#include "holder/Watcher.h"
#include "verbs/Arguments.h"
#include "workbench/Items.h"

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
    std::size_t count = 0;                        ///< ends after so many changes; 0: never
    std::size_t seconds = 0;                      ///< ends after so much time; 0: never
    General general;
};

Report gather(WatchOptions& options, Console&)
{
    if (options.pattern.empty())
        return {};
    auto const tags = matchItems(options.pattern);
    if (tags.empty())
        return failure(exitUnknownItem, options.pattern, "matches no item", namesNear(options.pattern));
    options.only.emplace(tags.begin(), tags.end());
    return {};
}

/// Begins to take the changes of the feed.
std::shared_ptr<Watcher> follow(WatchOptions const& options, ChangeFeed& feed)
{
    return std::make_shared<Watcher>(feed.subscribe(options.only),
                                     WatcherOptions{.count = options.count,
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
                          {.name = "--count",
                           .target = &options->count,
                           .help = "End after so many changes",
                           .value = "NUMBER",
                           .range = {{0, 1000000}}},
                          {.name = "--timeout",
                           .target = &options->seconds,
                           .help = "End after so many seconds; status 1 if too few",
                           .value = "SECONDS",
                           .range = {{1, 1000000}}}},
            .places = {Place::Process, Place::Holder}, // The shell has its own.
            .action = [options](ChangeFeed& feed) { return follow(*options, feed); },
            .gather = gathering(options),
            .general = &options->general};
}

} // namespace Tool::Verbs

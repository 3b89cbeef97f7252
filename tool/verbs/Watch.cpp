#include "verbs/Watch.h"

#include "holder/Watcher.h"
#include "verbs/Offers.h"
#include "workbench/Items.h"

namespace Tool::Verbs::Watch {

Report gather(Options& options, Console&)
{
    if (options.pattern.empty())
        return {};
    auto const tags = matchItems(options.pattern);
    if (tags.empty())
        return failure(exitUnknownItem, options.pattern, "matches no item", namesNear(options.pattern));
    options.only.emplace(tags.begin(), tags.end());
    return {};
}

std::shared_ptr<Watcher> follow(Options const& options, ChangeFeed& feed)
{
    return std::make_shared<Watcher>(feed.subscribe(options.only),
                                     WatcherOptions{.count = options.count,
                                                    .seconds = options.seconds,
                                                    .json = options.general.json,
                                                    .showSecrets = options.general.showSecrets});
}

Verb verb()
{
    auto const options = std::make_shared<Options>();
    return {.name = "watch",
            .help = "Print changes as they come, of a holder or as one",
            .arguments = {{.name = "PATTERN",
                           .target = &options->pattern,
                           .help = "A glob with * or ?, or a part of a name",
                           .offer = Offers::items},
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

} // namespace Tool::Verbs::Watch

// Changes as they come: `watch`.
#pragma once

#include "verbs/Verb.h"

#include "Data/DataTypes.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <set>
#include <string>

namespace Tool::Verbs::Watch {

struct Options {
    std::string pattern;                          ///< a glob or a part of a name; empty: all items
    std::optional<std::set<Data::eDataTag>> only; ///< the items that match, by gather(); nothing: all
    std::size_t count = 0;                        ///< ends after so many changes; 0: never
    std::size_t seconds = 0;                      ///< ends after so much time; 0: never
    General general;
};

/// Refuses a pattern that matches nothing.
Report gather(Options& options, Console& console);

/// Begins to take the changes of the feed.
std::shared_ptr<Watcher> follow(Options const& options, ChangeFeed& feed);

Verb verb();

} // namespace Tool::Verbs::Watch

// Who changed what, and when: `history`.
#include "verbs/Verbs.h"

#include "report/Text.h"
#include "verbs/Arguments.h"
#include "workbench/Items.h"
#include "workbench/Journal.h"
#include "workbench/Workbench.h"

#include <algorithm>
#include <set>
#include <utility>

namespace Tool::Verbs {

namespace {

struct HistoryOptions {
    std::string pattern; ///< a glob or a part of a name; empty: all items
    std::size_t limit = 100;
};

/// The last entries of the items that match.
Report run(HistoryOptions const& options, Workbench& workbench)
{
    std::set<std::string> names;
    if (!options.pattern.empty()) {
        for (auto const tag : matchItems(options.pattern))
            names.insert(nameOf(tag));
    }
    std::string error;
    auto entries = workbench.journal().entries(error);
    std::erase_if(entries, [&](Json const& entry) {
        auto const item = entry["item"].get<std::string>();
        return !options.pattern.empty() && !names.contains(item) && item.find(options.pattern) == std::string::npos;
    });
    if (error.empty() && entries.empty() && !options.pattern.empty() && names.empty())
        return failure(exitUnknownItem, options.pattern, "matches no item and no entry", namesNear(options.pattern));
    auto const first = entries.size() - std::min(options.limit, entries.size());
    Section section{"history", Layout::Table, {"time", "who", "item", "old", "new", "result", "reason"}, {}};
    section.headings = 2;
    for (auto index = first; index < entries.size(); ++index) {
        auto const& entry = entries[index];
        auto& row = section.rows.emplace_back();
        row.emplace_back(timeText(entry["time"].get<std::int64_t>()));
        for (std::size_t column = 1; column < section.columns.size(); ++column)
            row.push_back(entry.value(section.columns[column], Json()));
    }
    Report report{exitOk, {std::move(section)}};
    if (!error.empty())
        report.fail(exitStorage, {"", error});
    else if (entries.empty())
        report.notes.emplace_back(options.pattern.empty() ? "Nothing was changed yet."
                                                          : "No change of such an item is known.");
    else if (first > 0)
        report.notes.push_back(std::to_string(first) + " older entries; --limit shows more.");
    return report;
}

} // namespace

Verb historyVerb()
{
    auto const options = std::make_shared<HistoryOptions>();
    return {.name = "history",
            .help = "Show who changed what, and when",
            .arguments = {Arguments::pattern(&options->pattern),
                          {.name = "--limit",
                           .target = &options->limit,
                           .help = "So many entries, the latest ones; otherwise 100",
                           .value = "NUMBER",
                           .range = {{0, 1000000}}}},
            .action = onWorkbench(options)};
}

} // namespace Tool::Verbs

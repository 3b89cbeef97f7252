#include "verbs/History.h"

#include "workbench/Items.h"
#include "workbench/Journal.h"
#include "workbench/Workbench.h"

#include <algorithm>
#include <set>
#include <utility>

namespace Tool {

Report history(Workbench& workbench, std::string const& pattern, std::size_t limit)
{
    std::set<std::string> names;
    if (!pattern.empty()) {
        for (auto const tag : matchItems(pattern))
            names.insert(nameOf(tag));
    }
    std::string error;
    auto entries = workbench.journal().entries(error);
    std::erase_if(entries, [&](Json const& entry) {
        auto const item = entry["item"].get<std::string>();
        return !pattern.empty() && !names.contains(item) && item.find(pattern) == std::string::npos;
    });
    if (error.empty() && entries.empty() && !pattern.empty() && names.empty())
        return failure(exitUnknownItem, pattern, "matches no item and no entry", namesNear(pattern));
    auto const first = entries.size() - std::min(limit, entries.size());
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
        report.notes.emplace_back(pattern.empty() ? "Nothing was changed yet." : "No change of such an item is known.");
    else if (first > 0)
        report.notes.push_back(std::to_string(first) + " older entries; --limit shows more.");
    return report;
}

} // namespace Tool

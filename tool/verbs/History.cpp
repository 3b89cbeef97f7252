// Who changed what, and when: `history`.
#include "verbs/Verbs.h"

#include "report/Text.h"
#include "verbs/Arguments.h"
#include "workbench/Items.h"
#include "workbench/PastEntries.h"
#include "workbench/Workbench.h"

#include <algorithm>
#include <cstdlib>
#include <set>
#include <utility>

namespace Tool::Verbs {

namespace {

struct HistoryOptions {
    Words words; ///< nothing, a pattern, "show" with a number, or "forget" with or without an item
    std::string item;
    std::string since;
    std::string until;
    std::size_t limit = 100;
    bool yes = false;
};

Section sectionOf(std::vector<PastEntry> const& entries)
{
    Section section{"history",
                    Layout::Table,
                    {"number", "time", "user", "process", "verb", "door", "item", "old", "new", "result", "reason", "cause"},
                    {}};
    section.headings = 6;
    section.nested = "changes";
    auto const orNothing = [](std::string const& text) { return text.empty() ? Json() : Json(text); };
    for (auto const& entry : entries) {
        std::vector<Json> const head{entry.number == 0 ? Json() : Json(entry.number),
                                     isoTime(entry.time),
                                     orNothing(entry.user),
                                     orNothing(entry.process),
                                     orNothing(entry.verb),
                                     orNothing(entry.door)};
        for (auto const& change : entry.changes) {
            auto& row = section.rows.emplace_back(head);
            row.insert(row.end(), {change.item, change.before, change.after, change.result, change.reason, change.cause});
        }
        if (entry.changes.empty())
            section.rows.emplace_back(head).resize(section.columns.size());
    }
    return section;
}

/// The changes of items that match; an entry without any goes. Nothing when no item and no entry has such a name.
bool keepMatching(std::string const& pattern, std::vector<PastEntry>& entries)
{
    std::set<std::string> names;
    for (auto const tag : matchItems(pattern))
        names.insert(nameOf(tag));
    for (auto& entry : entries)
        std::erase_if(entry.changes, [&](PastChange const& change) {
            return !names.contains(change.item) && change.item.find(pattern) == std::string::npos;
        });
    std::erase_if(entries, [](PastEntry const& entry) { return entry.changes.empty(); });
    return !names.empty() || !entries.empty();
}

Report list(HistoryOptions const& options, std::string const& pattern, std::vector<PastEntry> entries)
{
    for (auto const& [name, text] : {std::pair("--since", &options.since), std::pair("--until", &options.until)}) {
        auto const time = timeOf(*text);
        if (!text->empty() && !time)
            return failure(exitUsage, *text,
                           std::string(name) + " takes a time: 2026-11-22T10:11, a date, or \"10 minutes ago\"");
        bool const isSince = text == &options.since;
        std::erase_if(entries,
                      [&](PastEntry const& entry) { return time && (isSince ? entry.time < *time : entry.time > *time); });
    }
    if (!pattern.empty() && !keepMatching(pattern, entries))
        return failure(exitUnknownItem, pattern, "matches no item and no entry", namesNear(pattern));
    auto const left = entries.size() - std::min(options.limit, entries.size());
    entries.erase(entries.begin(), entries.begin() + static_cast<std::ptrdiff_t>(left));
    Report report{exitOk, {sectionOf(entries)}};
    bool const isAsked = !pattern.empty() || !options.since.empty() || !options.until.empty();
    if (entries.empty() && left == 0)
        report.notes.emplace_back(isAsked ? "No such change is known." : "Nothing was changed yet.");
    else if (left > 0)
        report.notes.push_back(std::to_string(left) + " older entries; --limit shows more.");
    return report;
}

Report show(std::string const& number, std::vector<PastEntry> entries)
{
    auto const wanted = std::strtoll(number.c_str(), nullptr, 10);
    std::erase_if(entries, [=](PastEntry const& each) { return !each.numbers.contains(wanted); });
    return entries.empty() ? failure(exitUnknownItem, number, "no entry has this number")
                           : Report{exitOk, {sectionOf(entries)}};
}

Report run(HistoryOptions const& options, Workbench& workbench)
{
    auto const& words = options.words;
    auto const first = words.empty() ? std::string() : words.front();
    bool const isOfTwo = first == "show" || first == "forget";
    if (words.size() > (isOfTwo ? 2U : 1U) || (first == "show" && words.size() == 1))
        return failure(exitUsage, first, "expected PATTERN, show NUMBER, or forget [ITEM]");
    if (first == "forget")
        return forget(workbench, words.size() > 1 ? std::optional(words[1]) : std::nullopt, options.yes);
    std::string error;
    auto entries = pastEntries(workbench, error);
    auto report = first == "show" ? show(words[1], std::move(entries))
                                  : list(options, first.empty() ? options.item : first, std::move(entries));
    if (!error.empty())
        report.fail(exitStorage, {"", error});
    return report;
}

} // namespace

Verb historyVerb()
{
    auto const options = std::make_shared<HistoryOptions>();
    auto const time = "; 2026-11-22T10:11:12+01:00, 2026-11-22, \"10 minutes ago\"";
    return {
        .name = "history",
        .help = "Show who changed what, and when",
        .arguments = {{.name = "WHAT",
                       .target = &options->words,
                       .help =
                           "Items by pattern; or show NUMBER: one entry; or forget [ITEM]: wipe what is known of the item, "
                           "or everything",
                       .offer = Offers::itemsAnd({"show", "forget"})},
                      {.name = "--item",
                       .target = &options->item,
                       .help = "As a pattern",
                       .value = "PATTERN",
                       .offer = Offers::items},
                      {.name = "--since",
                       .target = &options->since,
                       .help = std::string("Not before this time") + time,
                       .value = "TIME"},
                      {.name = "--until", .target = &options->until, .help = "Not after this time", .value = "TIME"},
                      {.name = "--limit",
                       .target = &options->limit,
                       .help = "So many entries, the latest ones; otherwise 100",
                       .value = "NUMBER",
                       .range = {{0, 1000000}}},
                      {.name = "--yes", .target = &options->yes, .help = "Forgets without a question"}},
        .action = onWorkbench(options),
        .yes = &options->yes};
}

} // namespace Tool::Verbs

// Items with their values: `list`.
#include "verbs/Verbs.h"

#include "verbs/Arguments.h"
#include "workbench/Items.h"
#include "workbench/Outcomes.h"
#include "workbench/Workbench.h"

#include <utility>

namespace Tool::Verbs {

using namespace Data;

namespace {

struct ListOptions {
    std::string pattern; ///< a glob or a part of a name; empty: all items
    bool changedOnly = false;
};

Report run(ListOptions const& options, Workbench& workbench)
{
    auto const tags = options.pattern.empty() ? allTags() : matchItems(options.pattern);
    if (tags.empty())
        return failure(exitUnknownItem, options.pattern, "matches no item", namesNear(options.pattern));
    Report report;
    Section section{"items", Layout::Table, {"tag", "item", "type", "value"}, {}};
    auto const others = serviceValues(workbench);
    for (auto const tag : tags) {
        if (!exists(tag))
            continue;
        auto const value = knownValue(tag, others);
        bool const isChanged = !value.is_null() && typeOf(tag) != eDataItemTypeComplex && value != defaultOf(tag);
        if (!options.changedOnly || isChanged)
            section.rows.push_back({static_cast<int>(tag), nameOf(tag), typeName(typeOf(tag)),
                                    shown(tag, value, workbench.options().showSecrets)});
    }
    if (section.rows.empty())
        report.notes.emplace_back(options.changedOnly ? "Nothing differs from the defaults."
                                                      : "The catalogue has what matches switched off.");
    report.sections.push_back(std::move(section));
    return report;
}

} // namespace

Verb listVerb()
{
    auto const options = std::make_shared<ListOptions>();
    return {
        .name = "list",
        .help = "List items with their values",
        .arguments = {Arguments::pattern(&options->pattern),
                      {.name = "--changed", .target = &options->changedOnly, .help = "Only what differs from its default"}},
        .action = onWorkbench(options)};
}

} // namespace Tool::Verbs

#include "verbs/List.h"

#include "verbs/Offers.h"
#include "workbench/Items.h"
#include "workbench/Outcomes.h"
#include "workbench/Workbench.h"

#include <utility>

namespace Tool::Verbs::List {

using namespace Data;

Report run(Options const& options, Workbench& workbench)
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

Verb verb()
{
    auto const options = std::make_shared<Options>();
    return {
        .name = "list",
        .help = "List items with their values",
        .arguments = {{.name = "PATTERN",
                       .target = &options->pattern,
                       .help = "A glob with * or ?, or a part of a name",
                       .offer = Offers::items},
                      {.name = "--changed", .target = &options->changedOnly, .help = "Only what differs from its default"}},
        .action = onWorkbench(options)};
}

} // namespace Tool::Verbs::List

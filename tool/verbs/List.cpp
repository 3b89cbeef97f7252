#include "verbs/List.h"

#include "workbench/Items.h"
#include "workbench/Outcomes.h"
#include "workbench/Workbench.h"

#include <utility>

namespace Tool {

using namespace Data;

Report list(Workbench& workbench, std::string const& pattern, bool changedOnly)
{
    auto const tags = pattern.empty() ? allTags() : matchItems(pattern);
    if (tags.empty())
        return failure(exitUnknownItem, pattern, "matches no item", namesNear(pattern));
    Report report;
    Section section{"items", Layout::Table, {"tag", "item", "type", "value"}, {}};
    auto const others = serviceValues(workbench);
    for (auto const tag : tags) {
        if (!exists(tag))
            continue;
        auto const value = knownValue(tag, others);
        bool const isChanged = !value.is_null() && typeOf(tag) != eDataItemTypeComplex && value != defaultOf(tag);
        if (!changedOnly || isChanged)
            section.rows.push_back({static_cast<int>(tag), nameOf(tag), typeName(typeOf(tag)),
                                    shown(tag, value, workbench.options().showSecrets)});
    }
    if (section.rows.empty())
        report.notes.emplace_back(changedOnly ? "Nothing differs from the defaults."
                                              : "The catalogue has what matches switched off.");
    report.sections.push_back(std::move(section));
    return report;
}

} // namespace Tool

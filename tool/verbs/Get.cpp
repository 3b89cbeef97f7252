// Values, one or several: `get`.
#include "verbs/Verbs.h"

#include "verbs/Arguments.h"
#include "workbench/Items.h"
#include "workbench/Workbench.h"

#include <utility>

namespace Tool::Verbs {

namespace {

Report values(Words const& items, Workbench& workbench)
{
    Report report;
    Section section{"items", Layout::Values, {"item", "tag", "type", "value"}, {}};
    for (auto const& name : items) {
        auto const tag = findItem(name);
        if (!tag) {
            report.fail(exitUnknownItem, unknownItem(name).problems.front());
            continue;
        }
        auto const value = readValue(*tag);
        if (!exists(*tag))
            report.fail(exitRefused, {name, "the catalogue has this item switched off"});
        else if (!value)
            report.fail(exitStorage, {name, "the management service has no value for it"});
        else if (isUnreadable(*tag, *value))
            report.fail(exitStorage, {name, std::string("unreadable: ") + unreadableReason});
        else
            section.rows.push_back({nameOf(*tag), static_cast<int>(*tag), typeName(typeOf(*tag)),
                                    shown(*tag, *value, workbench.options().showSecrets)});
    }
    report.sections.push_back(std::move(section));
    return report;
}

} // namespace

Verb getVerb()
{
    auto const items = std::make_shared<Words>();
    return {.name = "get",
            .help = "Print values",
            .arguments = {Arguments::items(items.get())},
            .action = [items](Workbench& workbench) { return values(*items, workbench); }};
}

} // namespace Tool::Verbs

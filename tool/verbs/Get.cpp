#include "verbs/Get.h"

#include "verbs/Offers.h"
#include "workbench/Items.h"
#include "workbench/Workbench.h"

#include <utility>

namespace Tool::Verbs::Get {

Report run(Options const& options, Workbench& workbench)
{
    Report report;
    Section section{"items", Layout::Values, {"item", "tag", "type", "value"}, {}};
    for (auto const& name : options.items) {
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
        else
            section.rows.push_back({nameOf(*tag), static_cast<int>(*tag), typeName(typeOf(*tag)),
                                    shown(*tag, *value, workbench.options().showSecrets)});
    }
    report.sections.push_back(std::move(section));
    return report;
}

Verb verb()
{
    auto const options = std::make_shared<Options>();
    return {.name = "get",
            .help = "Print values",
            .arguments = {{.name = "ITEM",
                           .target = &options->items,
                           .help = "Names, or tag numbers",
                           .isRequired = true,
                           .offer = Offers::items}},
            .action = onWorkbench(options)};
}

} // namespace Tool::Verbs::Get

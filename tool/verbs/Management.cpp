#include "verbs/Management.h"

#include "verbs/Offers.h"
#include "workbench/Assignment.h"
#include "workbench/Management.h"

namespace Tool::Verbs::Management {

namespace {

using Request = Report (*)(Workbench&, std::vector<Assignment> const&);

template <class Options> Report request(Options const& options, Workbench& workbench, Request action)
{
    std::vector<Assignment> values;
    auto report = parseAssignments(options.assignments, options.general.showSecrets, values);
    return report.code == exitOk ? action(workbench, values) : report;
}

/// A verb that takes assignments.
template <class Options> Verb requestVerb(std::string name, std::string help)
{
    auto const options = std::make_shared<Options>();
    return {.name = std::move(name),
            .help = std::move(help),
            .arguments = {{.name = "ITEM=VALUE",
                           .target = &options->assignments,
                           .help = "As the service names them",
                           .isRequired = true,
                           .offer = Offers::assignments}},
            .changesAs = "management",
            .action = onWorkbench(options),
            .general = &options->general};
}

Verb getVerb()
{
    auto const options = std::make_shared<GetOptions>();
    return {.name = "mgmt get",
            .help = "Read items as the service reads them",
            .arguments = {{.name = "ITEM",
                           .target = &options->items,
                           .help = "An item, or a table such as codecSettings",
                           .isRequired = true,
                           .offer = Offers::items}},
            .action = onWorkbench(options)};
}

} // namespace

Report run(GetOptions const& options, Workbench& workbench)
{
    return managementGet(workbench, options.items);
}

Report run(SetOptions const& options, Workbench& workbench)
{
    return request(options, workbench, managementSet);
}

Report run(ChangedOptions const& options, Workbench& workbench)
{
    return request(options, workbench, managementChanged);
}

std::vector<Verb> verbs()
{
    return {
        {.name = "mgmt", .help = "Act as the management service"},
        getVerb(),
        requestVerb<SetOptions>("mgmt set", "Set items of the media component, with reject reasons"),
        requestVerb<ChangedOptions>("mgmt changed", "Report that items of other components changed"),
        {.name = "mgmt reset-user-data",
         .help = "Order a reset of the user's settings",
         .changesAs = "management",
         .action = OnWorkbench(managementReset)},
        {.name = "mgmt journal",
         .help = "Show what the library read, reported and requested",
         .action = OnWorkbench(managementJournal)},
    };
}

} // namespace Tool::Verbs::Management

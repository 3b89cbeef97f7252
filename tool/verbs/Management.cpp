// The verbs that act as the telephone's management service: `mgmt get` and its like.
#include "verbs/Verbs.h"

#include "verbs/Arguments.h"
#include "workbench/Assignment.h"
#include "workbench/Management.h"
#include "workbench/Workbench.h"

#include <utility>

namespace Tool::Verbs {

namespace {

Verb readingVerb()
{
    auto const items = std::make_shared<Words>();
    return {.name = "mgmt get",
            .help = "Read items as the service reads them",
            .arguments = {Arguments::items(items.get(), "An item, or a table such as codecSettings")},
            .action = [items](Workbench& workbench) { return managementGet(workbench, *items); }};
}

/// A verb that takes assignments.
Verb requestVerb(std::string name, std::string help, Report (*request)(Workbench&, std::vector<Assignment> const&))
{
    auto const words = std::make_shared<Words>();
    auto assignments = Arguments::assignments(words.get(), "As the service names them");
    assignments.isRequired = true;
    return {.name = std::move(name),
            .help = std::move(help),
            .arguments = {std::move(assignments)},
            .changesAs = "management",
            .action = [words, request](Workbench& workbench) {
                std::vector<Assignment> values;
                auto report = parseAssignments(*words, workbench.options().showSecrets, values);
                return report.code == exitOk ? request(workbench, values) : report;
            }};
}

} // namespace

std::vector<Verb> managementVerbs()
{
    return {
        {.name = "mgmt", .help = "Act as the management service"},
        readingVerb(),
        requestVerb("mgmt set", "Set items of the media component, with reject reasons", managementSet),
        requestVerb("mgmt changed", "Report that items of other components changed", managementChanged),
        {.name = "mgmt reset-user-data",
         .help = "Order a reset of the user's settings",
         .changesAs = "management",
         .action = OnWorkbench(managementReset)},
        {.name = "mgmt journal",
         .help = "Show what the library read, reported and requested",
         .action = OnWorkbench(managementJournal)},
    };
}

} // namespace Tool::Verbs

#include "verbs/Mobility.h"

#include "verbs/Offers.h"
#include "workbench/Items.h"
#include "workbench/Management.h"

#include <algorithm>

namespace Tool::Verbs::Mobility {

using namespace Data;

namespace {

Words const& types()
{
    static Words const all{"all", "managed", "unmanaged"};
    return all;
}

} // namespace

Report run(Options const& options, Workbench& workbench)
{
    if (!options.type.empty() && std::find(types().begin(), types().end(), options.type) == types().end())
        return failure(exitUsage, options.type, "is no mobility type: all, managed, unmanaged or the empty text");
    return managementChanged(workbench, {{nameOf(eDataTagMobilityDataUpdate), options.type}});
}

Verb verb()
{
    auto const options = std::make_shared<Options>();
    return {.name = "mobility",
            .help = "Announce how the user's data is handled",
            .arguments = {{.name = "TYPE",
                           .target = &options->type,
                           .help = "all, managed, unmanaged or an empty text",
                           .isRequired = true,
                           .offer = Offers::words(types())}},
            .changesAs = "management",
            .action = onWorkbench(options)};
}

} // namespace Tool::Verbs::Mobility

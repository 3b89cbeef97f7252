#include "verbs/Set.h"

#include "report/Console.h"
#include "verbs/Offers.h"
#include "workbench/Assignment.h"
#include "workbench/Workbench.h"

namespace Tool::Verbs::Set {

Report gather(Options& options, Console& console)
{
    if (!options.file.empty())
        options.content = console.read(options.file);
    return {};
}

Report run(Options const& options, Workbench& workbench)
{
    Report report;
    std::vector<Assignment> values;
    if (!options.file.empty() && !options.content)
        return failure(exitUsage, options.file, "cannot be read");
    if (options.content)
        report = readAssignments(*options.content, options.file, values);
    if (report.code == exitOk)
        report = parseAssignments(options.assignments, options.general.showSecrets, values);
    if (report.code != exitOk)
        return report;
    if (values.empty())
        return failure(exitUsage, "", "nothing to set: give ITEM=VALUE or --file");
    return set(workbench, values, {.dryRun = options.dryRun, .atomic = options.atomic, .watch = options.watch});
}

Verb verb()
{
    auto const options = std::make_shared<Options>();
    return {
        .name = "set",
        .help = "Set values, all in one bulk set",
        .arguments = {{.name = "ITEM=VALUE",
                       .target = &options->assignments,
                       .help = "A value may be empty",
                       .offer = Offers::assignments},
                      {.name = "--file",
                       .target = &options->file,
                       .help = "Read ITEM=VALUE lines from a file, - for standard input",
                       .value = "FILE",
                       .offer = Offers::files},
                      {.name = "--dry-run", .target = &options->dryRun, .help = "Check the values and write nothing"},
                      {.name = "--atomic", .target = &options->atomic, .help = "Store nothing when one value is refused"},
                      {.name = "--watch", .target = &options->watch, .help = "Show what a registered callback heard"}},
        .changesAs = "set",
        .action = onWorkbench(options),
        .gather = gathering(options),
        .general = &options->general,
        .dryRun = &options->dryRun};
}

} // namespace Tool::Verbs::Set

// Changes are taken back: `undo`.
#include "verbs/Verbs.h"

#include "report/Text.h"
#include "verbs/Arguments.h"
#include "workbench/Undo.h"

#include <cstdlib>
#include <utility>

namespace Tool::Verbs {

namespace {

struct UndoVerbOptions {
    std::string number;
    std::string since;
    bool dryRun = false;
    bool force = false;
    bool yes = false;
};

Report run(UndoVerbOptions const& options, Workbench& workbench)
{
    UndoOptions wish{{}, {}, options.dryRun, options.force, options.yes};
    if (!options.number.empty()) {
        char* rest = nullptr;
        wish.number = std::strtoll(options.number.c_str(), &rest, 10);
        if (*rest != '\0' || !options.since.empty())
            return failure(exitUsage, options.number, "expected the number of an entry, or --since alone");
    }
    if (!options.since.empty()) {
        wish.since = timeOf(options.since);
        if (!wish.since)
            return failure(exitUsage, options.since,
                           "--since takes a time: 2026-11-22T10:11, a date, or \"10 minutes ago\"");
    }
    return undo(workbench, wish);
}

} // namespace

Verb undoVerb()
{
    auto const options = std::make_shared<UndoVerbOptions>();
    return {.name = "undo",
            .help = "Take changes back, as far as the database has them: its last 64 kB of history",
            .arguments = {{.name = "NUMBER",
                           .target = &options->number,
                           .help = "An entry of the history; otherwise the last one that is neither an undo nor undone. The "
                                   "undo of an undo does again what it took back, and counts as done then"},
                          {.name = "--since",
                           .target = &options->since,
                           .help = "Everything from this time on, as in history",
                           .value = "TIME"},
                          Arguments::dryRun(&options->dryRun),
                          {.name = "--force",
                           .target = &options->force,
                           .help = "Also what was changed meanwhile, and the rest when something cannot be taken back"},
                          Arguments::yes(&options->yes)},
            .changesAs = "undo",
            .action = onWorkbench(options),
            .yes = &options->yes,
            .dryRun = &options->dryRun};
}

} // namespace Tool::Verbs

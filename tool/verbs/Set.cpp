// Values are set, all in one bulk set: `set`.
#include "verbs/Verbs.h"

#include "report/Console.h"
#include "verbs/Arguments.h"
#include "workbench/Assignment.h"
#include "workbench/Items.h"
#include "workbench/Workbench.h"

#include <string>

namespace Tool::Verbs {

namespace {

struct SetOptions {
    Words assignments;   ///< ITEM=VALUE
    Words asked;         ///< items whose values gather() asks for
    std::string file;    ///< with more of them, a line each
    FileContent content; ///< of the file, by gather()
    bool dryRun = false;
    bool atomic = false;
    bool yes = false;
    bool watch = false;
};

Report gather(SetOptions& options, Console& console)
{
    for (auto const& item : options.asked) {
        if (!findItem(item))
            return unknownItem(item);
        auto const value = console.secret(item);
        if (!value && !console.lacksInput())
            return failure(exitUsage, item, "no value came");
        options.assignments.push_back(item + '=' + value.value_or(""));
    }
    if (!options.file.empty())
        options.content = console.read(options.file);
    return {};
}

/// Each value is accounted for. Nothing is set when something is no assignment.
Report run(SetOptions const& options, Workbench& workbench)
{
    Report report;
    std::vector<Assignment> values;
    auto const& [content, whyNot] = options.content;
    if (!options.file.empty() && !content)
        return failure(exitUsage, options.file, whyNot);
    if (content)
        report = readAssignments(*content, options.file == "-" ? "standard input" : options.file, values);
    if (report.code == exitOk)
        report = parseAssignments(options.assignments, workbench.options().showSecrets, values);
    if (report.code != exitOk)
        return report;
    if (values.empty())
        return failure(exitUsage, "", "nothing to set: give ITEM=VALUE, --ask or --file");
    return set(workbench, values,
               {.dryRun = options.dryRun, .atomic = options.atomic, .watch = options.watch, .yes = options.yes});
}

} // namespace

Verb setVerb()
{
    auto const options = std::make_shared<SetOptions>();
    return {.name = "set",
            .help = "Set values, all in one bulk set",
            .arguments = {Arguments::assignments(&options->assignments, "A value may be empty"),
                          {.name = "--file",
                           .target = &options->file,
                           .help = "Read ITEM=VALUE lines from a file, - for standard input",
                           .value = "FILE",
                           .offer = Offers::files},
                          {.name = "--ask",
                           .target = &options->asked,
                           .help = "Ask for the item's value without showing it, or take a line of the standard input; may "
                                   "be given several times",
                           .value = "ITEM",
                           .offer = Offers::items},
                          Arguments::dryRun(&options->dryRun, "Check the values and write nothing"),
                          Arguments::atomic(&options->atomic, "Store nothing when one value is refused"),
                          Arguments::yes(&options->yes),
                          {.name = "--watch", .target = &options->watch, .help = "Show what a registered callback heard"}},
            .changesAs = "set",
            .action = onWorkbench(options),
            .gather = gathering(options),
            .yes = &options->yes,
            .dryRun = &options->dryRun};
}

} // namespace Tool::Verbs

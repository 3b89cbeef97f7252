#include "verbs/Mobility.h"

#include "report/Console.h"
#include "verbs/Offers.h"
#include "workbench/Document.h"
#include "workbench/Mobility.h"

namespace Tool::Verbs::Mobility {

namespace {

Words typeNames()
{
    Words names;
    for (auto const& type : mobilityTypes()) {
        if (*type.text)
            names.emplace_back(type.text);
    }
    return names;
}

Report storeArriving(Options const& options, Workbench& workbench)
{
    if (!options.content)
        return failure(exitUsage, options.from, "cannot be read");
    Document document;
    auto report = parseDocument(*options.content, options.from == "-" ? "standard input" : options.from, document);
    return report.code == exitOk ? arrive(workbench, document) : report;
}

} // namespace

Report gather(Options& options, Console& console)
{
    if (!options.from.empty())
        options.content = console.read(options.from);
    return {};
}

Report run(Options const& options, Workbench& workbench)
{
    if (!options.type && options.from.empty())
        return mobility();
    auto const* const type = findMobilityType(options.type.value_or(""));
    if (!type)
        return failure(exitUsage, *options.type, "is no mobility type: all, managed, unmanaged or the empty text");
    if (!options.from.empty()) {
        if (!type->reads)
            return failure(exitUsage, options.from, "only all and managed have the user's data read");
        if (auto report = storeArriving(options, workbench); report.code != exitOk)
            return report;
    }
    return announce(workbench, *type);
}

Verb verb()
{
    auto const options = std::make_shared<Options>();
    return {.name = "mobility",
            .help = "Announce how the user's data is handled, or show what waits",
            .arguments = {{.name = "TYPE",
                           .target = &options->type,
                           .help = "all, managed, unmanaged or an empty text",
                           .offer = Offers::words(typeNames())},
                          {.name = "--from",
                           .target = &options->from,
                           .help = "First store the user's data of an exported file, - for standard input",
                           .value = "FILE",
                           .offer = Offers::files}},
            .changesAs = "management",
            .action = onWorkbench(options),
            .gather = gathering(options)};
}

} // namespace Tool::Verbs::Mobility

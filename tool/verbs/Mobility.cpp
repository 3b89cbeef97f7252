// How the user's data is handled: `mobility`.
#include "verbs/Verbs.h"

#include "report/Console.h"
#include "verbs/Arguments.h"
#include "verbs/Passphrase.h"
#include "workbench/Document.h"
#include "workbench/Mobility.h"

#include <optional>
#include <string>

namespace Tool::Verbs {

namespace {

struct MobilityOptions {
    std::optional<std::string> type; ///< all, managed, unmanaged or the empty text; nothing: shows what there is
    std::string from;                ///< a document with the data of the user who arrives
    FileContent content;             ///< of that file, by gather()
    bool dryRun = false;
};

Words typeNames()
{
    Words names;
    for (auto const& type : mobilityTypes()) {
        if (*type.text)
            names.emplace_back(type.text);
    }
    return names;
}

Report gather(MobilityOptions& options, Console& console)
{
    if (!options.from.empty())
        options.content = console.read(options.from);
    return {};
}

/// Announces the type, after the arriving user's data was stored.
Report run(MobilityOptions const& options, Workbench& workbench)
{
    if (!options.type && options.from.empty())
        return mobility();
    auto const* const type = findMobilityType(options.type.value_or(""));
    if (!type)
        return failure(exitUsage, *options.type, "is no mobility type: all, managed, unmanaged or the empty text");
    if (options.from.empty())
        return announce(workbench, *type, options.dryRun);
    if (options.dryRun)
        return failure(exitUsage, options.from, "what a file brings is rehearsed by import --dry-run");
    if (!type->reads)
        return failure(exitUsage, options.from, "only all and managed have the user's data read");
    Document document;
    auto const report = readDocument(options.from, options.content, {}, document);
    return report.code == exitOk ? arrive(workbench, document, *type) : report;
}

} // namespace

Verb mobilityVerb()
{
    auto const options = std::make_shared<MobilityOptions>();
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
                           .offer = Offers::files},
                          Arguments::dryRun(&options->dryRun)},
            .changesAs = "management",
            .action = onWorkbench(options),
            .gather = gathering(options),
            .onlyReads = [options] { return !options->type && options->from.empty(); },
            .dryRun = &options->dryRun};
}

} // namespace Tool::Verbs

#include "verbs/Import.h"

#include "report/Console.h"
#include "verbs/Offers.h"
#include "workbench/Document.h"
#include "workbench/Import.h"

#include <iterator>
#include <utility>

namespace Tool::Verbs::Import {

Report gather(Options& options, Console& console)
{
    options.content = console.read(options.file);
    gatherFor(options.content, options.passphrase, console);
    return {};
}

Report run(Options const& options, Workbench& workbench)
{
    if (!options.content)
        return failure(exitUsage, options.file, "cannot be read");
    auto report = check(options.passphrase, options.file);
    if (report.code != exitOk)
        return report;
    Document document;
    auto const name = options.file == "-" ? "standard input" : options.file;
    report = readDocument(*options.content, name, passphraseOf(options.passphrase), document);
    if (report.code != exitOk)
        return report;
    auto account = importDocument(workbench, document,
                                  {.dryRun = options.dryRun, .atomic = options.atomic, .all = options.general.json});
    account.notes = std::move(report.notes);
    return account;
}

Verb verb()
{
    auto const options = std::make_shared<Options>();
    std::vector<Argument> arguments{
        {.name = "FILE",
         .target = &options->file,
         .help = "The document, - for standard input",
         .isRequired = true,
         .offer = Offers::files},
        {.name = "--dry-run", .target = &options->dryRun, .help = "Check the document and write nothing"},
        {.name = "--atomic", .target = &options->atomic, .help = "Store nothing when one item is refused or unknown"}};
    auto secrets = passphraseArguments(options->passphrase, "Open the encrypted secrets and store them");
    std::move(secrets.begin(), secrets.end(), std::back_inserter(arguments));
    return {.name = "import",
            .help = "Take over an exported configuration, each item accounted for",
            .arguments = std::move(arguments),
            .changesAs = "import",
            .action = onWorkbench(options),
            .gather = gathering(options),
            .general = &options->general,
            .dryRun = &options->dryRun};
}

} // namespace Tool::Verbs::Import

// An exported document is taken over: `import`.
#include "verbs/Verbs.h"

#include "report/Console.h"
#include "verbs/Arguments.h"
#include "verbs/Passphrase.h"
#include "workbench/Document.h"
#include "workbench/Import.h"

#include <string>
#include <utility>

namespace Tool::Verbs {

namespace {

struct ImportOptions {
    std::string file;
    FileContent content; ///< of the file, by gather()
    PassphraseOptions passphrase;
    bool dryRun = false;
    bool atomic = false;
    bool yes = false;
    General general;
};

Report gather(ImportOptions& options, Console& console)
{
    options.content = console.read(options.file);
    gatherFor(options.content, options.passphrase, console);
    return {};
}

/// Each item of the document is accounted for; in text what is unchanged is only counted.
Report run(ImportOptions const& options, Workbench& workbench)
{
    Document document;
    auto report = readDocument(options.file, options.content, options.passphrase, document);
    if (report.code != exitOk)
        return report;
    auto account = importDocument(
        workbench, document,
        {.dryRun = options.dryRun, .atomic = options.atomic, .yes = options.yes, .all = options.general.json});
    addMissingSecrets(account, document);
    account.notes = std::move(report.notes);
    return account;
}

} // namespace

Verb importVerb()
{
    auto const options = std::make_shared<ImportOptions>();
    return {.name = "import",
            .help = "Take over an exported configuration, each item accounted for",
            .arguments =
                withPassphrase({{.name = "FILE",
                                 .target = &options->file,
                                 .help = "The document, - for standard input",
                                 .isRequired = true,
                                 .offer = Offers::files},
                                Arguments::dryRun(&options->dryRun, "Check the document and write nothing"),
                                Arguments::atomic(&options->atomic, "Store nothing when one item is refused or unknown"),
                                Arguments::yes(&options->yes)},
                               options->passphrase, "Open the encrypted secrets and store them"),
            .changesAs = "import",
            .action = onWorkbench(options),
            .gather = gathering(options),
            .general = &options->general,
            .yes = &options->yes,
            .dryRun = &options->dryRun};
}

} // namespace Tool::Verbs

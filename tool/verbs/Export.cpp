// The configuration as one document: `export`.
#include "verbs/Verbs.h"

#include "report/Console.h"
#include "verbs/Passphrase.h"
#include "workbench/Import.h"
#include "workbench/Workbench.h"

namespace Tool::Verbs {

namespace {

struct ExportOptions {
    PassphraseOptions passphrase;
    General general;
};

Report gather(ExportOptions& options, Console& console)
{
    gatherForNew(options.passphrase, console, !options.general.showSecrets);
    return {};
}

/// The report's text is the document.
Report run(ExportOptions const& options, Workbench& workbench)
{
    auto report = check(options.passphrase, "");
    if (report.code != exitOk)
        return report;
    if (options.passphrase.isMistyped() && !workbench.options().showSecrets)
        return failure(exitUsage, "", "the two passphrases differ");
    std::optional<std::string> passphrase;
    if (options.passphrase.isWanted() && !workbench.options().showSecrets) {
        passphrase = passphraseOf(options.passphrase);
        if (!passphrase)
            return noPassphrase();
    }
    report = exportDocument(workbench, passphrase);
    // The document is JSON already.
    report.form = report.code == exitOk ? Report::Form::AsText : Report::Form::AsAsked;
    return report;
}

} // namespace

Verb exportVerb()
{
    auto const options = std::make_shared<ExportOptions>();
    return {.name = "export",
            .help = "Print the configuration as one JSON document",
            .arguments = withPassphrase({}, options->passphrase, "Put the secrets in, encrypted under a passphrase"),
            .action = onWorkbench(options),
            .gather = gathering(options),
            .general = &options->general};
}

} // namespace Tool::Verbs

#include "verbs/Export.h"

#include "report/Console.h"
#include "workbench/Import.h"
#include "workbench/Workbench.h"

namespace Tool::Verbs::Export {

Report gather(Options& options, Console& console)
{
    gatherForNew(options.passphrase, console, !options.general.showSecrets);
    return {};
}

Report run(Options const& options, Workbench& workbench)
{
    auto report = check(options.passphrase, "");
    if (report.code != exitOk)
        return report;
    if (options.passphrase.isMistyped() && !workbench.options().showSecrets)
        return failure(exitUsage, "", "the two passphrases differ");
    report = exportDocument(workbench, passphraseOf(options.passphrase));
    // The document is JSON already.
    report.form = report.code == exitOk ? Report::Form::AsText : Report::Form::AsAsked;
    return report;
}

Verb verb()
{
    auto const options = std::make_shared<Options>();
    return {.name = "export",
            .help = "Print the configuration as one JSON document",
            .arguments = passphraseArguments(options->passphrase, "Put the secrets in, encrypted under a passphrase"),
            .action = onWorkbench(options),
            .gather = gathering(options),
            .general = &options->general};
}

} // namespace Tool::Verbs::Export

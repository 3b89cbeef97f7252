// A new telephone, as it is delivered or out of a document: `init`.
#include "verbs/Verbs.h"

#include "report/Console.h"
#include "verbs/Arguments.h"
#include "verbs/Passphrase.h"
#include "workbench/Document.h"
#include "workbench/Import.h"
#include "workbench/Workbench.h"

#include "Author.h"
#include "HostPlatform.h"

#include <optional>
#include <string>
#include <utility>

namespace Tool::Verbs {

namespace {

struct InitOptions {
    std::string directory; ///< empty: the one that holds for all verbs
    std::string from;      ///< a document
    FileContent content;   ///< of it, by gather()
    PassphraseOptions passphrase;
    General general;
};

Report gather(InitOptions& options, Console& console)
{
    if (!options.from.empty()) {
        options.content = console.read(options.from);
        gatherFor(options.content, options.passphrase, console);
    }
    return {};
}

/// Takes the document over, as it is or not at all: into the new telephone, or into one that goes away.
Report fill(Options const& place, std::optional<Document> const& document, bool all)
{
    std::string error;
    bool inUse = false;
    auto const workbench = Workbench::open(place, error, inUse);
    if (!workbench)
        return failure(exitStorage, "", std::move(error));
    Section made{"telephone", Layout::Pairs, {"directory"}, {{workbench->platform().directory()}}};
    bool const isRehearsal = place.missing == Missing::Rehearse;
    auto const take = [&] {
        auto report = importDocument(*workbench, *document, {.dryRun = isRehearsal, .atomic = true, .all = all});
        addMissingSecrets(report, *document);
        return report;
    };
    auto report = document ? workbench->journal().record(ownAuthor("init"), take) : Report{};
    report.sections.insert(report.sections.begin(), std::move(made));
    return report;
}

/// What the document cannot give is found out before anything is made.
Report run(InitOptions const& options)
{
    Options place{.dataDirectory = options.directory.empty() ? options.general.dataDirectory : options.directory,
                  .logLevel = options.general.logLevel,
                  .verbose = options.general.verbose,
                  .showSecrets = options.general.showSecrets,
                  .missing = Missing::Rehearse};
    if (hasTelephone(place.dataDirectory))
        return failure(exitStorage, place.dataDirectory.string(),
                       "there is a telephone already, or no directory to make one in");
    std::optional<Document> document;
    std::vector<std::string> notes;
    if (!options.from.empty()) {
        auto read = readDocument(options.from, options.content, options.passphrase, document.emplace());
        if (read.code != exitOk)
            return read;
        notes = std::move(read.notes);
        auto rehearsed = fill(place, document, options.general.json);
        if (rehearsed.code != exitOk) {
            rehearsed.sections.erase(rehearsed.sections.begin());
            rehearsed.fail(rehearsed.code, {place.dataDirectory.string(), "no telephone was made"});
            return rehearsed;
        }
    }
    place.missing = Missing::Make;
    auto report = fill(place, document, options.general.json);
    report.notes = std::move(notes);
    return report;
}

} // namespace

Verb initVerb()
{
    auto const options = std::make_shared<InitOptions>();
    return {.name = "init",
            .help = "Make a new telephone",
            .arguments = withPassphrase({{.name = "DIRECTORY",
                                          .target = &options->directory,
                                          .help = "Where, instead of the data directory",
                                          .offer = Offers::directories},
                                         {.name = "--from",
                                          .target = &options->from,
                                          .help = "Take an exported document over, - for standard input: all of it, or "
                                                  "nothing is made",
                                          .value = "FILE",
                                          .offer = Offers::files}},
                                        options->passphrase, "Open the document's encrypted secrets and store them"),
            .places = {Place::Process},
            .action = Alone([options](Console&) { return run(*options); }),
            .gather = gathering(options),
            .general = &options->general};
}

} // namespace Tool::Verbs

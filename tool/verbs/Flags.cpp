// The flag file: `flags`.
#include "verbs/Arguments.h"
#include "verbs/Verbs.h"

#include "workbench/FlagFile.h"

namespace Tool::Verbs {

namespace {

struct FlagsOptions {
    Words changes;      ///< FLAG, FLAG=VALUE, or FLAG=, which takes its line away
    bool clear = false; ///< removes the file
    bool dryRun = false;
};

Words offered(std::string const& word)
{
    auto const flag = word.substr(0, word.find('='));
    return flag == word ? flagNames() : Words{flag + "=true", flag + "=false"};
}

} // namespace

Verb flagsVerb()
{
    auto const options = std::make_shared<FlagsOptions>();
    return {
        .name = "flags",
        .help = "Show or change the flag file",
        .arguments = {{.name = "FLAG[=VALUE]",
                       .target = &options->changes,
                       .help = "FLAG alone means true, FLAG= takes its line away",
                       .offer = offered},
                      {.name = "--clear", .target = &options->clear, .help = "Remove the file"},
                      Arguments::dryRun(&options->dryRun)},
        .changesAs = "flag file",
        .action =
            [options](Workbench& workbench) { return flags(workbench, options->changes, options->clear, options->dryRun); },
        .onlyReads = [options] { return options->changes.empty() && !options->clear; },
        .dryRun = &options->dryRun};
}

} // namespace Tool::Verbs

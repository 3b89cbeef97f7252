#include "verbs/Flags.h"

#include "workbench/FlagFile.h"

namespace Tool::Verbs::Flags {

namespace {

Words offered(std::string const& word)
{
    auto const flag = word.substr(0, word.find('='));
    return flag == word ? flagNames() : Words{flag + "=true", flag + "=false"};
}

} // namespace

Report run(Options const& options, Workbench& workbench)
{
    return flags(workbench, options.changes, options.clear);
}

Verb verb()
{
    auto const options = std::make_shared<Options>();
    return {.name = "flags",
            .help = "Show or change the flag file",
            .arguments = {{.name = "FLAG[=VALUE]",
                           .target = &options->changes,
                           .help = "FLAG alone means true, FLAG= takes its line away",
                           .offer = offered},
                          {.name = "--clear", .target = &options->clear, .help = "Remove the file"}},
            .changesAs = "flag file",
            .action = onWorkbench(options)};
}

} // namespace Tool::Verbs::Flags

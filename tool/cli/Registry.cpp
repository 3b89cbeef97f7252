#include "cli/Registry.h"

#include "verbs/Arguments.h"
#include "verbs/Verbs.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <utility>

namespace Tool {

namespace {

constexpr char const* helpOption = "--help"; ///< the parser's own

std::filesystem::path defaultDataDirectory()
{
    if (auto const* const named = std::getenv("MEDIADATA_DIR"); named && *named)
        return named;
    if (auto const* const data = std::getenv("XDG_DATA_HOME"); data && *data)
        return std::filesystem::path(data) / "mediadata";
    auto const* const home = std::getenv("HOME");
    return std::filesystem::path(home ? home : ".") / ".local/share/mediadata";
}

/// In the order of the help.
std::vector<Verb> allVerbs()
{
    using namespace Verbs;
    auto verbs = fleetVerbs();
    auto const management = managementVerbs();
    verbs.insert(verbs.begin(), management.begin(), management.end());
    verbs.insert(verbs.begin(), {listVerb(), getVerb(), setVerb(), describeVerb(), explainVerb(), diffVerb(), exportVerb(),
                                 importVerb(), resetVerb(), historyVerb(), undoVerb(), catalogueVerb()});
    verbs.insert(verbs.end(), {tableVerb(), countryVerb(), mobilityVerb(), flagsVerb(), deviceVerb(), initVerb(),
                               shellVerb(), serveVerb(), watchVerb(), webVerb()});
    return verbs;
}

std::vector<Argument> generalArguments(General& general)
{
    general.dataDirectory = defaultDataDirectory().string();
    return {{.name = "--json", .target = &general.json, .help = "Answer with one JSON object"},
            {.name = "--show-secrets", .target = &general.showSecrets, .help = "Show passwords and PINs instead of stars"},
            {.name = "--full", .target = &general.full, .help = "Cut no value at a terminal; elsewhere none is cut"},
            {.name = "--version", .target = Print{"mediadata " MEDIADATA_VERSION}, .help = "Print the version and exit"},
            {.name = "--color",
             .target = &general.colour,
             .help = "auto (at a terminal, unless NO_COLOR is set), always or never",
             .value = "WHEN",
             .choices = {"auto", "always", "never"}},
            {.name = "--data-dir",
             .target = &general.dataDirectory,
             .help = "Data directory instead of " + general.dataDirectory,
             .value = "DIRECTORY",
             .offer = Offers::directories,
             .variable = "MEDIADATA_DIR"},
            {.name = "--log-level",
             .target = &general.logLevel,
             .help = "Log up to this level: 2 errors, 3 notices, 5 and 6 traces; of a process that holds the "
                     "data directory its own counts",
             .value = "LEVEL",
             .range = {{0, 6}},
             .offer = Offers::words({"0", "2", "3", "5", "6"}),
             .variable = "MEDIADATA_LOG"},
            {.name = "--verbose", .target = &general.verbose, .help = "Say, too, what is of use to developers alone"},
            {.name = "--timeout",
             .target = &general.timeout,
             .help = "Wait up to so many seconds for another process that has the data directory (default 10)",
             .value = "SECONDS",
             .range = {{1, 1000000}}}};
}

/// What a line of the shell may say, too.
constexpr std::size_t argumentsOfLines = 3;

} // namespace

Registry::Registry(Place place, General given)
    : general(std::move(given)), arguments(generalArguments(general)), verbs(allVerbs())
{
    if (place != Place::Shell)
        return;
    arguments.erase(arguments.begin() + argumentsOfLines, arguments.end());
    std::erase_if(verbs, [=](Verb const& verb) { return !verb.runsAt(place); });
}

Verb const* Registry::find(std::string const& name) const
{
    auto const found = std::find_if(verbs.begin(), verbs.end(), [&](Verb const& verb) { return verb.name == name; });
    return found == verbs.end() ? nullptr : &*found;
}

Words Registry::verbsBelow(std::string const& group) const
{
    Words names;
    auto const prefix = group.empty() ? "" : group + " ";
    for (auto const& verb : verbs) {
        auto const rest = verb.name.starts_with(prefix) ? verb.name.substr(prefix.size()) : "";
        if (!rest.empty() && rest.find(' ') == std::string::npos)
            names.push_back(rest);
    }
    return names;
}

std::vector<Argument const*> Registry::optionsBehind(Words const& words) const
{
    std::vector<Argument const*> options;
    auto const take = [&](std::vector<Argument> const& all) {
        for (auto const& argument : all) {
            if (argument.isOption())
                options.push_back(&argument);
        }
    };
    take(arguments);
    std::string group;
    for (auto const& word : words) {
        if (auto const* const verb = find(group + word)) {
            group = verb->name + ' ';
            take(verb->arguments);
        }
    }
    return options;
}

Words Registry::optionNames(Words const& words) const
{
    Words names{helpOption};
    std::ranges::transform(optionsBehind(words), std::back_inserter(names), &Argument::name);
    return names;
}

Argument const* Registry::findOption(std::string const& name, Words const& words) const
{
    auto const options = optionsBehind(words);
    auto const found = std::ranges::find(options.rbegin(), options.rend(), name, &Argument::name);
    return found == options.rend() ? nullptr : *found;
}

} // namespace Tool

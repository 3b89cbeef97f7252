// What a verb of the command line is: its name, what it takes, where it may run and what it does. Each verb's file describes
// it once; the parser, the help, the completion and the test of the manual know verbs by this description alone.
#pragma once

#include "report/Report.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace Tool {

class ChangeFeed;
class Console;
class Readiness;
class Server;
class Watcher;
class Workbench;
struct Invocation;

using Words = std::vector<std::string>;

/// Where a command runs: as a process of its own, as a line of the shell, or in the process that holds the data directory, for
/// the sender of a request.
enum class Place { Process, Shell, Holder };

/// What is given with any verb.
struct General {
    bool json = false;
    bool showSecrets = false;
    bool full = false; ///< no value is cut
    std::string colour = "auto";
    std::string dataDirectory = {};
    std::optional<int> logLevel = {};
    bool verbose = false;
    std::size_t timeout = 10; ///< seconds that it may wait for another process
};

/// In the place of a run.
struct Print {
    std::string text;
};

/// Where the parser puts what was given for an argument. A bool makes it a flag.
using Target =
    std::variant<bool*, std::string*, Words*, std::size_t*, std::optional<int>*, std::optional<std::string>*, Print>;

/// What may stand in the place of a word that is being typed, each with a tabulator and what it means where that is known; see
/// Arguments.h.
using Offer = std::function<Words(std::string const& word)>;

/// An option or, without hyphens, the name of what stands among the words.
struct Argument {
    std::string name;
    Target target;
    std::string help;
    std::string value = {};  ///< what the help calls an option's value
    std::string letter = {}; ///< "-q", another name of an option
    bool isRequired = false;
    Words choices = {};                            ///< nothing else is accepted
    std::optional<std::pair<int, int>> range = {}; ///< least and most
    Offer offer = {};                              ///< besides the choices
    std::string variable = {};                     ///< of the environment, where an option is taken from that is not given

    bool isOption() const { return name.starts_with('-'); }
    bool takesValue() const;
};

/// What a process has that holds the data directory and serves others.
struct Holding {
    Invocation& invocation;
    Server& server;
    int end; ///< a descriptor: the process is to end when it can be read
    Readiness& readiness;
};

/// What a verb that goes on until it is ended tells when it is ready; see cli/Readiness.h.
struct Lasting {
    std::string doing;                  ///< the verb of the sentence for people
    std::optional<int> descriptor = {}; ///< where a script waits for it
};

/// The ways in which a verb can do its work.
struct Group {};                                         ///< it only has verbs below it
using Alone = std::function<Report(Console&)>;           ///< without a telephone of its own
using OnWorkbench = std::function<Report(Workbench&)>;   ///< on a telephone, whoever holds it
using WhileHolding = std::function<int(Holding const&)>; ///< until it is ended, in the process that holds it
using Following =
    std::function<std::shared_ptr<Watcher>(ChangeFeed& feed)>; ///< hands changes on, whoever holds the telephone

struct Verb {
    std::string name; ///< of a verb below another: both, with a blank between them
    std::string help;
    std::vector<Argument> arguments = {};
    std::vector<Place> places = {Place::Process, Place::Shell, Place::Holder};
    std::string changesAs = {}; ///< as whom the journal tells its changes; empty: it changes nothing

    std::variant<Group, Alone, OnWorkbench, WhileHolding, Following> action = {};

    /// Gets what it needs beside its words, before it runs: files, other directories, passphrases. A report that is not good
    /// takes the place of its answer. When the console lacks something it is called anew later, with new options.
    std::function<Report(Console&)> gather = {};

    std::function<bool()> onlyReads = {}; ///< of a verb that changes things: not with these options
    General* general = nullptr;           ///< where it wants to be told what was given beside its own options
    Lasting const* lasting = nullptr;     ///< it tells that it is ready
    std::function<int(Invocation&, int end)> whileHeld = {}; ///< instead of WhileHolding, while another process serves
    std::string program = {};     ///< the name of another program that does it, with the same words
    bool* yes = nullptr;          ///< set for a second run, when somebody says yes to what its report asks
    bool const* dryRun = nullptr; ///< whether nothing is to be written: not even a missing data directory is made then

    bool runsAt(Place place) const;
};

/// The actions of a verb whose file has `run` and `gather` for its options.
template <class Options> OnWorkbench onWorkbench(std::shared_ptr<Options> const& options)
{
    return [options](Workbench& workbench) { return run(*options, workbench); };
}

template <class Options> std::function<Report(Console&)> gathering(std::shared_ptr<Options> const& options)
{
    return [options](Console& console) { return gather(*options, console); };
}

} // namespace Tool

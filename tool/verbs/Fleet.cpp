// Many telephones at once, each by a process of its own: `fleet diff` and `fleet import`.
#include "verbs/Verbs.h"

#include "fleet/Children.h"
#include "holder/EndSignals.h"
#include "report/Console.h"
#include "report/ProgressLine.h"
#include "report/Result.h"
#include "verbs/Arguments.h"
#include "verbs/Passphrase.h"
#include "workbench/Document.h"

#include "Files.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <sstream>
#include <string_view>
#include <thread>
#include <utility>

#include <sys/mman.h>
#include <unistd.h>

namespace Tool::Verbs {

namespace {

struct FleetOptions {
    Words directories;
    std::string list;         ///< the file with more of them
    std::string templateFile; ///< empty: the defaults
    PassphraseOptions passphrase;
    std::size_t jobs = 2 * std::max<std::size_t>(1, std::thread::hardware_concurrency()); ///< each waits for the disk, too
    bool dryRun = false;
    bool atomic = false;
    bool yes = false;
    General general;

    // Of gather():
    FileContent content;     ///< of the template
    FileContent listContent; ///< of the list
};

/// What became of one telephone.
struct Telephone {
    std::string directory;
    std::string result = "not begun";
    std::size_t done = 0; ///< settings that were stored, or differ
    std::vector<Problem> left = {};
    ExitCode code = exitStorage;
};

Report gather(FleetOptions& options, Console& console)
{
    if (!options.list.empty())
        options.listContent = console.read(options.list);
    if (!options.templateFile.empty())
        options.content = console.read(options.templateFile);
    gatherFor(options.content, options.passphrase, console);
    return {};
}

/// The directories in the order in which they were given; the report has those that are named twice.
Report findTelephones(FleetOptions const& options, std::vector<Telephone>& telephones)
{
    if (!options.list.empty() && !options.listContent.text)
        return failure(exitUsage, options.list, options.listContent.reason);
    auto names = options.directories;
    std::istringstream lines(options.listContent.text.value_or(""));
    for (std::string line; std::getline(lines, line);) {
        line.erase(line.find_last_not_of(" \t\r") + 1);
        line.erase(0, line.find_first_not_of(" \t"));
        if (!line.empty() && !line.starts_with('#'))
            names.push_back(line);
    }
    Report report;
    std::set<std::filesystem::path> seen;
    for (auto const& name : names) {
        std::error_code ignored;
        if (!seen.insert(std::filesystem::weakly_canonical(name + "/", ignored)).second)
            report.fail(exitUsage, {name, "given twice"});
        telephones.push_back({name});
    }
    if (telephones.empty())
        report.fail(exitUsage, {"", "no telephone: give directories, or --from-file with a line for each"});
    return report;
}

enum class Pass { Compare, Import, Check };

/// An import that stored all is looked at again: the check says whether the telephone is as the document says.
void readImport(Json const& answer, Telephone& telephone)
{
    telephone.result = "done";
    auto const errors = answer.value("errors", Json::array()); // Why the whole was held back.
    for (auto const& each : answer["items"]) {
        auto const result = each.value("result", "");
        if (result == wordOf(Result::Stored) || result == wordOf(Result::WouldStore)) {
            ++telephone.done;
        } else if (result != wordOf(Result::Unchanged)) {
            auto reason = each.value("reason", Json());
            if (result == wordOf(Result::HeldBack) && reason.is_null() && !errors.empty())
                reason = errors.front().value("reason", Json());
            telephone.left.push_back({each.value("item", ""), reason.is_string() ? reason.get<std::string>() : result});
        }
    }
}

void readDifferences(Json const& answer, bool isCheck, Telephone& telephone)
{
    auto const& differences = answer["differences"];
    if (!isCheck) {
        telephone.done = differences.size();
        telephone.result = differences.empty() ? "equal" : "differs";
        return;
    }
    for (auto const& each : differences)
        telephone.left.push_back({each.value("item", ""), "a rule made it " + each.value("here", Json()).dump()});
    if (!telephone.left.empty())
        telephone.code = std::max(telephone.code, exitRefused);
}

void read(ChildEnd const& end, Pass pass, Telephone& telephone)
{
    auto const answer = Json::parse(end.out, nullptr, false);
    telephone.code = end.status < 0 ? exitStorage : static_cast<ExitCode>(end.status);
    telephone.result = "failed";
    if (!answer.is_object()) {
        auto const text = end.err.substr(0, end.err.find_last_not_of('\n') + 1);
        telephone.left.push_back({"", text.empty() ? "its process was ended" : text.substr(text.rfind('\n') + 1)});
    } else if (pass == Pass::Import && answer.contains("items")) {
        readImport(answer, telephone);
    } else if (pass != Pass::Import && answer.contains("differences")) {
        telephone.result = "done";
        readDifferences(answer, pass == Pass::Check, telephone);
    } else {
        for (auto const& each : answer.value("errors", Json::array())) {
            auto const item = each.value("item", Json());
            telephone.left.push_back({item.is_string() ? item.get<std::string>() : "", each.value("reason", "")});
        }
    }
    if (telephone.result == "done" && !telephone.left.empty())
        telephone.result = "not all";
}

Words wordsFor(FleetOptions const& options, Pass pass, std::string const& directory)
{
    bool const isImport = pass == Pass::Import;
    Words words{"--data-dir", directory,
                "--timeout",  std::to_string(options.general.timeout),
                "--json",     isImport ? "import" : "diff"};
    if (!options.templateFile.empty())
        words.push_back(options.templateFile);
    for (auto const& [isGiven, option] :
         {std::pair(options.passphrase.isWanted(), "--secrets"), std::pair(isImport && options.dryRun, "--dry-run"),
          std::pair(isImport && options.atomic, "--atomic"), std::pair(isImport && options.yes, "--yes")}) {
        if (isGiven)
            words.emplace_back(option);
    }
    return words;
}

/// Runs the commands for each: what has stored something is compared at once. What an order to end kept from its turn stays as
/// it was.
void visit(FleetOptions const& options, bool isImport, Console& console, std::vector<Telephone>& telephones)
{
    EndSignals const signals;
    ProgressLine progress(console);
    if (auto const passphrase = passphraseOf(options.passphrase))
        ::setenv("MEDIADATA_PASSPHRASE", passphrase->c_str(), 1);
    std::vector<Pass> passes(telephones.size(), isImport ? Pass::Import : Pass::Compare);
    Children children{telephones.size(), options.jobs, signals.descriptor(),
                      [&](std::size_t index) { return wordsFor(options, passes[index], telephones[index].directory); }};
    Host::FileDescriptor document;
    if (options.templateFile == "-") {
        document = Host::FileDescriptor(::memfd_create("template", MFD_CLOEXEC));
        if (document && Host::writeAll(document.get(), *options.content.text))
            children.input = "/proc/self/fd/" + std::to_string(document.get());
    }
    std::size_t ended = 0;
    std::size_t bad = 0;
    children.ended = [&](std::size_t index, ChildEnd const& end) {
        auto& telephone = telephones[index];
        read(end, passes[index], telephone);
        if (passes[index] == Pass::Import && !options.dryRun && telephone.result == "done" && telephone.done != 0) {
            passes[index] = Pass::Check;
            return true;
        }
        bad += telephone.code != exitOk ? 1 : 0;
        progress.tell("", ++ended, telephones.size(), bad == 0 ? "" : fmt::format(", {} not done", bad));
        return false;
    };
    runChildren(children);
}

Report run(FleetOptions const& options, bool isImport, Console& console)
{
    std::vector<Telephone> telephones;
    auto report = findTelephones(options, telephones);
    if (isImport && options.templateFile.empty())
        report.fail(exitUsage, {"", "no template: --template names an exported document"});
    if (report.code == exitOk && !options.templateFile.empty()) {
        Document document; // What is wrong with it is told once, and not by each.
        report = readDocument(options.templateFile, options.content, options.passphrase, document);
    }
    if (report.code != exitOk)
        return report;
    visit(options, isImport, console, telephones);

    auto const* const count = isImport ? (options.dryRun ? "would store" : "stored") : "differences";
    Section account{"telephones", Layout::Table, {"directory", "result", count, "left", "reason"}, {}};
    Section left{"left", Layout::Table, {"directory", "item", "reason"}, {}, "\nNot done:", 1};
    std::map<std::string, std::size_t> results;
    for (auto const& each : telephones) {
        account.rows.push_back({each.directory, each.result, each.done, each.left.size(),
                                each.left.empty() ? Json() : Json(each.left.front().reason)});
        for (auto const& problem : each.left)
            left.rows.push_back({each.directory, problem.item.empty() ? Json() : Json(problem.item), problem.reason});
        ++results[each.result];
        report.raise(each.code);
    }
    report.sections = {std::move(account)};
    if (!left.rows.empty())
        report.sections.push_back(std::move(left));
    for (auto const& [result, number] : results)
        report.notes.push_back(fmt::format("{}: {}", result, number));
    return report;
}

Verb fleetOf(bool isImport)
{
    auto const options = std::make_shared<FleetOptions>();
    std::vector<Argument> arguments{
        {.name = "DIRECTORY", .target = &options->directories, .help = "Data directories", .offer = Offers::directories},
        {.name = "--from-file",
         .target = &options->list,
         .help = "Further directories, a line each, - for standard input",
         .value = "LIST",
         .offer = Offers::files},
        {.name = "--template",
         .target = &options->templateFile,
         .help = isImport ? "The exported document that each takes over, - for standard input"
                          : "Compare with an exported document instead of the defaults",
         .value = "FILE",
         .offer = Offers::files},
        {.name = "--jobs",
         .target = &options->jobs,
         .help = "So many at a time; otherwise two for each processor",
         .value = "NUMBER",
         .range = {{1, 256}}}};
    if (isImport) {
        arguments.push_back(Arguments::dryRun(&options->dryRun, "Check the template and write nothing"));
        arguments.push_back(
            Arguments::atomic(&options->atomic, "Store nothing in a telephone that refuses an item or does not know it"));
        arguments.push_back(Arguments::yes(&options->yes));
    }
    return {.name = isImport ? "fleet import" : "fleet diff",
            .help = isImport ? "Take over one document in many telephones; once more does what is left"
                             : "Show how far many telephones are from a document or the defaults",
            .arguments = withPassphrase(std::move(arguments), options->passphrase, "Open the template's encrypted secrets"),
            .places = {Place::Process},
            .action = Alone([options, isImport](Console& console) { return run(*options, isImport, console); }),
            .gather = gathering(options),
            .general = &options->general};
}

} // namespace

std::vector<Verb> fleetVerbs()
{
    return {{.name = "fleet", .help = "Do the same to many telephones", .places = {Place::Process}},
            fleetOf(false),
            fleetOf(true)};
}

} // namespace Tool::Verbs

#include "verbs/Passphrase.h"

#include "report/Console.h"
#include "verbs/Arguments.h"
#include "workbench/Document.h"

#include <algorithm>
#include <utility>

namespace Tool {

namespace {

constexpr char const* prompt = "Passphrase";

std::string firstLine(std::string text)
{
    text.erase(std::min(text.find('\n'), text.size()));
    if (text.ends_with('\r'))
        text.pop_back();
    return text;
}

bool isSealed(std::string const& text)
{
    Document document;
    return parseDocument(text, "", document).code == exitOk && document.secrets;
}

} // namespace

std::vector<Argument> withPassphrase(std::vector<Argument> arguments, PassphraseOptions& options, std::string const& help)
{
    arguments.push_back({.name = "--secrets", .target = &options.secrets, .help = help});
    arguments.push_back({.name = "--passphrase-file",
                         .target = &options.file,
                         .help = "Read the passphrase from a file's first line, - for standard input; otherwise it is "
                                 "MEDIADATA_PASSPHRASE, or asked for",
                         .value = "FILE",
                         .offer = Offers::files});
    return arguments;
}

void gatherForNew(PassphraseOptions& options, Console& console, bool isNeeded)
{
    if (!options.file.empty()) {
        options.content = console.read(options.file);
    } else if (options.secrets && (isNeeded || console.gathersAhead)) {
        options.typed = console.passphrase(prompt);
        options.again = console.passphrase(prompt);
    }
}

void gatherFor(FileContent const& document, PassphraseOptions& options, Console& console)
{
    if (!document.text && !console.gathersAhead)
        return;
    if (!options.file.empty())
        options.content = console.read(options.file);
    else if (options.secrets && (console.gathersAhead || isSealed(*document.text)))
        options.typed = console.passphrase(prompt);
}

Report check(PassphraseOptions const& options, std::string const& document)
{
    if (!options.file.empty() && !options.content.text)
        return failure(exitUsage, options.file, options.content.reason);
    if (options.file == "-" && document == "-")
        return failure(exitUsage, options.file, "holds the document; give the passphrase in a file");
    return {};
}

std::optional<std::string> passphraseOf(PassphraseOptions const& options)
{
    auto const words = options.file.empty() ? options.typed : firstLine(options.content.text.value_or(""));
    return words && !words->empty() ? words : std::nullopt;
}

Report noPassphrase()
{
    return failure(exitUsage, "", "no passphrase: give --passphrase-file, MEDIADATA_PASSPHRASE, or a terminal");
}

Report readDocument(std::string const& file, FileContent const& content, PassphraseOptions const& options,
                    Document& document)
{
    if (!content.text)
        return failure(exitUsage, file, content.reason);
    auto report = check(options, file);
    if (report.code == exitOk)
        report = parseDocument(*content.text, file == "-" ? "standard input" : file, document);
    if (report.code != exitOk || !document.secrets)
        return report;
    if (!options.isWanted()) {
        report.notes.emplace_back("The document's encrypted secrets are left out; --secrets opens them.");
        return report;
    }
    auto const passphrase = passphraseOf(options);
    return passphrase ? unseal(document, *passphrase) : noPassphrase();
}

} // namespace Tool

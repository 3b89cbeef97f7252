// The passphrase of sealed secrets: what --secrets and --passphrase-file mean to export, import and diff.
#pragma once

#include "report/Console.h"
#include "verbs/Verb.h"

#include <optional>
#include <string>
#include <vector>

namespace Tool {

struct Document;

struct PassphraseOptions {
    bool secrets = false;  ///< secrets are wanted; the passphrase is typed when there is no file
    std::string file = {}; ///< its first line is the passphrase

    // Of gather():
    FileContent content = {}; ///< of the file
    std::optional<std::string> typed = {};
    std::optional<std::string> again = {}; ///< what was typed when asked twice

    bool isWanted() const { return secrets || !file.empty(); }
    bool isMistyped() const { return typed && !typed->empty() && typed != again; }
};

/// Adds the two options; `help` says what --secrets is good for.
std::vector<Argument> withPassphrase(std::vector<Argument> arguments, PassphraseOptions& options, std::string const& help);

/// Reads the file, or has the passphrase typed: for a new box.
void gatherForNew(PassphraseOptions& options, Console& console, bool isNeeded);

/// The same for the document that has the box, if it has one.
void gatherFor(FileContent const& document, PassphraseOptions& options, Console& console);

/// Why there is no passphrase although a file was named; `document` is the file that the secrets come from.
Report check(PassphraseOptions const& options, std::string const& document);

/// What was gathered; nothing when none could be had.
std::optional<std::string> passphraseOf(PassphraseOptions const& options);

Report noPassphrase();

/// Reads the document of a file that was gathered, and opens its sealed secrets if they are wanted; else leaves them out and says
/// so. The report says what is wrong, and the document is then not to be used.
Report readDocument(std::string const& file, FileContent const& content, PassphraseOptions const& options,
                    Document& document);

} // namespace Tool

// The passphrase of sealed secrets: what --secrets and --passphrase-file mean to export, import and diff.
#pragma once

#include "verbs/Verb.h"

#include <optional>
#include <string>
#include <vector>

namespace Tool {

struct PassphraseOptions {
    bool secrets = false; ///< secrets are wanted; the passphrase is typed when there is no file
    std::string file;     ///< its first line is the passphrase

    // Of gather():
    std::optional<std::string> content; ///< of the file
    std::optional<std::string> typed;
    std::optional<std::string> again; ///< what was typed when asked twice

    bool isWanted() const { return secrets || !file.empty(); }
    bool isMistyped() const { return typed && !typed->empty() && typed != again; }
};

/// Adds the two options; `help` says what --secrets is good for.
std::vector<Argument> withPassphrase(std::vector<Argument> arguments, PassphraseOptions& options, std::string const& help);

/// Reads the file, or has the passphrase typed: for a new box.
void gatherForNew(PassphraseOptions& options, Console& console, bool isNeeded);

/// The same for the document that has the box, if it has one.
void gatherFor(std::optional<std::string> const& document, PassphraseOptions& options, Console& console);

/// Why there is no passphrase although a file was named; `document` is the file that the secrets come from.
Report check(PassphraseOptions const& options, std::string const& document);

/// What was gathered and is good; nothing to ask when no secrets are wanted.
std::function<std::optional<std::string>()> passphraseOf(PassphraseOptions const& options);

} // namespace Tool

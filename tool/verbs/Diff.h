// What differs from another telephone, a file or the defaults, and the commands that make this one anew: `diff`.
#pragma once

#include "verbs/Passphrase.h"
#include "verbs/Verb.h"
#include "workbench/OtherTelephone.h"

#include <filesystem>
#include <optional>
#include <string>

namespace Tool::Verbs::Diff {

struct Options {
    std::string other; ///< a document's file or a data directory; empty: the defaults
    bool commands = false;
    PassphraseOptions passphrase;
    General general;

    // Of gather():
    std::filesystem::path path;              ///< of the other
    std::optional<std::string> content;      ///< of its file
    std::optional<OtherTelephone> telephone; ///< in its directory
};

Report gather(Options& options, Console& console);

/// The differences, or the fewest commands that make this telephone out of one on which nothing was changed: in JSON as rows,
/// otherwise as a text for the shell.
Report run(Options const& options, Workbench& workbench);

Verb verb();

} // namespace Tool::Verbs::Diff

// An exported document is taken over: `import`.
#pragma once

#include "verbs/Passphrase.h"
#include "verbs/Verb.h"

#include <optional>
#include <string>

namespace Tool::Verbs::Import {

struct Options {
    std::string file;
    std::optional<std::string> content; ///< of the file, by gather()
    PassphraseOptions passphrase;
    bool dryRun = false;
    bool atomic = false;
    General general;
};

Report gather(Options& options, Console& console);

/// Each item of the document is accounted for; in text what is unchanged is only counted.
Report run(Options const& options, Workbench& workbench);

Verb verb();

} // namespace Tool::Verbs::Import

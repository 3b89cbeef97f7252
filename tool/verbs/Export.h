// The configuration as one document: `export`.
#pragma once

#include "verbs/Passphrase.h"
#include "verbs/Verb.h"

namespace Tool::Verbs::Export {

struct Options {
    PassphraseOptions passphrase;
    General general;
};

Report gather(Options& options, Console& console);

/// The report's text is the document.
Report run(Options const& options, Workbench& workbench);

Verb verb();

} // namespace Tool::Verbs::Export

// All verbs, each described and done in a file of its own.
//
// To add one: a file here with its options and what it does, a line below, and one in cli/Registry.cpp; docs/add-a-verb.md shows it.
#pragma once

#include "verbs/Verb.h"

namespace Tool::Verbs {

Verb catalogueVerb();
Verb countryVerb();
Verb describeVerb();
Verb deviceVerb();
Verb diffVerb();
Verb explainVerb();
Verb exportVerb();
Verb flagsVerb();
std::vector<Verb> fleetVerbs(); ///< `fleet` and the verbs below it
Verb getVerb();
Verb historyVerb();
Verb importVerb();
Verb initVerb();
Verb listVerb();
std::vector<Verb> managementVerbs(); ///< `mgmt` and the verbs below it
Verb mobilityVerb();
Verb resetVerb();
Verb serveVerb();
Verb setVerb();
Verb shellVerb();
Verb tableVerb();
Verb undoVerb();
Verb watchVerb();
Verb webVerb();

/// The hidden verb for the completion of command shells: `complete -- WORDS...`, of which the last is the one that is typed, or
/// `complete --line LINE`, cut as the shell cuts it. It takes its words as they are, before anything else looks at them, and
/// answers a line for each that may stand there. Needs no data directory.
Report complete(Words words);

} // namespace Tool::Verbs

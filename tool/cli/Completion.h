// What may be typed next, out of the registry.
#pragma once

#include "verbs/Verb.h"

#include <string>

namespace Tool {

/// What may stand in place of `word` behind the words of a line: a verb, an option, or what an argument offers. The one answer
/// ":file" or ":directory" means that such a name is wanted.
/// With descriptions a tabulator and what it means follow each that has a meaning.
enum class Descriptions { None, Shown };
Words completions(Words const& words, std::string const& word, Place place, Descriptions descriptions = Descriptions::None);

} // namespace Tool

// Words become a verb with its options.
#pragma once

#include "cli/Registry.h"

#include <string>

namespace Tool {

struct Parsed {
    Verb const* verb = nullptr; ///< of the registry, its options filled in
    std::string text = {};      ///< without a verb: the help or the version that was asked for
    bool isVersion = false;
    Report problem = {}; ///< without either: what is wrong with the words
};

Parsed parse(Words words, Registry const& registry);

} // namespace Tool

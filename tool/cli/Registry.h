// All verbs and the options that each of them takes: the one definition for parser, help, completion and manual. A registry is
// for one command line, since its options are what the parser fills in.
#pragma once

#include "verbs/Verb.h"

#include <string>
#include <vector>

namespace Tool {

class Registry {
public:
    /// The verbs that are known at a place; `given` is what holds unless the command says otherwise.
    explicit Registry(Place place, General given = {});
    ~Registry() = default;
    Registry(Registry const&) = delete;
    Registry& operator=(Registry const&) = delete;

    /// Null when there is no such verb.
    Verb const* find(std::string const& name) const;

    /// The last words of the names of the verbs below a group; without a group the first words of all names.
    Words verbsBelow(std::string const& group = {}) const;

    /// The names of the options that may stand behind these words, some of which are verbs.
    Words optionNames(Words const& words) const;

    /// The option of that name which may stand behind these words, a verb's own before one for all verbs. Null when there is none.
    Argument const* findOption(std::string const& name, Words const& words) const;

    General general;
    std::vector<Argument> arguments; ///< for all verbs
    std::vector<Verb> verbs;

private:
    std::vector<Argument const*> optionsBehind(Words const& words) const;
};

} // namespace Tool

// What programs can ask under /api/v1: each request becomes the words of a verb, by a table. docs/api.json describes it for them.
#pragma once

#include "web/Http.h"
#include "web/Target.h"

#include "verbs/Verb.h"

#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace Tool::Web {

inline constexpr std::string_view apiPrefix = "/api/v1/";

/// One command, as Commands runs it.
struct Command {
    Words words;
    std::string document = {};   ///< its file "-"
    std::string passphrase = {}; ///< empty: none can be had
    int refused = 422;           ///< the status when the verb refuses
    bool changes = false;        ///< more than a dry run does
};

/// The command that a request stands for, or what is wrong with it.
std::variant<Command, Answer> commandFor(Request const& request, Target const& target);

/// Every route as "METHOD /path", for tests: docs/api.json has the same.
std::vector<std::string> routeNames();

} // namespace Tool::Web

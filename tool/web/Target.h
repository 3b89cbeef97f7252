// The path and the query of a request, taken apart.
#pragma once

#include "web/Http.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Tool::Web {

struct Target {
    std::string path;                  ///< as it came
    std::vector<std::string> segments; ///< between its slashes, without escapes
    Fields query;

    /// The first of that name, or nothing.
    std::optional<std::string> find(std::string_view name) const;
};

/// Without escapes of the form %41; `blank` stands for a blank, too. False for an escape that is none, and for a character 0.
bool unescape(std::string_view text, std::string& plain, char blank = '\0');

/// Nothing for what is no path with a query: another form, an escape that is none, a character 0.
std::optional<Target> parseTarget(std::string_view text);

} // namespace Tool::Web

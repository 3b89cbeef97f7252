// A line as a command shell cuts it into words.
#pragma once

#include <string>
#include <vector>

namespace Tool {

/// Blanks separate, quotes ('...' or "...") and a backslash keep them. False when a quote stays open.
bool splitWords(std::string const& line, std::vector<std::string>& words);

} // namespace Tool

// What people type: a few lines for each verb, which its help shows and a test runs.
#pragma once

#include <span>
#include <string_view>

namespace Tool {

/// Each is a line for the command shell, in a directory with an exported document template.json and data directories below phones/.
/// None for a group of verbs.
std::span<std::string_view const> examplesOf(std::string_view verb);

} // namespace Tool

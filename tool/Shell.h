// All verbs in one running process, with line editing, history, completion and change notifications: `shell`.
#pragma once

#include "CommandLine.h"

#include <string>
#include <vector>

namespace Tool {

/// Reads commands until "exit" or the end of the input; a terminal gets line editing, anything else is read as it comes.
/// Answers the gravest exit status of the commands.
int runShell(Workbench& workbench);

/// Cuts a line into words: blanks separate, quotes ('...' or "...") and a backslash keep them. False when one stays open.
bool splitWords(std::string const& line, std::vector<std::string>& words);

/// What may stand in place of `word`, the last of `words` of a line: a verb, an item's name, or a legal value after "=".
std::vector<std::string> completions(std::vector<std::string> const& words, std::string const& word);

} // namespace Tool

// All verbs in one running process, with line editing, history, completion and change notifications: `shell`.
#pragma once

#include "cli/CommandLine.h"

#include <iosfwd>
#include <string>
#include <vector>

namespace Tool {

class Server;

/// Reads commands until "exit", the end of the input, or `end` is readable; a terminal gets line editing, anything else is
/// read as it comes. Answers the gravest exit status of the commands.
int runShell(Invocation& invocation, Server& server, int end);

/// Cuts a line into words: blanks separate, quotes ('...' or "...") and a backslash keep them. False when one stays open.
bool splitWords(std::string const& line, std::vector<std::string>& words);

/// What may stand in place of `word` behind the words of a line: a verb, an option, an item's name, or a legal value after
/// "=". The one answer ":file" or ":directory" means that such a name is wanted.
std::vector<std::string> completions(std::vector<std::string> const& words, std::string const& word, bool inShell);

/// The hidden verb for the completion of command shells: `complete -- WORDS...`, of which the last is the one that is typed,
/// or `complete --line LINE`, cut as the shell cuts it. A line for each answer. Needs no data directory.
int complete(std::vector<std::string> words, std::ostream& out);

} // namespace Tool

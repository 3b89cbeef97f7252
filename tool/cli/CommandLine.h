// The verbs and options of the command line; the same words serve a process of their own and a line of the shell.
#pragma once

#include "report/Console.h"
#include "workbench/Workbench.h"

#include <memory>
#include <string>
#include <vector>

namespace Tool {

class ChangeFeed;
class Watch;

/// What the verbs of one process share. The library is started by the first verb that needs it.
struct Invocation {
    Console* console = &standardConsole();
    Options options;
    std::shared_ptr<Workbench> workbench;
    bool inShell = false;
    bool isRemote = false;        ///< the command came through the socket
    ChangeFeed* feed = nullptr;   ///< the holder's changes, while it serves
    std::shared_ptr<Watch> watch; ///< out of `watch` that came through the socket: what its sender is to be told
};

/// The verbs of a command line, or of a line of the shell.
std::vector<std::string> verbNames(bool inShell);

struct OptionName {
    std::string name; ///< with its hyphens
    bool takesValue;
};

/// The options that may stand behind these verbs (mgmt, get).
std::vector<OptionName> optionNames(std::vector<std::string> const& verbs, bool inShell);

/// Runs one command, words without the program's name, and answers the exit status.
int runCommand(Invocation& invocation, std::vector<std::string> words);

} // namespace Tool

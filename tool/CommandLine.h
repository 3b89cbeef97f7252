// The verbs and options of the command line; the same words serve a process of their own and a line of the shell.
#pragma once

#include "Console.h"
#include "Session.h"

#include <memory>
#include <string>
#include <vector>

namespace Tool {

/// What the verbs of one process share. The library is started by the first verb that needs it.
struct Workbench {
    Console* console = &standardConsole();
    Options options;
    std::unique_ptr<Session> session;
    bool inShell = false;
};

/// The verbs of a line of the shell.
std::vector<std::string> verbNames();

/// Runs one command, words without the program's name, and answers the exit status.
int runCommand(Workbench& workbench, std::vector<std::string> words);

} // namespace Tool

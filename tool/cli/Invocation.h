// What surrounds the commands of one process, or a command that came through the socket.
#pragma once

#include "report/Console.h"
#include "verbs/Verb.h"
#include "workbench/Workbench.h"

#include <functional>
#include <memory>

namespace Tool {

struct WebOptions;

struct Invocation {
    Console* console = &standardConsole();
    Options options;
    std::shared_ptr<Workbench> workbench; ///< opened by the first command that needs it
    Place place = Place::Process;
    std::string user = {};            ///< of a command of Place::Holder: its sender's
    std::string process = {};         ///< likewise
    std::string door = {};            ///< through which it came, where that is not the command line
    ChangeFeed* feed = nullptr;       ///< the holder's changes, while it serves
    std::shared_ptr<Watcher> watcher; ///< out of a command of Place::Holder: what its sender is to be told of

    /// What `web` does in the program that has what it needs for that.
    std::function<int(WebOptions const&, Holding const&)> page = {};
};

} // namespace Tool

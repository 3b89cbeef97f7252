// The words of a request at the socket: the process that holds the telephone runs them as its sender would have.
#pragma once

#include "holder/Server.h"
#include "verbs/Verb.h"

namespace Tool {

struct Invocation;

/// Who gives a command to the process that holds the telephone.
struct Sender {
    std::string user;
    std::string process;
    std::string door = {}; ///< empty: that of a command
};

/// Runs a command with its sender's console and answers the exit status. What it follows, if it does, is left in `watcher`.
int runFor(Invocation const& holder, Sender const& sender, Console& console, Words const& words,
           std::shared_ptr<Watcher>& watcher);

/// Runs one request on the holder's workbench.
Reply answer(Invocation const& holder, Message const& message, Peer const& sender);

} // namespace Tool

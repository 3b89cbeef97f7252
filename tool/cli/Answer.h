// The words of a request at the socket: the process that holds the telephone runs them as its sender would have.
#pragma once

#include "holder/Server.h"

namespace Tool {

struct Invocation;

/// Runs one request on the holder's workbench. `progress` gets what is to be sent at once.
Reply answer(Invocation const& holder, Message const& message, Server::Tell const& progress = {});

} // namespace Tool

// The words of a request at the socket: the process that holds the telephone runs them as its sender would have.
#pragma once

#include "holder/Server.h"

namespace Tool {

struct Invocation;

/// Runs one request on the holder's workbench.
Reply answer(Invocation const& holder, Message const& message, Peer const& sender);

} // namespace Tool

// A process that only holds the data directory for others: `serve`.
#include "verbs/Verbs.h"

#include "cli/Invocation.h"

#include "HostPlatform.h"

#include <ostream>

#include <poll.h>
#include <unistd.h>

namespace Tool::Verbs {

namespace {

/// Says that it serves, and waits for the end.
int holdForOthers(Holding const& holding)
{
    auto& out = holding.invocation.console->out;
    auto const& directory = holding.invocation.workbench->platform().directory();
    if (holding.invocation.options.json)
        out << Json{{"serving", directory}, {"process", ::getpid()}}.dump() << std::endl;
    else
        out << "serving " << directory << " as process " << ::getpid() << std::endl;
    pollfd ended{holding.end, POLLIN, 0};
    while (::poll(&ended, 1, -1) <= 0) {
    }
    return exitOk;
}

} // namespace

Verb serveVerb()
{
    return {.name = "serve",
            .help = "Hold the data directory for others until SIGTERM",
            .places = {Place::Process},
            .action = WhileHolding(holdForOthers)};
}

} // namespace Tool::Verbs

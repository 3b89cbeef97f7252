#include "verbs/Serve.h"

#include "cli/Invocation.h"

#include "HostPlatform.h"

#include <ostream>

#include <poll.h>
#include <unistd.h>

namespace Tool::Verbs::Serve {

int hold(Holding const& holding)
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

Verb verb()
{
    return {.name = "serve",
            .help = "Hold the data directory for others until SIGTERM",
            .places = {Place::Process},
            .action = WhileHolding(hold)};
}

} // namespace Tool::Verbs::Serve

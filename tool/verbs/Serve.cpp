// A process that only holds the data directory for others: `serve`.
#include "verbs/Verbs.h"

#include "cli/Invocation.h"
#include "cli/Readiness.h"
#include "verbs/Arguments.h"

#include "HostPlatform.h"

#include <memory>
#include <ostream>

#include <poll.h>
#include <unistd.h>

namespace Tool::Verbs {

namespace {

/// Waits for the end.
int holdForOthers(Holding const& holding)
{
    auto const& directory = holding.invocation.workbench->platform().directory();
    if (holding.invocation.options.json)
        holding.invocation.console->out << Json{{"serving", directory}, {"process", ::getpid()}}.dump() << std::endl;
    holding.readiness.tell();
    pollfd ended{holding.end, POLLIN, 0};
    while (::poll(&ended, 1, -1) <= 0) {
    }
    return exitOk;
}

} // namespace

Verb serveVerb()
{
    auto const lasting = std::make_shared<Lasting>(Lasting{"serving"});
    return {.name = "serve",
            .help = "Hold the data directory for others until SIGTERM",
            .arguments = {Arguments::readyDescriptor(*lasting)},
            .places = {Place::Process},
            .action = WhileHolding([lasting](Holding const& holding) { return holdForOthers(holding); }),
            .lasting = lasting.get()};
}

} // namespace Tool::Verbs

// Who holds the data directory: this process, or another one that runs the command for it.
#include "cli/Command.h"
#include "holder/Remote.h"
#include "verbs/Shell.h"
#include "workbench/Items.h"

#include "HostPlatform.h"

#include <chrono>
#include <csignal>
#include <ostream>
#include <system_error>
#include <thread>
#include <utility>

#include <poll.h>
#include <unistd.h>

namespace Tool {

namespace {

using namespace std::chrono_literals;

constexpr auto patience = 3s;
constexpr auto silence = 1s;
constexpr auto pause = 20ms;

} // namespace

void Command::reach()
{
    auto const& console = *m_invocation.console;
    auto& options = m_invocation.options;
    options.dryRun = m_dryRun;
    Request request{m_words, {}, console.colourOut, console.colourErr, console.showsProgress, console.outIsTerminal};
    std::error_code ignored;
    request.directory = std::filesystem::current_path(ignored).string();
    bool told = false;
    for (auto const begin = std::chrono::steady_clock::now();;) {
        std::string reason;
        if (auto holder = Remote::find(options.dataDirectory)) {
            if (m_holds)
                throw OpenFailure{"data directory " + options.dataDirectory.string() + ": in use by process " +
                                  std::to_string(holder->process()) + ", which serves it"};
            if (auto const status = holder->run(request, *m_invocation.console, m_process != nullptr, reason))
                throw Answered{*status};
            if (!reason.empty())
                throw OpenFailure{reason};
        }
        bool inUse = false;
        m_invocation.workbench = Workbench::open(options, reason, inUse);
        if (m_invocation.workbench)
            return;
        // A short command is soon over, and a process that has just begun will serve.
        auto const waited = std::chrono::steady_clock::now() - begin;
        if (!inUse || waited > patience)
            throw OpenFailure{reason};
        if (!std::exchange(told, told || waited > silence) && told)
            console.err << "mediadata: " << reason << "; waiting" << std::endl;
        std::this_thread::sleep_for(pause);
    }
}

std::unique_ptr<Server> Command::startServer()
{
    std::string reason;
    auto server = Server::start(m_invocation, reason);
    if (!server)
        throw OpenFailure{reason};
    return server;
}

int Command::shell()
{
    EndSignals const signals;
    workbench();
    auto const server = startServer();
    return runShell(m_invocation, *server, signals.descriptor());
}

int Command::serve()
{
    EndSignals const signals;
    auto const& directory = workbench().platform().directory();
    auto const server = startServer();
    auto& out = m_invocation.console->out;
    if (m_json)
        out << Json{{"serving", directory}, {"process", ::getpid()}}.dump() << std::endl;
    else
        out << "serving " << directory << " as process " << ::getpid() << std::endl;
    pollfd ended{signals.descriptor(), POLLIN, 0};
    while (::poll(&ended, 1, -1) <= 0) {
    }
    return exitOk;
}

int Command::watch()
{
    std::optional<Subscription::Tags> only;
    if (!m_item.empty()) {
        auto const tags = matchItems(m_item);
        if (tags.empty())
            return render(failure(exitUnknownItem, m_item, "matches no item", namesNear(m_item)));
        only.emplace(tags.begin(), tags.end());
    }
    // Whoever holds the directory: to be told to end is the usual end.
    for (int const ending : {SIGINT, SIGTERM, SIGHUP}) {
        if (!m_invocation.isRemote)
            std::signal(ending, [](int) { ::_exit(exitOk); });
    }
    workbench();
    WatchOptions const options{m_count, m_seconds, m_json, m_showSecrets};
    if (m_invocation.isRemote) {
        m_invocation.watch = std::make_shared<Watch>(m_invocation.feed->subscribe(std::move(only)), options);
        return exitOk;
    }
    EndSignals const signals;
    auto const server = startServer();
    Watch following(m_invocation.feed->subscribe(std::move(only)), options);
    auto const write = [&](std::string const& lines) {
        return static_cast<bool>(m_invocation.console->out << lines << std::flush);
    };
    auto const report = following.follow(write, {signals.descriptor(), STDOUT_FILENO});
    return following.close(report, m_invocation.console->out, m_invocation.console->err);
}

} // namespace Tool

#include "web/Serve.h"

#include "cli/Invocation.h"
#include "cli/Readiness.h"
#include "holder/Server.h"
#include "report/Renderers.h"
#include "web/Daemon.h"
#include "workbench/Child.h"
#include "workbench/Journal.h"

#include "HostPlatform.h"
#include "store/Database.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <ostream>
#include <system_error>
#include <utility>

#include <fmt/format.h>

#include <fcntl.h>
#include <netdb.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Tool::Web {

namespace {

using namespace std::chrono_literals;
using Clock = Daemon::Clock;

constexpr int backlog = 128;
constexpr std::size_t shortestToken = 16;
constexpr auto betweenComments = 15s;

std::string reason(int code)
{
    return std::generic_category().message(code);
}

/// Listens, and says at which port. No descriptor with errno.
Host::FileDescriptor listenAt(std::string const& address, std::string const& port, unsigned int& bound)
{
    addrinfo hints{};
    hints.ai_flags = AI_NUMERICHOST | AI_NUMERICSERV | AI_PASSIVE;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    errno = EINVAL;
    if (::getaddrinfo(address.c_str(), port.c_str(), &hints, &found) != 0)
        return Host::FileDescriptor();
    std::unique_ptr<addrinfo, void (*)(addrinfo*)> const all(found, ::freeaddrinfo);
    Host::FileDescriptor socket(::socket(found->ai_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    int const on = 1;
    ::setsockopt(socket.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    sockaddr_storage name{};
    socklen_t length = sizeof name;
    if (!socket || ::bind(socket.get(), found->ai_addr, found->ai_addrlen) != 0 || ::listen(socket.get(), backlog) != 0 ||
        ::getsockname(socket.get(), reinterpret_cast<sockaddr*>(&name), &length) != 0)
        return Host::FileDescriptor();
    bound = ntohs(name.ss_family == AF_INET6 ? reinterpret_cast<sockaddr_in6 const&>(name).sin6_port
                                             : reinterpret_cast<sockaddr_in const&>(name).sin_port);
    return socket;
}

/// To be read; not waited for when it is a pipe into which nobody writes.
Host::FileDescriptor opened(std::string const& path)
{
    Host::FileDescriptor file(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    if (file)
        ::fcntl(file.get(), F_SETFL, 0);
    return file;
}

std::string contentOf(int descriptor)
{
    std::string text;
    char piece[4096];
    constexpr std::size_t longest = std::size_t{1} << 20U;
    for (ssize_t got = 1; got > 0 && text.size() < longest;) {
        got = ::read(descriptor, piece, sizeof piece);
        text.append(piece, static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
    }
    return text;
}

/// A secret of a file that is this user's alone. Empty with `error`.
std::string secretFile(std::string const& path, std::string& error)
{
    auto const file = opened(path);
    struct stat found {};
    if (!file || ::fstat(file.get(), &found) != 0)
        error = path + ": " + reason(errno);
    else if ((found.st_mode & 077U) != 0)
        error = path + ": others can read it; it should have the mode 0600";
    return error.empty() ? contentOf(file.get()) : "";
}

/// The token of programs, which is made when there is none.
std::string bearerOf(std::string const& path, std::string& error)
{
    if (path.empty())
        return {};
    if (Host::FileDescriptor const file(::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
        file && !Host::writeAll(file.get(), randomToken() + "\n")) {
        error = path + ": " + reason(errno);
        ::unlink(path.c_str()); // The next start makes it.
        return {};
    }
    auto token = secretFile(path, error);
    token.erase(token.find_last_not_of(" \r\n\t") + 1);
    bool const isWord = std::ranges::all_of(token, [](unsigned char c) { return std::isgraph(c) != 0; });
    if (error.empty() && (token.size() < shortestToken || !isWord))
        error = fmt::format("{}: the token in it is no word of {} characters or more", path, shortestToken);
    return token;
}

/// What `open` hands to a browser instead of an address, which all users could see among the words of a process.
class Launcher {
public:
    explicit Launcher(std::string const& directory) : m_file(directory + "/mediadata-web.html") {}
    ~Launcher() { remove(); }
    Launcher(Launcher const&) = delete;
    Launcher& operator=(Launcher const&) = delete;

    void open(std::string const& url)
    {
        remove();
        Host::FileDescriptor const file(::open(m_file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
        Host::writeAll(file.get(), "<!doctype html><meta http-equiv=\"refresh\" content=\"0;url=" + url + "\">\n");
        Host::FileDescriptor const nothing(::open("/dev/null", O_RDWR | O_CLOEXEC));
        startProgram({"xdg-open", m_file}, nothing.get());
    }
    void remove() const { ::unlink(m_file.c_str()); }

private:
    std::string m_file;
};

/// Everything that one process of `web` has, in the order in which it is made.
class Program {
public:
    Program(WebOptions const& options, Holding const& holding) : m_options(options), m_holding(holding) {}

    int run()
    {
        std::string error;
        if (!prepare(error) || !serve(error))
            return show(failure(exitStorage, "", error), *m_holding.invocation.console, m_holding.invocation.options.json);
        return exitOk;
    }

private:
    bool prepare(std::string& error)
    {
        m_socket = listenAt(m_options.address, m_options.port, m_access.port);
        if (!m_socket)
            error = m_options.listen + ": " + reason(errno);
        m_access.isSecure = !m_options.certificate.empty();
        m_access.names = m_options.names;
        if (error.empty())
            m_access.bearer = bearerOf(m_options.tokenFile, error);
        if (error.empty() && m_access.isSecure) {
            m_certificate = contentOf(opened(m_options.certificate).get());
            if (m_certificate.empty())
                error = m_options.certificate + ": cannot be read";
            else
                m_key = secretFile(m_options.key, error);
        }
        return error.empty();
    }

    std::string url(Access const& access) const
    {
        bool const isIpv6 = m_options.address.find(':') != std::string::npos;
        auto const host = isIpv6 ? "[" + m_options.address + "]" : m_options.address;
        return access.address(host + ":" + std::to_string(m_access.port));
    }

    void tellAddress(Access const& access, bool isFirst) const
    {
        auto const& invocation = m_holding.invocation;
        if (invocation.options.json) {
            Json line{{"address", url(access)}};
            if (isFirst)
                line.update({{"serving", directory()}, {"process", ::getpid()}});
            invocation.console->out << line.dump() << std::endl;
        } else {
            invocation.console->out << (isFirst ? "" : "another browser: ") << url(access) << std::endl;
        }
    }

    std::string const& directory() const { return m_holding.invocation.workbench->platform().directory(); }

    SiteFacts facts() const
    {
        auto& platform = m_holding.invocation.workbench->platform();
        return {userName(::geteuid()), platform.directory(), m_options.readOnly,
                [&platform] { return modelName(platform.deviceProfile().model); }};
    }

    bool serve(std::string& error)
    {
        auto& invocation = m_holding.invocation;
        Access access(m_access);
        Launcher launcher(directory());
        Site site(
            access, facts(),
            [&](std::string const& text) { invocation.console->err << "mediadata-web: " << text << std::endl; },
            [&] {
                launcher.remove();
                tellAddress(access, false);
            });
        auto events = [&] {
            Threads::Lock const turn(m_holding.server.turn());
            return Events(*invocation.feed, invocation.workbench->platform().database().lastEntry());
        }();
        auto commands = std::make_unique<Commands>(m_holding.server.turn());
        auto const daemon = Daemon::start({std::move(m_socket), std::move(m_certificate), std::move(m_key)}, site, *commands,
                                          events, invocation, error);
        if (!daemon)
            return false;
        tellAddress(access, true);
        m_holding.readiness.tell();
        if (m_options.open)
            launcher.open(url(access));
        loop(*daemon, *commands, events);
        commands.reset();
        events.end();
        return true;
    }

    void loop(Daemon& daemon, Commands& commands, Events& events) const
    {
        pollfd waiting[]{{m_holding.end, POLLIN, 0},
                         {daemon.descriptor(), POLLIN, 0},
                         {commands.descriptor(), POLLIN, 0},
                         {events.descriptor(), POLLIN, 0}};
        auto nextComment = Clock::now() + betweenComments;
        while (waiting[0].revents == 0) {
            auto const next = std::min(daemon.run(), nextComment);
            auto const left = std::chrono::ceil<std::chrono::milliseconds>(next - Clock::now()).count();
            ::poll(waiting, std::size(waiting), static_cast<int>(std::max<decltype(left)>(left, 0)));
            if (waiting[2].revents != 0)
                commands.finish();
            if (waiting[3].revents != 0)
                events.take();
            if (Clock::now() >= nextComment) {
                events.comment();
                nextComment = Clock::now() + betweenComments;
            }
        }
    }

    WebOptions const& m_options;
    Holding const& m_holding;
    AccessOptions m_access;
    Host::FileDescriptor m_socket;
    std::string m_certificate;
    std::string m_key;
};

} // namespace

int serve(WebOptions const& options, Holding const& holding)
{
    return Program(options, holding).run();
}

} // namespace Tool::Web

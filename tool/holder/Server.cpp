#include "holder/Server.h"

#include "holder/Watcher.h"
#include "workbench/SignalBlock.h"

#include "HostPlatform.h"

#include <fmt/format.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <sstream>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace Tool {

namespace {

using namespace std::chrono_literals;

constexpr std::size_t mostConnections = 64; ///< at once, watchers among them
constexpr std::size_t mostWatchers = 48;
constexpr int longestBacklog = 1024; ///< of those who wait for one
constexpr auto firstRequestWithin = 10s;
constexpr auto answersWithin = 10min; ///< a person may have to type a passphrase, or reads slowly
constexpr auto longestStall = 1s;     ///< of who reads nothing while the server ends
constexpr auto acceptPause = 50ms;

std::string reason(int code)
{
    return std::generic_category().message(code);
}

} // namespace

Server::Server(Workbench& workbench, ChangeFeed& feed, Answer answer)
    : m_workbench(workbench), m_feed(feed), m_answer(std::move(answer)), m_wake(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{}

std::unique_ptr<Server> Server::start(Workbench& workbench, ChangeFeed& feed, Answer answer, std::string& error)
{
    std::unique_ptr<Server> server(new Server(workbench, feed, std::move(answer)));
    if (!server->listen(error))
        return nullptr;
    server->m_listening.emplace([&feed, &workbench](auto const& changes) { feed.publish(workbench.platform(), changes); });
    SignalBlock const block; // They are for the process that serves.
    server->m_acceptor = std::thread([self = server.get()] { self->acceptAll(); });
    return server;
}

/// The directory's lock is ours: what a process that was killed left behind can go.
bool Server::listen(std::string& error)
{
    auto const& path = m_workbench.platform().directory();
    auto const refuse = [&](std::string const& why) {
        error = path + '/' + socketName + ": " + why;
        return false;
    };
    m_directory = Host::FileDescriptor(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!m_directory)
        return refuse(reason(errno));
    struct stat found {};
    if (::fstatat(m_directory.get(), socketName, &found, AT_SYMLINK_NOFOLLOW) == 0) {
        if (!S_ISSOCK(found.st_mode))
            return refuse("is not a socket");
        ::unlinkat(m_directory.get(), socketName, 0);
    }
    Host::FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    socketPath(m_directory.get()).copy(address.sun_path, sizeof address.sun_path - 1);
    // The mode that the socket has when it gets its name.
    if (!socket || ::fchmod(socket.get(), 0600) != 0 ||
        ::bind(socket.get(), reinterpret_cast<sockaddr const*>(&address), sizeof address) != 0 ||
        ::listen(socket.get(), longestBacklog) != 0)
        return refuse("cannot be made: " + reason(errno));
    m_socket = std::move(socket);
    return true;
}

Server::~Server()
{
    if (!m_socket)
        return;
    ::unlinkat(m_directory.get(), socketName, 0);
    m_ending = true;
    wake();
    if (m_acceptor.joinable())
        m_acceptor.join();
    m_feed.close();
    // What is being answered is still sent; nothing more is received.
    for (auto const& connection : m_connections)
        ::shutdown(connection.channel.descriptor(), SHUT_RD);
    for (auto& connection : m_connections)
        connection.thread.join();
    m_listening.reset();
}

void Server::wake() const
{
    std::uint64_t const one = 1;
    [[maybe_unused]] auto const written = ::write(m_wake.get(), &one, sizeof one);
}

void Server::acceptAll()
{
    std::array<pollfd, 2> waiting{{{m_wake.get(), POLLIN, 0}, {m_socket.get(), POLLIN, 0}}};
    while (!m_ending) {
        bool const hasRoom = m_connections.size() < mostConnections;
        ::poll(waiting.data(), hasRoom ? 2 : 1, -1);
        std::uint64_t count = 0;
        [[maybe_unused]] auto const taken = ::read(m_wake.get(), &count, sizeof count);
        std::erase_if(m_connections, [](Connection& each) {
            if (each.over)
                each.thread.join();
            return each.over.load();
        });
        if (hasRoom && !m_ending && waiting[1].revents != 0)
            admit(Host::FileDescriptor(::accept4(m_socket.get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK)));
    }
}

void Server::admit(Host::FileDescriptor socket)
{
    if (!socket) { // No descriptor is free, and the connection goes on waiting.
        std::this_thread::sleep_for(acceptPause);
        return;
    }
    try {
        if (auto const user = peerOf(socket.get()).user; user != ::geteuid() && user != 0) {
            Channel(std::move(socket)).postIfIdle({"refuse", "the data directory belongs to another user"});
            return;
        }
        auto& connection = m_connections.emplace_back(std::move(socket));
        connection.thread = std::thread([this, &connection] {
            try {
                serve(connection);
            } catch (std::exception const&) { // NOLINT(bugprone-empty-catch): memory is short, and the connection closes.
            }
            ::shutdown(connection.channel.descriptor(), SHUT_RDWR);
            connection.over = true;
            wake();
        });
    } catch (std::exception const&) { // No more threads, or memory is short: the connection closes.
        std::erase_if(m_connections, [](auto const& each) { return !each.thread.joinable(); });
    }
}

void Server::serve(Connection& connection)
{
    auto& channel = connection.channel;
    Channel::Milliseconds limit = firstRequestWithin;
    for (Message message;; limit = answersWithin) {
        auto const event = channel.receive(message, limit);
        if (event != Channel::Event::Received && event != Channel::Event::Malformed)
            return;
        // What is not understood is answered without waiting for the turn.
        auto const fault = versionFault(event == Channel::Event::Received ? message : Message());
        if (!fault.empty()) {
            channel.post({"refuse", fault});
            sendAll(channel, answersWithin);
        }
        if (!fault.empty() || !serveOne(connection, message))
            return;
    }
}

/// Waits for a slow reader: one that follows the changes reads on when it likes as long as the server lives, another within
/// `limit`. False when it is gone.
bool Server::sendAll(Channel& channel, std::chrono::steady_clock::duration limit) const
{
    auto const begun = std::chrono::steady_clock::now();
    for (bool isLast = m_ending; !channel.flush(longestStall); isLast = m_ending) {
        if (isLast || channel.isGone() || std::chrono::steady_clock::now() - begun > limit)
            return false;
    }
    return true;
}

/// True when the client is to send its request again.
bool Server::serveOne(Connection& connection, Message const& message)
{
    auto& channel = connection.channel;
    Reply reply;
    {
        Threads::Lock const turn(m_turn);
        // Who does not hear that it begins has given up.
        if (m_ending || channel.isGone() || !channel.postIfIdle({"begin"}))
            return false;
        reply = m_answer(message, peerOf(channel.descriptor()));
        if (reply.watcher && m_feed.subscriptions() > mostWatchers) // The others leave no room for commands.
            reply = {{{"refuse", fmt::format("it tells {} watchers already", mostWatchers)}}};
    }
    for (auto const& each : reply.messages)
        channel.post(each);
    if (reply.watcher)
        channel.post({"ready"});
    if (!sendAll(channel, answersWithin) || !reply.watcher)
        return reply.asks;
    auto const write = [&](std::string const& lines) {
        channel.post({"out", lines});
        return sendAll(channel, std::chrono::steady_clock::duration::max());
    };
    auto const report = reply.watcher->follow(write, {channel.descriptor()});
    std::ostringstream out;
    std::ostringstream err;
    auto const status = reply.watcher->close(report, out, err);
    channel.post({"out", out.str()});
    channel.post({"err", err.str()});
    channel.post({"end", std::to_string(status)});
    sendAll(channel, answersWithin);
    return false;
}

} // namespace Tool

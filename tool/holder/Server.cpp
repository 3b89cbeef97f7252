#include "holder/Server.h"

#include "HostPlatform.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <ostream>
#include <sstream>
#include <streambuf>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace Tool {

namespace {

using namespace std::chrono_literals;

constexpr std::size_t mostConnections = 64;
constexpr auto firstRequestWithin = 10s;
constexpr auto answersWithin = 10min; ///< a person may have to type a passphrase
constexpr auto longestStall = 10s;
constexpr auto pause = 50ms;
constexpr std::size_t longestPiece = 65536;

/// Gathers what a command writes, in the order of its writing.
class PieceBuffer : public std::streambuf {
public:
    PieceBuffer(std::vector<Message>& pieces, char const* kind) : m_pieces(pieces), m_kind(kind) {}

private:
    int_type overflow(int_type c) override
    {
        auto const text = traits_type::to_char_type(c);
        xsputn(&text, 1);
        return traits_type::not_eof(c);
    }

    std::streamsize xsputn(char const* text, std::streamsize count) override
    {
        for (std::string_view rest(text, static_cast<std::size_t>(count)); !rest.empty();) {
            if (m_pieces.empty() || m_pieces.back()[0] != m_kind || m_pieces.back()[1].size() >= longestPiece)
                m_pieces.push_back({m_kind, ""});
            auto& piece = m_pieces.back()[1];
            auto const part = rest.substr(0, longestPiece - piece.size());
            piece += part;
            rest.remove_prefix(part.size());
        }
        return count;
    }

    std::vector<Message>& m_pieces;
    char const* m_kind;
};

/// Thrown through a command that needs what its sender has not yet sent.
struct Asked {
    std::string what;
};

/// The console of a command that came through the socket.
class SendersConsole : public Console {
public:
    SendersConsole(Request const& request, std::ostream& forAnswers, std::ostream& forErrors,
                   std::function<void(Message const&)> const& tell)
        : Console(forAnswers, forErrors), m_request(request), m_tell(tell)
    {
        directory = request.directory;
        colourOut = request.colourOut;
        colourErr = request.colourErr;
        outIsTerminal = request.outIsTerminal;
    }

    bool read(std::string const& file, std::string& text) const override
    {
        auto const& found = answerTo("file " + file);
        text = found.value_or("");
        return found.has_value();
    }

    OtherTelephone readDirectory(std::string const& name) const override
    {
        return unpacked(answerTo("directory " + name).value_or(""));
    }

    std::optional<std::string> passphrase(std::string const& prompt) const override
    {
        return answerTo("passphrase " + prompt);
    }

    void progress(std::size_t done, std::size_t total) override
    {
        if (m_request.showsProgress && m_tell)
            m_tell({"progress", std::to_string(done), std::to_string(total)});
    }

private:
    std::optional<std::string> const& answerTo(std::string const& what) const
    {
        auto const found = m_request.answers.find(what);
        if (found == m_request.answers.end())
            throw Asked{what};
        return found->second;
    }

    Request const& m_request;
    std::function<void(Message const&)> const& m_tell;
};

std::string reason(int code)
{
    return std::generic_category().message(code);
}

} // namespace

Reply answer(Invocation const& holder, Message const& message, std::function<void(Message const&)> const& progress)
{
    Reply reply;
    Request request;
    std::string error;
    PieceBuffer outBuffer(reply.messages, "out");
    PieceBuffer errBuffer(reply.messages, "err");
    std::ostream out(&outBuffer);
    std::ostream err(&errBuffer);
    int status = exitUsage;
    if (!parseRequest(message, request, error)) {
        err << "mediadata: " << error << '\n';
    } else {
        SendersConsole console(request, out, err, progress);
        Invocation bench;
        bench.console = &console;
        bench.options.dataDirectory = holder.options.dataDirectory;
        bench.workbench = holder.workbench;
        bench.feed = holder.feed;
        bench.isRemote = true;
        // The library's errors reach the command that caused them.
        LogTap::Echo const echo(holder.workbench->log(), [&err](std::string const& line) { err << line; });
        try {
            status = runCommand(bench, request.words);
        } catch (Asked const& asked) {
            return {{{"ask", asked.what}}, nullptr, true};
        } catch (std::exception const& fault) {
            err << "mediadata: " << fault.what() << '\n';
            status = exitInternal;
        }
        reply.watch = std::move(bench.watch);
    }
    if (!reply.watch)
        reply.messages.push_back({"end", std::to_string(status)});
    return reply;
}

Server::Server(Invocation& holder) : m_holder(holder), m_end(::eventfd(0, EFD_CLOEXEC)) {}

std::unique_ptr<Server> Server::start(Invocation& holder, std::string& error)
{
    std::unique_ptr<Server> server(new Server(holder));
    if (!server->listen(error))
        return nullptr;
    holder.feed = &server->m_feed;
    server->m_listening.emplace([&feed = server->m_feed](auto const& changes) { feed.publish(changes); });
    server->m_acceptor = std::thread([self = server.get()] { self->acceptAll(); });
    return server;
}

/// The directory's lock is ours: what a process that was killed left behind can go.
bool Server::listen(std::string& error)
{
    auto const& path = m_holder.workbench->platform().directory();
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
        ::listen(socket.get(), static_cast<int>(mostConnections)) != 0)
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
    std::uint64_t const one = 1;
    [[maybe_unused]] auto const written = ::write(m_end.get(), &one, sizeof one);
    if (m_acceptor.joinable())
        m_acceptor.join();
    m_feed.close();
    for (auto& connection : m_connections) {
        // What is being answered is still sent; nothing more is received.
        ::shutdown(connection.channel.descriptor(), SHUT_RD);
        connection.thread.join();
    }
    m_listening.reset();
    m_holder.feed = nullptr;
}

void Server::acceptAll()
{
    std::array<pollfd, 2> waiting{{{m_socket.get(), POLLIN, 0}, {m_end.get(), POLLIN, 0}}};
    while (waiting[1].revents == 0) {
        ::poll(waiting.data(), waiting.size(), -1);
        std::erase_if(m_connections, [](Connection& each) {
            if (each.over)
                each.thread.join();
            return each.over.load();
        });
        if (waiting[0].revents != 0)
            admit(Host::FileDescriptor(::accept4(m_socket.get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK)));
    }
}

void Server::admit(Host::FileDescriptor socket)
{
    if (!socket) { // No descriptor is free, and the connection goes on waiting.
        std::this_thread::sleep_for(pause);
        return;
    }
    auto const user = peerOf(socket.get()).user;
    char const* const fault = user != ::geteuid() && user != 0          ? "the data directory belongs to another user"
                              : m_connections.size() >= mostConnections ? "too many processes use the data directory"
                                                                        : nullptr;
    if (fault) {
        Channel channel(std::move(socket));
        channel.postIfIdle({"refuse", fault});
        return;
    }
    auto& connection = m_connections.emplace_back(std::move(socket));
    try {
        connection.thread = std::thread([this, &connection] {
            serve(connection);
            ::shutdown(connection.channel.descriptor(), SHUT_RDWR);
            connection.over = true;
        });
    } catch (std::system_error const&) { // No more threads: the connection closes.
        m_connections.pop_back();
    }
}

void Server::serve(Connection& connection)
{
    auto& channel = connection.channel;
    Channel::Milliseconds limit = firstRequestWithin;
    for (Message message;; limit = answersWithin) {
        auto const event = channel.receive(message, limit);
        if (event == Channel::Event::Malformed) {
            channel.post({"refuse", "the request is malformed"});
            channel.flush(longestStall);
        }
        if (event != Channel::Event::Received || !serveOne(connection, message))
            return;
    }
}

/// True when the client is to send its request again.
bool Server::serveOne(Connection& connection, Message const& message)
{
    auto& channel = connection.channel;
    Reply reply;
    {
        auto const turn = commandTurn();
        if (m_ending || channel.isGone())
            return false;
        channel.postIfIdle({"begin"});
        reply = answer(m_holder, message, [&](Message const& progress) { channel.postIfIdle(progress); });
    }
    for (auto const& each : reply.messages)
        channel.post(each);
    if (!channel.flush(longestStall) || !reply.watch)
        return reply.asks;
    auto const write = [&](std::string const& lines) {
        channel.post({"out", lines});
        // A slow reader keeps its place, its queue is bounded; one that has gone is noticed here.
        while (!channel.flush(longestStall)) {
            if (m_ending || channel.isGone())
                return false;
        }
        return true;
    };
    auto const report = reply.watch->follow(write, {channel.descriptor()});
    std::ostringstream out;
    std::ostringstream err;
    auto const status = reply.watch->close(report, out, err);
    channel.post({"out", out.str()});
    channel.post({"err", err.str()});
    channel.post({"end", std::to_string(status)});
    channel.flush(longestStall);
    return false;
}

EndSignals::EndSignals()
{
    sigset_t blocked;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGPIPE); // Not read: a broken stream is noticed where it is written to.
    ::pthread_sigmask(SIG_BLOCK, &blocked, nullptr);
    sigdelset(&blocked, SIGPIPE);
    for (int const signal : {SIGINT, SIGTERM, SIGHUP})
        sigaddset(&blocked, signal);
    ::pthread_sigmask(SIG_BLOCK, &blocked, nullptr);
    m_descriptor = Host::FileDescriptor(::signalfd(-1, &blocked, SFD_CLOEXEC));
}

} // namespace Tool

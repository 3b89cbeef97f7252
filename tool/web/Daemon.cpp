#include "web/Daemon.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <utility>

#include <fcntl.h>
#include <microhttpd.h>
#include <netdb.h>
#include <sys/socket.h>

namespace Tool::Web {

namespace {

using namespace std::chrono_literals;
using Clock = Daemon::Clock;

constexpr unsigned int mostConnections = 64;
constexpr std::size_t crowded = 60;     ///< from here on each new one takes the place of the oldest that is idle
constexpr std::size_t mostStreams = 56; ///< the others leave room for commands
constexpr std::size_t mostInBodies = std::size_t{32} << 20U; ///< a document is a multiple of it while it is read
constexpr std::size_t longestHead = 8192;
constexpr std::size_t roomOfConnection = 2 * longestHead; ///< the library has cookies and parameters twice
constexpr auto headWithin = 10s;                          ///< from the connection's begin, or the end of the request before
constexpr auto bodyWithin = 60s;
constexpr auto answerWithin = 60s;          ///< until its reader has it
constexpr unsigned int longestSilence = 75; ///< seconds, of who reads events; there is a comment more often
constexpr std::size_t blockSize = 4096;

/// What browsers may do with any answer: run and show what comes from here, and nothing else.
constexpr std::pair<char const*, char const*> protection[]{
    {"Content-Security-Policy",
     "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' data:; connect-src 'self'; worker-src 'self'; "
     "base-uri 'none'; form-action 'none'; frame-ancestors 'none'"},
    {"X-Content-Type-Options", "nosniff"},
    {"Referrer-Policy", "no-referrer"},
    {"Cross-Origin-Opener-Policy", "same-origin"},
    {"Cross-Origin-Resource-Policy", "same-origin"},
};

std::string addressOf(sockaddr const* address)
{
    char host[NI_MAXHOST]{};
    auto const length = address->sa_family == AF_INET6 ? sizeof(sockaddr_in6) : sizeof(sockaddr_in);
    ::getnameinfo(address, static_cast<socklen_t>(length), host, sizeof host, nullptr, 0, NI_NUMERICHOST);
    return host;
}

} // namespace

/// One request on its way.
struct Exchange {
    enum class Phase { Head, Body, Working, Ready };

    explicit Exchange(Daemon& owner) : daemon(owner) {}
    ~Exchange()
    {
        daemon.m_bodies -= request.body.size();
        if (stream)
            stream->wake = nullptr;
    }
    Exchange(Exchange const&) = delete;
    Exchange& operator=(Exchange const&) = delete;

    Daemon& daemon;
    Phase phase = Phase::Head;
    Request request = {};
    std::optional<Answer> tooLong = {}; ///< why the body was not kept
    Answer answer = {};
    std::shared_ptr<Events::Stream> stream = {}; ///< in the place of an answer
};

struct Daemon::Peer {
    MHD_Connection* connection = nullptr;
    int socket = -1;
    std::string address = {};
    Clock::time_point deadline = Clock::time_point::max();
    bool isSuspended = false;
    bool isEnding = false;
    std::shared_ptr<Exchange> exchange = {};

    void suspend()
    {
        isSuspended = true;
        deadline = Clock::time_point::max();
        ::MHD_suspend_connection(connection);
    }
    void resume()
    {
        if (std::exchange(isSuspended, false))
            ::MHD_resume_connection(connection);
    }
};

/// What the library calls.
class Callbacks {
public:
    using Peer = Daemon::Peer;
    using Phase = Exchange::Phase;

    static void onConnection(void* self, MHD_Connection* connection, void** context, MHD_ConnectionNotificationCode code)
    {
        auto& daemon = *static_cast<Daemon*>(self);
        if (code == MHD_CONNECTION_NOTIFY_CLOSED) {
            daemon.m_peers.remove_if([=](Peer const& each) { return &each == *context; });
            daemon.m_hasRoom = true;
            return;
        }
        if (daemon.m_peers.size() >= crowded)
            daemon.endOldestIdle();
        auto& peer = daemon.m_peers.emplace_back();
        peer.connection = connection;
        peer.socket = ::MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CONNECTION_FD)->connect_fd;
        peer.address = addressOf(::MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CLIENT_ADDRESS)->client_addr);
        peer.deadline = Clock::now() + headWithin;
        *context = &peer;
    }

    static void* onTarget(void* self, char const* target, MHD_Connection* connection)
    {
        auto& peer = peerOf(connection);
        peer.exchange = std::make_shared<Exchange>(*static_cast<Daemon*>(self));
        peer.exchange->request.target = target;
        return &peer;
    }

    static void onCompleted(void*, MHD_Connection* connection, void**, MHD_RequestTerminationCode)
    {
        auto& peer = peerOf(connection);
        peer.exchange.reset();
        peer.deadline = Clock::now() + headWithin;
    }

    static MHD_Result onRequest(void* self, MHD_Connection* connection, char const*, char const* method, char const*,
                                char const* piece, std::size_t* size, void**)
    {
        auto& daemon = *static_cast<Daemon*>(self);
        auto& peer = peerOf(connection);
        auto& exchange = *peer.exchange;
        switch (exchange.phase) {
        case Phase::Head:
            return takeHead(daemon, peer, method);
        case Phase::Body:
            if (*size == 0)
                return begin(daemon, peer);
            takeBody(daemon, exchange, {piece, std::exchange(*size, 0)});
            return MHD_YES;
        case Phase::Ready:
            return exchange.stream ? sendStream(peer) : send(peer, std::move(exchange.answer));
        case Phase::Working: // The program ends.
            break;
        }
        return MHD_NO;
    }

    /// Paths and queries are taken apart elsewhere.
    static std::size_t keep(void*, MHD_Connection*, char* text) { return std::strlen(text); }

    static void ignoreLog(void*, char const*, va_list) {}

private:
    static Peer& peerOf(MHD_Connection* connection)
    {
        auto const* const info = ::MHD_get_connection_info(connection, MHD_CONNECTION_INFO_SOCKET_CONTEXT);
        return *static_cast<Peer*>(info->socket_context);
    }

    static MHD_Result addHeader(void* fields, MHD_ValueKind, char const* name, char const* value)
    {
        static_cast<Fields*>(fields)->emplace_back(name, value ? value : "");
        return MHD_YES;
    }

    static MHD_Result takeHead(Daemon& daemon, Peer& peer, char const* method)
    {
        auto& [owner, phase, request, tooLong, answer, stream] = *peer.exchange;
        request.method = method;
        request.peer = peer.address;
        ::MHD_get_connection_values(peer.connection, MHD_HEADER_KIND, addHeader, &request.headers);
        peer.deadline = Clock::now() + bodyWithin;
        auto const* const size = ::MHD_get_connection_info(peer.connection, MHD_CONNECTION_INFO_REQUEST_HEADER_SIZE);
        auto early =
            size->header_size > longestHead ? problem(431, "a head has at most 8 kB") : daemon.m_site.answerAtHead(request);
        if (early && request.hasBody())
            return send(peer, *std::move(early)); // The connection does not outlive it.
        phase = early ? Phase::Ready : Phase::Body;
        if (early)
            answer = *std::move(early);
        return MHD_YES;
    }

    static void takeBody(Daemon& daemon, Exchange& exchange, std::string_view piece)
    {
        auto& body = exchange.request.body;
        if (!exchange.tooLong && body.size() + piece.size() > longestBody)
            exchange.tooLong = problem(413, "a body has at most 16 MiB");
        if (!exchange.tooLong && daemon.m_bodies + piece.size() > mostInBodies)
            exchange.tooLong = problem(503, "too many long bodies come at once");
        if (exchange.tooLong) {
            daemon.m_bodies -= body.size();
            body = {};
            return;
        }
        body += piece;
        daemon.m_bodies += piece.size();
    }

    /// The request is complete.
    static MHD_Result begin(Daemon& daemon, Peer& peer)
    {
        auto& exchange = *peer.exchange;
        if (exchange.tooLong)
            return send(peer, *std::move(exchange.tooLong));
        auto next = daemon.m_site.answer(exchange.request);
        if (auto* const answer = std::get_if<Answer>(&next))
            return send(peer, std::move(*answer));
        if (auto const* const follow = std::get_if<Follow>(&next))
            return beginStream(daemon, peer, *follow);
        daemon.m_commands.post([&daemon, &peer, command = std::get<Command>(std::move(next))] {
            return [&peer, answer = Web::run(daemon.m_holder, command)] {
                peer.exchange->answer = answer;
                finish(peer);
            };
        });
        return wait(peer);
    }

    static MHD_Result beginStream(Daemon& daemon, Peer& peer, Follow const& follow)
    {
        auto& events = daemon.m_events;
        if (events.size() >= mostStreams)
            return send(peer, problem(503, "as many follow the changes as can"));
        peer.exchange->stream = events.open();
        bool const isReplayed = follow.after && !events.has(*follow.after);
        daemon.m_commands.post([&daemon, &peer, isReplayed, after = follow.after] {
            auto past = replay(*daemon.m_holder.workbench, isReplayed ? std::optional(after->entry) : std::nullopt);
            return [&daemon, &peer, after, past = std::move(past)] {
                auto& stream = *peer.exchange->stream;
                daemon.m_events.begin(stream, daemon.m_site.hello(), past, after);
                stream.wake = [&peer] { peer.resume(); };
                finish(peer);
            };
        });
        return wait(peer);
    }

    /// A connection that is suspended does not go away.
    static MHD_Result wait(Peer& peer)
    {
        peer.exchange->phase = Phase::Working;
        peer.suspend();
        return MHD_YES;
    }

    static void finish(Peer& peer)
    {
        peer.exchange->phase = Phase::Ready;
        peer.resume();
    }

    static MHD_Result queue(Peer& peer, int status, MHD_Response* response, std::string const& type, Fields const& headers)
    {
        auto const add = [&](char const* name, char const* value) { ::MHD_add_response_header(response, name, value); };
        for (auto const& [name, value] : protection)
            add(name, value);
        for (auto const& [name, value] : headers)
            add(name.c_str(), value.c_str());
        if (!::MHD_get_response_header(response, "Cache-Control"))
            add("Cache-Control", "no-store");
        add("Content-Type", type.c_str());
        auto const result = ::MHD_queue_response(peer.connection, static_cast<unsigned int>(status), response);
        ::MHD_destroy_response(response);
        return result;
    }

    static MHD_Result send(Peer& peer, Answer answer)
    {
        peer.deadline = Clock::now() + answerWithin;
        auto& body = answer.body;
        return queue(peer, answer.status, ::MHD_create_response_from_buffer(body.size(), body.data(), MHD_RESPMEM_MUST_COPY),
                     answer.type, answer.headers);
    }

    static MHD_Result sendStream(Peer& peer)
    {
        peer.deadline = Clock::time_point::max();
        return queue(peer, 200, ::MHD_create_response_from_callback(MHD_SIZE_UNKNOWN, blockSize, read, &peer, nullptr),
                     "text/event-stream", {});
    }

    static ssize_t read(void* cls, std::uint64_t, char* to, std::size_t most)
    {
        auto& peer = *static_cast<Peer*>(cls);
        auto& stream = *peer.exchange->stream;
        auto const text = stream.peek();
        auto const size = text.copy(to, most);
        stream.taken(size);
        if (size == 0 && stream.isOver())
            return MHD_CONTENT_READER_END_OF_STREAM;
        if (size == 0)
            peer.suspend();
        return static_cast<ssize_t>(size);
    }
};

Daemon::Daemon(Site& site, Commands& commands, Events& events, Invocation const& holder)
    : m_site(site), m_commands(commands), m_events(events), m_holder(holder)
{}

std::unique_ptr<Daemon> Daemon::start(DaemonOptions options, Site& site, Commands& commands, Events& events,
                                      Invocation const& holder, std::string& error)
{
    std::unique_ptr<Daemon> daemon(new Daemon(site, commands, events, holder));
    daemon->m_certificate = std::move(options.certificate);
    daemon->m_key = std::move(options.key);
    int const socket = ::fcntl(options.socket.get(), F_DUPFD_CLOEXEC, 0); // The library closes it.
    bool const isSecure = !daemon->m_certificate.empty();
    char priorities[] = "NORMAL:-VERS-TLS1.0:-VERS-TLS1.1";
    MHD_OptionItem const tls[]{{MHD_OPTION_HTTPS_PRIORITIES, 0, priorities},
                               {MHD_OPTION_HTTPS_MEM_CERT, 0, daemon->m_certificate.data()},
                               {MHD_OPTION_HTTPS_MEM_KEY, 0, daemon->m_key.data()},
                               {MHD_OPTION_END, 0, nullptr}};
    auto* const self = daemon.get();
    unsigned int flags = MHD_USE_EPOLL | MHD_ALLOW_SUSPEND_RESUME | MHD_USE_ERROR_LOG;
    if (isSecure)
        flags |= MHD_USE_TLS;
    daemon->m_daemon = ::MHD_start_daemon(
        flags, 0, nullptr, nullptr, Callbacks::onRequest, self, MHD_OPTION_EXTERNAL_LOGGER, Callbacks::ignoreLog, nullptr,
        MHD_OPTION_LISTEN_SOCKET, socket, MHD_OPTION_CONNECTION_LIMIT, mostConnections, MHD_OPTION_CONNECTION_MEMORY_LIMIT,
        roomOfConnection, MHD_OPTION_CONNECTION_TIMEOUT, longestSilence, MHD_OPTION_STRICT_FOR_CLIENT, 1,
        MHD_OPTION_NOTIFY_CONNECTION, Callbacks::onConnection, self, MHD_OPTION_NOTIFY_COMPLETED, Callbacks::onCompleted,
        self, MHD_OPTION_URI_LOG_CALLBACK, Callbacks::onTarget, self, MHD_OPTION_UNESCAPE_CALLBACK, Callbacks::keep, nullptr,
        MHD_OPTION_ARRAY, isSecure ? tls : std::end(tls) - 1, MHD_OPTION_END);
    if (!daemon->m_daemon) {
        error = isSecure ? "the certificate and its key cannot be used" : "the connections cannot be taken";
        return nullptr;
    }
    return daemon;
}

Daemon::~Daemon()
{
    if (!m_daemon)
        return;
    for (auto& peer : m_peers)
        peer.resume();
    ::MHD_stop_daemon(m_daemon);
}

int Daemon::descriptor() const
{
    return ::MHD_get_daemon_info(m_daemon, MHD_DAEMON_INFO_EPOLL_FD)->epoll_fd;
}

/// A deadline is kept by shutting the socket down: the library has its own only for those who are silent.
void Daemon::end(Peer& peer)
{
    peer.deadline = Clock::time_point::max();
    peer.isEnding = true;
    ::shutdown(peer.socket, SHUT_RDWR);
}

void Daemon::endOverdue(Clock::time_point now)
{
    for (auto& peer : m_peers) {
        if (peer.deadline <= now)
            end(peer);
    }
}

/// Who only holds connections open, or does not read the answers, keeps out nobody.
void Daemon::endOldestIdle()
{
    auto const isIdle = [](Peer const& peer) {
        auto const& exchange = peer.exchange;
        return !peer.isEnding && (!exchange || (exchange->phase != Exchange::Phase::Working && !exchange->stream));
    };
    if (auto const oldest = std::ranges::find_if(m_peers, isIdle); oldest != m_peers.end())
        end(*oldest);
}

Daemon::Clock::time_point Daemon::run()
{
    endOverdue(Clock::now());
    ::MHD_run(m_daemon);
    // Who waits for room is let in by the next call, of which the library says nothing.
    auto next = std::exchange(m_hasRoom, false) ? Clock::time_point() : Clock::time_point::max();
    for (auto const& peer : m_peers)
        next = std::min(next, peer.deadline);
    MHD_UNSIGNED_LONG_LONG milliseconds = 0;
    if (::MHD_get_timeout(m_daemon, &milliseconds) == MHD_YES)
        next = std::min(next, Clock::now() + std::chrono::milliseconds(milliseconds));
    return next;
}

} // namespace Tool::Web

// Lets other processes of the user work through the one that holds the data directory: it listens at a socket in the
// directory and runs their commands one after the other. Who finds no room waits at the socket.
#pragma once

#include "holder/ChangeFeed.h"
#include "holder/Channel.h"
#include "workbench/ChangeCallback.h"
#include "workbench/Workbench.h"

#include "AnnotatedMutex.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <list>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace Tool {

class Watcher;

/// What is answered to one request.
struct Reply {
    std::vector<Message> messages;
    std::shared_ptr<Watcher> watcher = {}; ///< the answer goes on with the changes
    bool asks = false;                     ///< the sender is to send its request again
};

class Server {
public:
    /// Answers a request on the connection's thread, which has the turn.
    using Answer = std::function<Reply(Message const& request, Peer const& sender)>;

    /// Listens in the workbench's data directory, and publishes its changes to `feed`; both outlive the server. Null with
    /// `error` when the socket cannot be made.
    static std::unique_ptr<Server> start(Workbench& workbench, ChangeFeed& feed, Answer answer, std::string& error);

    /// Lets a running command end, then sends everybody away.
    ~Server();
    Server(Server const&) = delete;
    Server& operator=(Server const&) = delete;

    /// Held while a command runs, the holder's own as well.
    Threads::Mutex& turn() MEDIADATA_RETURN_CAPABILITY(m_turn) { return m_turn; }

private:
    struct Connection {
        explicit Connection(Host::FileDescriptor socket) : channel(std::move(socket)) {}
        Channel channel;
        std::atomic<bool> over = false;
        std::thread thread;
    };

    Server(Workbench& workbench, ChangeFeed& feed, Answer answer);
    bool listen(std::string& error);
    void acceptAll();
    void wake() const;
    void admit(Host::FileDescriptor socket);
    void serve(Connection& connection);
    bool sendAll(Channel& channel, std::chrono::steady_clock::duration limit) const;
    bool serveOne(Connection& connection, Message const& message);

    Workbench& m_workbench;
    ChangeFeed& m_feed;
    Answer const m_answer;
    std::optional<Listening> m_listening;
    Host::FileDescriptor m_directory;
    Host::FileDescriptor m_socket;
    Host::FileDescriptor m_wake; ///< wakes the accepting thread: a connection is over, or no more are wanted
    Threads::Mutex m_turn;       ///< one command at a time
    std::atomic<bool> m_ending = false;
    std::list<Connection> m_connections; ///< touched by the accepting thread, and after its end
    std::thread m_acceptor;
};

} // namespace Tool

// Lets other processes of the user work through the one that holds the data directory: it listens at a socket in the
// directory and runs their commands one after the other.
#pragma once

#include "cli/CommandLine.h"
#include "holder/ChangeFeed.h"
#include "holder/Channel.h"
#include "holder/Watch.h"

#include <atomic>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace Tool {

/// What the holder answers to one request.
struct Reply {
    std::vector<Message> messages;
    std::shared_ptr<Watch> watch = {}; ///< the answer goes on with the changes
    bool asks = false;                 ///< the sender is to send its request again
};

/// Runs one request on the holder's workbench. `progress` gets what is to be sent at once.
Reply answer(Invocation const& holder, Message const& message, std::function<void(Message const&)> const& progress = {});

class Server {
public:
    /// Listens for the workbench of `holder`, which outlives the server. Null with `error` when the socket cannot be made.
    static std::unique_ptr<Server> start(Invocation& holder, std::string& error);

    /// Lets a running command end, then sends everybody away.
    ~Server();
    Server(Server const&) = delete;
    Server& operator=(Server const&) = delete;

    /// Held while a command of the holder itself runs.
    std::unique_lock<std::mutex> commandTurn() { return std::unique_lock(m_turn); }

private:
    struct Connection {
        explicit Connection(Host::FileDescriptor socket) : channel(std::move(socket)) {}
        Channel channel;
        std::atomic<bool> over = false;
        std::thread thread;
    };

    explicit Server(Invocation& holder);
    bool listen(std::string& error);
    void acceptAll();
    void admit(Host::FileDescriptor socket);
    void serve(Connection& connection);
    bool serveOne(Connection& connection, Message const& message);

    Invocation& m_holder;
    ChangeFeed m_feed;
    std::optional<Listening> m_listening;
    Host::FileDescriptor m_directory;
    Host::FileDescriptor m_socket;
    Host::FileDescriptor m_end; ///< readable: no more connections
    std::mutex m_turn;          ///< one command at a time
    std::atomic<bool> m_ending = false;
    std::list<Connection> m_connections; ///< touched by the accepting thread, and after its end
    std::thread m_acceptor;
};

/// Keeps the signals that end a process from doing it: they are read from descriptor(). To be made before any thread.
class EndSignals {
public:
    EndSignals();
    int descriptor() const { return m_descriptor.get(); }

private:
    Host::FileDescriptor m_descriptor;
};

} // namespace Tool

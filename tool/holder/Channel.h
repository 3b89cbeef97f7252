// One connection over the socket: messages in both directions, never without a time limit.
#pragma once

#include "holder/Protocol.h"

#include "Files.h"

#include <chrono>
#include <string>

namespace Tool {

class Channel {
public:
    using Milliseconds = std::chrono::milliseconds;
    enum class Event { Received, Timeout, Closed, Malformed, ReaderGone };

    /// `socket` does not block.
    explicit Channel(Host::FileDescriptor socket) : m_socket(std::move(socket)) {}

    int descriptor() const { return m_socket.get(); }

    /// Waits no longer than `limit` for the whole of a message, and only while the descriptor `output` has a reader.
    Event receive(Message& message, Milliseconds limit, int output = -1);

    /// Keeps the message for flush().
    void post(Message const& message) { m_pending += encode(message); }

    /// As post(), unless something is still to be sent, and sends what can be sent without waiting. False when the other side is
    /// gone.
    bool postIfIdle(Message const& message);

    /// Sends all. False when the other side is gone or took nothing for `stall`.
    bool flush(Milliseconds stall);

    /// The other side no longer reads.
    bool isGone() const;

private:
    bool send();

    Host::FileDescriptor m_socket;
    std::string m_received;
    std::string m_pending;
};

/// The name of the socket in a data directory.
inline constexpr char const* socketName = "mediadata.socket";

/// What connects to or listens at that name goes through the directory's descriptor: its path may be of any length.
std::string socketPath(int directory);

/// The user and the process at the other end.
struct Peer {
    uid_t user = static_cast<uid_t>(-1);
    pid_t process = 0;
};
Peer peerOf(int socket);

} // namespace Tool

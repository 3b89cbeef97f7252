#include "holder/Channel.h"

#include <algorithm>
#include <array>
#include <cerrno>

#include <poll.h>
#include <sys/socket.h>

namespace Tool {

using Clock = std::chrono::steady_clock;

Channel::Event Channel::receive(Message& message, Milliseconds limit, int output)
{
    auto const deadline = Clock::now() + limit;
    std::array<char, 65536> piece;
    for (;;) {
        switch (takeMessage(m_received, message)) {
        case Decoded::Whole:
            return Event::Received;
        case Decoded::Malformed:
            return Event::Malformed;
        case Decoded::Partial:
            break;
        }
        auto const left = std::max(std::chrono::ceil<Milliseconds>(deadline - Clock::now()), Milliseconds(0));
        std::array<pollfd, 2> waiting{{{descriptor(), POLLIN, 0}, {output, 0, 0}}};
        if (::poll(waiting.data(), waiting.size(), static_cast<int>(left.count())) == 0)
            return Event::Timeout;
        if (waiting[1].revents != 0)
            return Event::ReaderGone;
        auto const got = ::recv(descriptor(), piece.data(), piece.size(), 0);
        if (got > 0)
            m_received.append(piece.data(), static_cast<std::size_t>(got));
        else if (got == 0 || (errno != EAGAIN && errno != EINTR))
            return Event::Closed;
    }
}

bool Channel::postIfIdle(Message const& message)
{
    if (m_pending.empty())
        post(message);
    return send();
}

/// False when the connection is broken.
bool Channel::send()
{
    while (!m_pending.empty()) {
        auto const sent = ::send(descriptor(), m_pending.data(), m_pending.size(), MSG_NOSIGNAL);
        if (sent < 0 && errno != EINTR)
            return errno == EAGAIN;
        m_pending.erase(0, static_cast<std::size_t>(std::max<ssize_t>(sent, 0)));
    }
    return true;
}

bool Channel::flush(Milliseconds stall)
{
    while (send()) {
        if (m_pending.empty())
            return true;
        pollfd room{descriptor(), POLLOUT, 0};
        if (::poll(&room, 1, static_cast<int>(stall.count())) == 0)
            return false;
    }
    return false;
}

bool Channel::isGone() const
{
    pollfd look{descriptor(), 0, 0};
    return ::poll(&look, 1, 0) > 0;
}

std::string socketPath(int directory)
{
    return "/proc/self/fd/" + std::to_string(directory) + '/' + socketName;
}

Peer peerOf(int socket)
{
    ucred credentials{};
    socklen_t size = sizeof credentials;
    if (::getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &credentials, &size) != 0)
        return {};
    return {credentials.uid, credentials.pid};
}

} // namespace Tool

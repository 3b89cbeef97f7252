#include "holder/Remote.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <ostream>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace Tool {

namespace {

using namespace std::chrono_literals;

constexpr auto answerWait = 1s;
constexpr auto longestSilence = 60s; ///< of a holder that is stopped behind the beginning, say
constexpr auto longWhile = std::chrono::hours(1);

std::size_t numberIn(std::string const& text)
{
    std::size_t number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

/// What a holder's command has written, in its order; shown at the latest when it goes.
class Written {
public:
    explicit Written(Console& console) : m_console(console) {}
    ~Written() { show(); }
    Written(Written const&) = delete;
    Written& operator=(Written const&) = delete;

    void add(Message piece) { m_pieces.push_back(std::move(piece)); }

    void show()
    {
        if (!m_pieces.empty())
            m_console.quiet();
        for (auto const& piece : std::exchange(m_pieces, {}))
            (piece[0] == "out" ? m_console.out : m_console.err) << piece[1] << std::flush;
    }

private:
    Console& m_console;
    std::vector<Message> m_pieces;
};

Channel::Milliseconds timeTo(Remote::Deadline deadline)
{
    return std::max(std::chrono::ceil<Channel::Milliseconds>(deadline - std::chrono::steady_clock::now()), 0ms);
}

} // namespace

std::optional<Remote> Remote::find(std::filesystem::path const& dataDirectory)
{
    Host::FileDescriptor const directory(::open(dataDirectory.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    struct stat owner {};
    struct stat found {};
    if (!directory || ::fstat(directory.get(), &owner) != 0 || (owner.st_uid != ::geteuid() && ::geteuid() != 0) ||
        ::fstatat(directory.get(), socketName, &found, AT_SYMLINK_NOFOLLOW) != 0 || !S_ISSOCK(found.st_mode))
        return std::nullopt;
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    socketPath(directory.get()).copy(address.sun_path, sizeof address.sun_path - 1);
    Host::FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!socket || ::connect(socket.get(), reinterpret_cast<sockaddr const*>(&address), sizeof address) != 0)
        return std::nullopt;
    auto const peer = peerOf(socket.get());
    if (peer.user != owner.st_uid && peer.user != 0)
        return std::nullopt;
    return Remote(std::move(socket), peer.process);
}

/// Waits for the turn, and says so when it takes long.
Channel::Event Remote::first(Message& message, Console& console, Deadline begun)
{
    auto event = m_channel.receive(message, std::min<Channel::Milliseconds>(answerWait, timeTo(begun)));
    if (event == Channel::Event::Timeout && timeTo(begun) > 0ms) {
        console.quiet();
        console.err << "mediadata: waiting for process " << m_process << ", which holds the data directory and is busy"
                    << std::endl;
        event = m_channel.receive(message, timeTo(begun));
    }
    if (event == Channel::Event::Timeout) {
        // From now on the holder cannot begin. When it has at this very moment, it is too late to say that it has not.
        ::shutdown(m_channel.descriptor(), SHUT_RD);
        m_begun = m_channel.receive(message, 0ms) == Channel::Event::Received;
    }
    return event;
}

Channel::Event Remote::next(Message& message, int output)
{
    auto event = Channel::Event::Timeout;
    // A watch lasts as long as it takes for something to change.
    while (output >= 0 && event == Channel::Event::Timeout)
        event = m_channel.receive(message, longWhile, output);
    return event == Channel::Event::Timeout ? m_channel.receive(message, longestSilence, output) : event;
}

/// A holder gets only what the command's own words name.
bool Remote::supply(Request& request, std::string const& asked, Console& console) const
{
    auto const space = asked.find(' ');
    auto const kind = asked.substr(0, space);
    auto const name = space == std::string::npos ? "" : asked.substr(space + 1);
    if (kind == "passphrase") {
        request.answers[asked] = console.passphrase(name);
        return true;
    }
    if (kind == "confirm") {
        request.answers[asked] = console.confirm(name) ? "yes" : "no";
        return true;
    }
    bool const isNamed = !name.empty() && std::any_of(request.words.begin(), request.words.end(),
                                                      [&](auto const& word) { return word.ends_with(name); });
    if (isNamed && kind == "directory") {
        request.answers[asked] = packed(console.readDirectory(name));
        return true;
    }
    if (isNamed && kind == "secret") {
        request.answers[asked] = console.secret(name);
        return true;
    }
    if (isNamed && kind == "file") {
        auto const content = console.read(name);
        request.answers[asked] = content.text;
        request.answers[reasonOf(asked)] = content.reason;
    }
    return isNamed && kind == "file";
}

std::optional<int> Remote::run(Request request, Console& console, bool untilRead, Deadline begun, std::string& failure)
{
    // Whoever pages through an answer is to keep nobody else from the holder: all of it is taken before any is written.
    Written written(console);
    for (bool toSend = true;;) {
        if (toSend && encode(toMessage(request)).size() > longestMessage) {
            failure = "more than 8 MiB cannot be given to the process that holds the data directory";
            return std::nullopt;
        }
        if (toSend) {
            m_channel.post(toMessage(request));
            m_channel.flush(m_begun ? longestSilence : timeTo(begun));
        }
        toSend = false;
        Message message;
        auto const event = m_begun ? next(message, untilRead ? STDOUT_FILENO : -1) : first(message, console, begun);
        if (event == Channel::Event::ReaderGone)
            return 0;
        if (event == Channel::Event::Timeout && m_begun)
            failure = "process " + std::to_string(m_process) +
                      ", which holds the data directory, does not answer; it may still carry the command out";
        if (event == Channel::Event::Timeout)
            return std::nullopt;
        std::string const kind = message.empty() ? "" : message[0];
        if (kind == "begin") {
            m_begun = true;
        } else if (kind == "ready" && console.whenReady) {
            console.whenReady();
        } else if ((kind == "out" || kind == "err") && message.size() == 2) {
            written.add(std::move(message));
            if (untilRead)
                written.show();
        } else if (kind == "end" && message.size() == 2) {
            return static_cast<int>(numberIn(message[1]));
        } else if (kind == "refuse" && message.size() == 2) {
            failure = "process " + std::to_string(m_process) + ", which holds the data directory: " + message[1];
            return std::nullopt;
        } else if (kind == "ask" && message.size() == 2 && supply(request, message[1], console)) {
            toSend = true;
        } else {
            bool const isGone = event == Channel::Event::Closed;
            if (!isGone || m_begun)
                failure = "process " + std::to_string(m_process) +
                          (isGone ? ", which held the data directory, ended before it answered; \"mediadata history\" tells "
                                    "what was stored, and the command can be given again"
                                  : ", which holds the data directory, answers what this command does not understand; both "
                                    "have to be of one version");
            return std::nullopt;
        }
    }
}

} // namespace Tool

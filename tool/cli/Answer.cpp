#include "cli/Answer.h"

#include "cli/CommandLine.h"
#include "workbench/Journal.h"

#include <algorithm>
#include <exception>
#include <fstream>
#include <ostream>
#include <streambuf>
#include <string_view>
#include <utility>

namespace Tool {

namespace {

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

/// The console of a command that came through the socket: it has what came with the request, and remembers what else is
/// wanted.
class SendersConsole : public Console {
public:
    SendersConsole(Request const& request, std::ostream& forAnswers, std::ostream& forErrors)
        : Console(forAnswers, forErrors), m_request(request)
    {
        directory = request.directory;
        colourOut = request.colourOut;
        colourErr = request.colourErr;
        outIsTerminal = request.outIsTerminal;
        columns = request.columns;
    }

    FileContent read(std::string const& file) override
    {
        auto const asked = "file " + file;
        auto const why = m_request.answers.find(reasonOf(asked));
        return {sent(asked), why == m_request.answers.end() ? FileContent().reason : why->second.value_or("")};
    }

    OtherTelephone readDirectory(std::string const& name) override
    {
        return unpacked(sent("directory " + name).value_or(""));
    }

    std::optional<std::string> passphrase(std::string const& prompt) override { return sent("passphrase " + prompt); }

    std::optional<std::string> secret(std::string const& prompt) override { return sent("secret " + prompt); }

    bool confirm(std::string const& question) override { return sent("confirm " + question) == "yes"; }

    bool lacksInput() const override { return !m_lacking.empty(); }

    /// The first thing that the sender is to be asked for.
    std::string const& lacking() const { return m_lacking; }

private:
    std::optional<std::string> sent(std::string const& what)
    {
        if (auto const found = m_request.answers.find(what); found != m_request.answers.end())
            return found->second;
        if (m_lacking.empty())
            m_lacking = what;
        return std::nullopt;
    }

    Request const& m_request;
    std::string m_lacking;
};

/// The name of the program that a process runs, while it is there.
std::string nameOf(Peer const& peer)
{
    std::string name;
    std::getline(std::ifstream("/proc/" + std::to_string(peer.process) + "/comm"), name);
    return name;
}

} // namespace

int runFor(Invocation const& holder, Sender const& sender, Console& console, Words const& words,
           std::shared_ptr<Watcher>& watcher)
{
    Invocation invocation;
    invocation.console = &console;
    invocation.options.dataDirectory = holder.options.dataDirectory;
    invocation.workbench = holder.workbench;
    invocation.feed = holder.feed;
    invocation.place = Place::Holder;
    invocation.user = sender.user;
    invocation.process = sender.process;
    invocation.door = sender.door;
    // The library's errors reach the command that caused them, when it wants them.
    bool const isWanted = std::find(words.begin(), words.end(), "--verbose") != words.end();
    LogTap::Echo const echo(holder.workbench->log(), [&console, isWanted](std::string const& line) {
        if (isWanted)
            console.err << line;
    });
    try {
        int const status = runCommand(invocation, words);
        watcher = std::move(invocation.watcher);
        return status;
    } catch (std::exception const& fault) {
        console.err << "mediadata: " << fault.what() << '\n';
    } catch (...) { // This is no thread of the application, which hence cannot catch what its callbacks throw.
        console.err << "mediadata: a callback of the application threw\n";
    }
    return exitInternal;
}

Reply answer(Invocation const& holder, Message const& message, Peer const& sender)
{
    Reply reply;
    Request request;
    std::string error;
    PieceBuffer outBuffer(reply.messages, "out");
    PieceBuffer errBuffer(reply.messages, "err");
    std::ostream out(&outBuffer);
    std::ostream err(&errBuffer);
    int status = exitUsage;
    if (parseRequest(message, request, error)) {
        SendersConsole console(request, out, err);
        status = runFor(holder, {userName(sender.user), nameOf(sender)}, console, request.words, reply.watcher);
        if (console.lacksInput())
            return {{{"ask", console.lacking()}}, nullptr, true};
    } else {
        err << "mediadata: " << error << '\n';
    }
    if (!reply.watcher)
        reply.messages.push_back({"end", std::to_string(status)});
    return reply;
}

} // namespace Tool

#include "report/Console.h"

#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <memory>
#include <string_view>
#include <tuple>
#include <utility>

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

namespace Tool {

namespace {

/// More than any file that the tool reads; what has no end is not read for ever.
constexpr std::size_t mostBytes = 16UL * 1024 * 1024;

/// Keeps a terminal from showing what is typed.
class Unseen {
public:
    explicit Unseen(int terminal) : m_terminal(terminal), m_changed(::tcgetattr(terminal, &m_before) == 0)
    {
        auto silent = m_before;
        silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        silent.c_lflag |= ECHONL;
        m_changed = m_changed && ::tcsetattr(terminal, TCSAFLUSH, &silent) == 0;
    }
    ~Unseen()
    {
        if (m_changed)
            ::tcsetattr(m_terminal, TCSAFLUSH, &m_before);
    }
    Unseen(Unseen const&) = delete;
    Unseen& operator=(Unseen const&) = delete;

private:
    int m_terminal;
    termios m_before{};
    bool m_changed;
};

} // namespace

bool Console::read(std::string const& file, std::string& text) const
{
    if (auto const found = m_files.find(file); found != m_files.end()) {
        text = found->second.value_or("");
        return found->second.has_value();
    }
    std::ifstream opened;
    if (file != "-")
        opened.open(directory / file, std::ios::binary);
    std::istream& input = file == "-" ? std::cin : opened;
    // Read in pieces: a stream that cannot be read, such as a directory, says so only there.
    text.clear();
    std::array<char, 4096> piece;
    while (text.size() <= mostBytes && (input.read(piece.data(), piece.size()) || input.gcount() > 0))
        text.append(piece.data(), static_cast<std::size_t>(input.gcount()));
    return input.eof() && !input.bad();
}

OtherTelephone Console::readDirectory(std::string const& name) const
{
    auto const found = m_directories.find(name);
    return found != m_directories.end() ? found->second : Tool::readDirectory(directory / name);
}

std::optional<std::string> Console::passphrase(std::string const& prompt) const
{
    if (auto const found = m_passphrases.find(prompt); found != m_passphrases.end())
        return found->second;
    if (auto const* const given = std::getenv("MEDIADATA_PASSPHRASE"); given && *given)
        return given;
    quiet();
    std::unique_ptr<FILE, int (*)(FILE*)> const terminal(::fopen("/dev/tty", "r+e"), &::fclose);
    if (!terminal)
        return std::nullopt;
    Unseen const unseen(::fileno(terminal.get()));
    ::fputs((prompt + ": ").c_str(), terminal.get());
    ::fflush(terminal.get());
    std::string line;
    for (int c = ::fgetc(terminal.get()); c != '\n'; c = ::fgetc(terminal.get())) {
        if (c == EOF)
            return std::nullopt;
        line += static_cast<char>(c);
    }
    return line;
}

void Console::readAhead(std::string const& file)
{
    std::string text;
    m_files[file] = read(file, text) ? std::optional(std::move(text)) : std::nullopt;
}

void Console::readDirectoryAhead(std::string const& name)
{
    m_directories[name] = readDirectory(name);
}

void Console::askAhead(std::string const& prompt)
{
    m_passphrases[prompt] = passphrase(prompt);
}

void Console::progress(std::size_t done, std::size_t total)
{
    std::lock_guard const held(m_mutex);
    m_done = done;
    m_total = total;
}

void Console::quiet() const
{
    std::lock_guard const held(m_mutex);
    paint("");
    m_quiet = true;
}

/// Writes over what was painted before.
void Console::paint(std::string const& text) const
{
    if (!m_quiet && m_width + text.size() != 0)
        err << '\r' << std::string(m_width, ' ') << '\r' << text << std::flush;
    m_width = text.size();
}

ProgressLine::ProgressLine(Console& console) : m_console(console)
{
    if (!console.showsProgress)
        return;
    console.m_quiet = false;
    m_thread = std::thread([this] { run(); });
}

ProgressLine::~ProgressLine()
{
    if (!m_thread.joinable())
        return;
    m_console.quiet();
    {
        std::lock_guard const held(m_console.m_mutex);
        m_ended = true;
    }
    m_end.notify_one();
    m_thread.join();
}

void ProgressLine::run()
{
    std::unique_lock held(m_console.m_mutex);
    auto const& [done, total] = std::tie(m_console.m_done, m_console.m_total);
    for (int seconds = 1; !m_end.wait_for(held, std::chrono::seconds(1), [&] { return m_ended; }); ++seconds)
        m_console.paint(total != 0 ? std::to_string(done) + " of " + std::to_string(total) : std::to_string(seconds) + " s");
}

Console& standardConsole()
{
    static Console console(std::cout, std::cerr);
    return console;
}

void chooseColours(Console& console, std::string const& when)
{
    auto const* const refused = std::getenv("NO_COLOR");
    auto const* const terminal = std::getenv("TERM");
    bool const automatic = when == "auto" && !(refused && *refused) && terminal && std::string_view(terminal) != "dumb";
    auto const colours = [&](int stream) { return when == "always" || (automatic && ::isatty(stream) == 1); };
    console.colourOut = colours(STDOUT_FILENO);
    console.colourErr = colours(STDERR_FILENO);
    console.outIsTerminal = ::isatty(STDOUT_FILENO) == 1;
    console.showsProgress = ::isatty(STDERR_FILENO) == 1;
}

} // namespace Tool

#include "report/Console.h"

#include "report/ProgressLine.h"
#include "report/Text.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <memory>
#include <string_view>
#include <utility>

#include <fcntl.h>
#include <sys/ioctl.h>
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

FileContent contentOf(std::string const& file, std::filesystem::path const& directory)
{
    errno = 0;
    std::ifstream opened;
    if (file != "-")
        opened.open(directory / file, std::ios::binary);
    std::istream& input = file == "-" ? std::cin : opened;
    // Read in pieces: a stream that cannot be read, such as a directory, says so only there.
    std::string text;
    std::array<char, 4096> piece;
    while (text.size() <= mostBytes && (input.read(piece.data(), piece.size()) || input.gcount() > 0))
        text.append(piece.data(), static_cast<std::size_t>(input.gcount()));
    if (input.eof() && !input.bad())
        return {std::move(text)};
    return {{},
            text.size() > mostBytes ? fmt::format("is longer than {} bytes", mostBytes)
            : errno != 0            ? fmt::format("cannot be read: {}", std::strerror(errno))
                                    : FileContent().reason};
}

/// A line from the terminal; nothing when there is none.
std::optional<std::string> typed(std::string const& prompt, bool isSecret)
{
    std::unique_ptr<FILE, int (*)(FILE*)> const terminal(::fopen("/dev/tty", "r+e"), &::fclose);
    if (!terminal)
        return std::nullopt;
    std::optional<Unseen> unseen;
    if (isSecret)
        unseen.emplace(::fileno(terminal.get()));
    ::fputs(prompt.c_str(), terminal.get());
    ::fflush(terminal.get());
    std::string line;
    for (int c = ::fgetc(terminal.get()); c != '\n'; c = ::fgetc(terminal.get())) {
        if (c == EOF)
            return std::nullopt;
        line += static_cast<char>(c);
    }
    return line;
}

/// A line of the standard input, byte by byte: what follows may be meant for others.
std::optional<std::string> nextLine()
{
    std::string line;
    char next = 0;
    while (::read(STDIN_FILENO, &next, 1) == 1) {
        if (next == '\n')
            return line;
        line += next;
    }
    return line.empty() ? std::nullopt : std::optional(std::move(line));
}

} // namespace

FileContent Console::read(std::string const& file)
{
    if (auto const found = m_files.find(file); found != m_files.end())
        return found->second;
    auto content = contentOf(file, directory);
    if (gathersAhead)
        m_files[file] = content;
    return content;
}

OtherTelephone Console::readDirectory(std::string const& name)
{
    if (auto const found = m_directories.find(name); found != m_directories.end())
        return found->second;
    auto telephone = Tool::readDirectory(directory / name);
    if (gathersAhead)
        m_directories[name] = telephone;
    return telephone;
}

std::optional<std::string> Console::passphrase(std::string const& prompt)
{
    if (auto const found = m_passphrases.find(prompt); found != m_passphrases.end())
        return found->second;
    if (auto const* const given = std::getenv("MEDIADATA_PASSPHRASE"); given && *given)
        return given;
    quiet();
    auto line = typed(prompt + ": ", true);
    if (gathersAhead)
        m_passphrases[prompt] = line;
    return line;
}

std::optional<std::string> Console::secret(std::string const& prompt)
{
    if (auto const found = m_passphrases.find(prompt); found != m_passphrases.end())
        return found->second;
    quiet();
    auto line = ::isatty(STDIN_FILENO) == 1 ? typed(prompt + ": ", true) : nextLine();
    if (gathersAhead)
        m_passphrases[prompt] = line;
    return line;
}

bool Console::confirm(std::string const& question)
{
    if (::isatty(STDIN_FILENO) != 1)
        return false;
    quiet();
    auto const answer = typed("mediadata: " + escaped(question) + " [y/N] ", false).value_or("");
    return answer == "y" || answer == "Y" || answer == "yes";
}

void Console::forget()
{
    m_files.clear();
    m_directories.clear();
    m_passphrases.clear();
}

void Console::quiet()
{
    if (m_progress)
        m_progress->quiet();
}

Console& standardConsole()
{
    static Console console(std::cout, std::cerr);
    return console;
}

namespace {

/// COLUMNS, else the terminal's, else what it is by itself.
std::size_t widthOfOutput(std::size_t otherwise)
{
    constexpr std::size_t narrowest = 20;
    std::size_t columns = 0;
    if (auto const* const named = std::getenv("COLUMNS"))
        std::from_chars(named, named + std::strlen(named), columns);
    winsize size{};
    if (columns == 0 && ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0)
        columns = size.ws_col;
    return columns == 0 ? otherwise : std::max(columns, narrowest);
}

} // namespace

void chooseColours(Console& console, std::string const& when)
{
    auto const* const refused = std::getenv("NO_COLOR");
    auto const* const terminal = std::getenv("TERM");
    bool const automatic = when == "auto" && !(refused && *refused) && terminal && std::string_view(terminal) != "dumb";
    auto const colours = [&](int stream) { return when == "always" || (automatic && ::isatty(stream) == 1); };
    console.colourOut = colours(STDOUT_FILENO);
    console.colourErr = colours(STDERR_FILENO);
    console.outIsTerminal = ::isatty(STDOUT_FILENO) == 1;
    console.columns = widthOfOutput(console.columns);
    console.showsProgress = ::isatty(STDERR_FILENO) == 1;
}

} // namespace Tool

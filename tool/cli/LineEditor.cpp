#include "cli/LineEditor.h"

#include "cli/Completion.h"
#include "cli/SplitWords.h"

#include <editline/readline.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <memory>
#include <utility>

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

namespace Tool {

namespace {

/// What the callbacks work for.
LineEditor* editor = nullptr;

/// What is offered for the word that is being typed.
Words offered;

} // namespace

char* LineEditor::nextOffer(char const*, int state)
{
    static std::size_t next = 0;
    if (state == 0)
        next = 0;
    return next < offered.size() ? ::strdup(offered[next++].c_str()) : nullptr;
}

char** LineEditor::complete(char const* text, int start, int)
{
    Words before;
    splitWords(std::string(rl_line_buffer, static_cast<std::size_t>(start)), before);
    offered = completions(before, text, Place::Shell);
    // A value follows at once after "ITEM=", a blank after everything else.
    rl_completion_append_character = !offered.empty() && offered.front().ends_with('=') ? 0 : static_cast<int>(' ');
    rl_attempted_completion_over = 1;
    return rl_completion_matches(text, nextOffer);
}

/// Waits for a key. The library calls it until there is one.
int LineEditor::awaitKeyOrNews()
{
    std::array<pollfd, 3> waiting{
        {{STDIN_FILENO, POLLIN, 0}, {editor->m_event.get(), POLLIN, 0}, {editor->m_end, POLLIN, 0}}};
    ::poll(waiting.data(), waiting.size(), -1);
    if (waiting[2].revents != 0)
        editor->takeSignal();
    editor->printNews();
    return 0;
}

/// The library gives the line up when nobody waits for keys.
void LineEditor::takeSignal()
{
    signalfd_siginfo signal{};
    m_isBroken = ::read(m_end, &signal, sizeof signal) == sizeof signal && signal.ssi_signo == SIGINT;
    rl_event_hook = nullptr;
}

LineEditor::LineEditor(int end)
    : m_end(end), m_isTerminal(::isatty(STDIN_FILENO) == 1), m_event(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
    editor = this;
    if (!m_isTerminal)
        return;
    static char blanks[] = " \t";
    rl_basic_word_break_characters = blanks;
    rl_completer_word_break_characters = blanks;
    rl_attempted_completion_function = complete;
    rl_initialize();
    using_history();
    std::cout << "All verbs of mediadata; also watch [PATTERN | off], help, exit. The tabulator key completes.\n";
}

LineEditor::~LineEditor()
{
    rl_event_hook = nullptr;
    editor = nullptr;
}

bool LineEditor::read(std::string& line, std::string const& prompt)
{
    if (!m_isTerminal)
        return readFromPipe(line);
    std::unique_ptr<char, decltype(&std::free)> text(nullptr, &std::free);
    do {
        m_isBroken = false;
        rl_event_hook = awaitKeyOrNews;
        text.reset(::readline(prompt.c_str()));
        if (m_isBroken && !text)
            std::cout << "^C\n" << std::flush;
    } while (m_isBroken && !text);
    if (text)
        line = text.get();
    return text != nullptr;
}

/// Byte by byte: what follows may be meant for the line's own command, as with "set --file -".
bool LineEditor::readFromPipe(std::string& line) const
{
    line.clear();
    for (char next = 0; next != '\n';) {
        std::array<pollfd, 2> waiting{{{STDIN_FILENO, POLLIN, 0}, {m_end, POLLIN, 0}}};
        if (::poll(waiting.data(), waiting.size(), -1) > 0 && waiting[1].revents != 0)
            return false;
        auto const got = ::read(STDIN_FILENO, &next, 1);
        if (got > 0 && next != '\n')
            line += next;
        else if (got == 0 || (got < 0 && errno != EINTR))
            return !line.empty();
    }
    return true;
}

void LineEditor::remember(std::string const& line) const
{
    if (m_isTerminal)
        add_history(line.c_str());
}

void LineEditor::tell(std::string const& lines)
{
    if (!m_isTerminal || std::this_thread::get_id() == m_own) {
        std::cout << lines << std::flush;
        return;
    }
    Threads::Lock const held(m_mutex);
    m_news += lines;
    std::uint64_t const one = 1;
    [[maybe_unused]] auto const written = ::write(m_event.get(), &one, sizeof one);
}

void LineEditor::printNews()
{
    std::uint64_t count = 0;
    if (::read(m_event.get(), &count, sizeof count) < 0)
        return;
    Threads::Lock const held(m_mutex);
    std::cout << "\r\x1b[K" << std::exchange(m_news, "") << std::flush;
    rl_forced_update_display();
}

} // namespace Tool

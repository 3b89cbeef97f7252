// The lines that a person types, or that come from a pipe: at a terminal with editing, history and completion, and with news
// printed above the line that is being typed.
#pragma once

#include "AnnotatedMutex.h"
#include "Files.h"

#include <string>
#include <thread>

namespace Tool {

/// Of the process's standard input and output; one at a time, for the thread that makes it.
class LineEditor {
public:
    /// The input ends, too, when the descriptor `end` can be read: that of EndSignals. At a terminal a break (Ctrl-C) only takes the
    /// line away that is being typed.
    explicit LineEditor(int end);
    ~LineEditor();
    LineEditor(LineEditor const&) = delete;
    LineEditor& operator=(LineEditor const&) = delete;

    /// False at the end of the input.
    bool read(std::string& line, std::string const& prompt);

    /// The cursor keys call the line back.
    void remember(std::string const& line) const;

    /// Prints whole lines; may be called on any thread.
    void tell(std::string const& lines) MEDIADATA_EXCLUDES(m_mutex);

private:
    // The editing library's callbacks take no context.
    static char** complete(char const* text, int start, int end);
    static char* nextOffer(char const* text, int state);
    static int awaitKeyOrNews();

    void takeSignal();
    bool readFromPipe(std::string& line) const;
    void printNews() MEDIADATA_EXCLUDES(m_mutex);

    int const m_end;
    bool const m_isTerminal;
    std::thread::id const m_own = std::this_thread::get_id();
    bool m_isBroken = false;      ///< the line was taken away
    Host::FileDescriptor m_event; ///< readable: there is news
    Threads::Mutex m_mutex;
    std::string m_news MEDIADATA_GUARDED_BY(m_mutex); ///< of other threads, while a line is typed
};

} // namespace Tool

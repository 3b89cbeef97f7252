// How long a command takes, on the error stream of its console: a terminal shows it from the second second on.
#pragma once

#include "AnnotatedMutex.h"

#include <cstddef>
#include <string>
#include <thread>

namespace Tool {

class Console;

/// Shows it as long as it lives; nothing where the console shows none.
class ProgressLine {
public:
    /// `doing` stands before the time.
    explicit ProgressLine(Console& console, std::string const& doing = {});
    ~ProgressLine();
    ProgressLine(ProgressLine const&) = delete;
    ProgressLine& operator=(ProgressLine const&) = delete;

    /// How far the command is: shown with the time that it took, as a bar.
    void tell(std::string const& what, std::size_t done, std::size_t all, std::string const& remark)
        MEDIADATA_EXCLUDES(m_mutex);

    /// Takes away what is shown, and shows no more.
    void quiet() MEDIADATA_EXCLUDES(m_mutex);

private:
    void run() MEDIADATA_EXCLUDES(m_mutex);
    void paint(std::string const& text) MEDIADATA_REQUIRES(m_mutex);

    Console& m_console;
    Threads::Mutex m_mutex; ///< guards what is written as well
    Threads::Condition m_end;
    bool m_ended MEDIADATA_GUARDED_BY(m_mutex) = false;
    bool m_quiet MEDIADATA_GUARDED_BY(m_mutex) = false;
    std::string m_told MEDIADATA_GUARDED_BY(m_mutex);
    std::size_t m_width MEDIADATA_GUARDED_BY(m_mutex) = 0;
    std::thread m_thread;
};

} // namespace Tool

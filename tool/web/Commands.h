// The thread that works with the telephone for requests: the loop of the connections never waits for it.
#pragma once

#include "cli/Invocation.h"
#include "web/Http.h"
#include "web/Routes.h"

#include "AnnotatedMutex.h"
#include "Files.h"

#include <deque>
#include <functional>
#include <thread>

namespace Tool::Web {

/// Runs a command in the process that holds the telephone, which has the turn, and answers what it says.
Answer run(Invocation const& holder, Command const& command);

class Commands {
public:
    /// What is left to be done on the loop's thread.
    using Done = std::function<void()>;
    /// Done on the worker's thread, which has the turn.
    using Work = std::function<Done()>;

    explicit Commands(Threads::Mutex& turn);
    /// Lets the running work end; what waits is not begun.
    ~Commands();
    Commands(Commands const&) = delete;
    Commands& operator=(Commands const&) = delete;

    void post(Work work) MEDIADATA_EXCLUDES(m_mutex);

    /// Readable when finish() has something to do.
    int descriptor() const { return m_event.get(); }
    void finish() MEDIADATA_EXCLUDES(m_mutex);

private:
    void work() MEDIADATA_EXCLUDES(m_mutex);

    Threads::Mutex& m_turn;
    Host::FileDescriptor m_event;
    Threads::Mutex m_mutex;
    Threads::Condition m_wanted;
    std::deque<Work> m_waiting MEDIADATA_GUARDED_BY(m_mutex);
    std::deque<Done> m_done MEDIADATA_GUARDED_BY(m_mutex);
    bool m_ending MEDIADATA_GUARDED_BY(m_mutex) = false;
    std::thread m_thread;
};

} // namespace Tool::Web

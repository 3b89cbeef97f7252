// The log of this process on its way to standard error: a line a message. The library answers some questions only by refusing:
// what it says then can be dropped or held back for a while.
#pragma once

#include "AnnotatedMutex.h"

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace Tool {

/// For any thread: the library logs on the one that works. Until takeOver() the log goes where it went.
class LogTap {
public:
    /// What it has taken over goes to standard error only where somebody wants it.
    explicit LogTap(bool isWanted = true) : m_isWanted(isWanted) {}
    ~LogTap();
    LogTap(LogTap const&) = delete;
    LogTap& operator=(LogTap const&) = delete;

    /// Takes the host's log, and gives it back when the object goes. One tap of a process does.
    void takeOver();

    /// Drops what is logged while it lives.
    class Mute {
    public:
        explicit Mute(LogTap& log);
        ~Mute();
        Mute(Mute const&) = delete;
        Mute& operator=(Mute const&) = delete;

    private:
        LogTap& m_log;
    };

    /// Sends the errors that are logged while it lives also to somebody whose command runs. `sender` must not log.
    class Echo {
    public:
        using Sender = std::function<void(std::string const& line)>;

        Echo(LogTap& log, Sender sender);
        ~Echo();
        Echo(Echo const&) = delete;
        Echo& operator=(Echo const&) = delete;

    private:
        LogTap& m_log;
    };

    /// Holds back what is logged while it lives, then tells it.
    class Hold {
    public:
        explicit Hold(LogTap& log);
        ~Hold();
        Hold(Hold const&) = delete;
        Hold& operator=(Hold const&) = delete;

        bool hasLines() const;

        /// Drops the last `count` messages that came in a row from one place of the source. Nothing is dropped when there are
        /// not so many.
        void drop(std::size_t count);

    private:
        LogTap& m_log;
    };

private:
    struct Message {
        int level;
        std::string place; ///< in the source
        std::string text;
    };

    void onMessage(Message message);
    void tell(Message const& message) MEDIADATA_REQUIRES(m_mutex);

    bool const m_isWanted;
    bool m_isTaken = false; ///< for the owner's thread
    mutable Threads::Mutex m_mutex;
    int m_mutes MEDIADATA_GUARDED_BY(m_mutex) = 0;
    int m_holds MEDIADATA_GUARDED_BY(m_mutex) = 0;
    std::vector<Message> m_held MEDIADATA_GUARDED_BY(m_mutex);
    Echo::Sender m_sender MEDIADATA_GUARDED_BY(m_mutex);
};

} // namespace Tool

// The connections: libmicrohttpd, driven by the caller's loop, with deadlines of our own. A connection waits suspended while its
// command runs or while there is no event; none has a thread.
#pragma once

#include "cli/Invocation.h"
#include "web/Commands.h"
#include "web/Events.h"
#include "web/Site.h"

#include "Files.h"

#include <chrono>
#include <list>
#include <memory>
#include <string>

struct MHD_Daemon;

namespace Tool::Web {

struct DaemonOptions {
    Host::FileDescriptor socket; ///< listens already
    std::string certificate;     ///< PEM; empty: no TLS
    std::string key;
};

class Daemon {
public:
    using Clock = std::chrono::steady_clock;

    /// What it is given lives longer. Null with `error`.
    static std::unique_ptr<Daemon> start(DaemonOptions options, Site& site, Commands& commands, Events& events,
                                         Invocation const& holder, std::string& error);
    /// The commands have ended, and events and commands know no stream any more.
    ~Daemon();
    Daemon(Daemon const&) = delete;
    Daemon& operator=(Daemon const&) = delete;

    /// Readable when run() has something to do.
    int descriptor() const;
    /// Does what can be done without waiting, and answers when it wants to be called at the latest.
    Clock::time_point run();

private:
    friend class Callbacks;
    friend struct Exchange;
    struct Peer;

    Daemon(Site& site, Commands& commands, Events& events, Invocation const& holder);
    static void end(Peer& peer);
    void endOverdue(Clock::time_point now);
    void endOldestIdle();

    Site& m_site;
    Commands& m_commands;
    Events& m_events;
    Invocation const& m_holder;
    std::string m_certificate;
    std::string m_key;
    std::list<Peer> m_peers;
    std::size_t m_bodies = 0; ///< bytes of all bodies that are in memory
    bool m_hasRoom = false;   ///< a connection has ended
    MHD_Daemon* m_daemon = nullptr;
};

} // namespace Tool::Web

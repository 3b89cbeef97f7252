// A telephone under the tool's hands: a running library over one data directory, and what the verbs keep beside it.
#pragma once

#include "workbench/Journal.h"
#include "workbench/LogTap.h"
#include "workbench/StorageFailures.h"
#include "workbench/Values.h"

#include <cstddef>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace Host {
class ManagementService;
class Platform;
} // namespace Host

namespace Tool {

class ScratchDirectory;

/// What is to become of a data directory in which there is no telephone.
enum class Missing {
    Make,
    Refuse,
    Rehearse, ///< one elsewhere stands for it, with the defaults, and goes away
};

struct Options {
    std::filesystem::path dataDirectory;
    std::optional<int> logLevel = {}; ///< nothing: errors when they are wanted, save those that mean nothing
    bool verbose = false;             ///< errors are logged
    bool showSecrets = false;
    bool json = false;
    Missing missing = Missing::Make;
};

/// Whether there is a telephone in the data directory, be it a damaged one.
bool hasTelephone(std::filesystem::path const& dataDirectory);

/// For one thread at a time.
class Workbench {
public:
    /// Starts the library, and ends it with the object. Null, with the reason in `error`, when the data directory cannot be
    /// used. `inUse` says that another process holds it. The process's log is the workbench's meanwhile.
    static std::unique_ptr<Workbench> open(Options const& options, std::string& error, bool& inUse);

    /// Works on the library that runs over `platform` already. It starts and ends nothing, and leaves log and management agent
    /// alone; the library and the platform outlive it.
    static std::unique_ptr<Workbench> attach(Host::Platform& platform, Options const& options = {});

    ~Workbench();
    Workbench(Workbench const&) = delete;
    Workbench& operator=(Workbench const&) = delete;

    Options const& options() const { return m_options; }
    void showSecrets(bool show) { m_options.showSecrets = show; }
    bool isNew() const { return m_isNew; } ///< there was no telephone before
    bool isAttached() const { return !m_opened; }
    Host::Platform& platform() { return m_platform; }
    Host::ManagementService& service();

    /// Lets the service report what was requested of it, as a telephone's does in time of its own. In an application that is
    /// left to whoever runs the application's service.
    void dispatchRequests();

    LogTap& log() { return *m_log; }
    StorageFailures& storage() { return m_storage; }

    /// Whom a long change tells how many of its values are stored; empty: nobody.
    std::function<void(std::size_t done, std::size_t all)> progress = {};

    /// The journal of changes.
    Journal& journal() { return m_journal; }

    /// Runs `action` and drops what is logged meanwhile: for questions that the library answers by refusing.
    template <class Action> auto quietly(Action action)
    {
        LogTap::Mute const mute(*m_log);
        return action();
    }

private:
    struct Opened;

    Workbench(Options options, std::unique_ptr<LogTap> log, std::unique_ptr<Opened> opened, Host::Platform& platform);
    void start();

    Options m_options;
    std::unique_ptr<LogTap> m_log;
    std::unique_ptr<Opened> m_opened; ///< null: attached
    Host::Platform& m_platform;
    StorageFailures m_storage;
    bool m_isNew = false;
    Journal m_journal{*this};
};

} // namespace Tool

// One running library over one data directory: opened by the first verb that needs values, closed at the end of the process.
#pragma once

#include "report/Report.h"
#include "workbench/Journal.h"

#include "Data/DataTypes.h"
#include "Data/DataUpdateCallback.h"

#include <atomic>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace Host {
class ManagementService;
class Platform;
} // namespace Host

namespace Tool {

struct Options {
    std::filesystem::path dataDirectory;
    std::optional<int> logLevel = {}; ///< nothing: errors, save those that mean nothing
    bool showSecrets = false;
    bool json = false;
    bool dryRun = false; ///< a data directory that is missing is not made
};

/// One value that a callback heard of, secrets not yet masked.
struct HeardChange {
    Data::eDataTag tag;
    Json value;
};

class Workbench {
public:
    using Listener = std::function<void(std::vector<HeardChange> const&)>;

    /// Starts the library. Null, with the reason in `error`, when the data directory cannot be used.
    /// `inUse` says that another process holds it.
    static std::unique_ptr<Workbench> open(Options const& options, std::string& error, bool& inUse);
    ~Workbench();
    Workbench(Workbench const&) = delete;
    Workbench& operator=(Workbench const&) = delete;

    Options const& options() const { return m_options; }
    void showSecrets(bool show) { m_options.showSecrets = show; }
    Host::Platform& platform() { return *m_platform; }
    Host::ManagementService& service();

    /// What the registered callback hears from now on goes to `listener`, on the thread that made the change. Answers the
    /// listener before it.
    Listener listen(Listener listener);

    /// The messages of the library's errors since the last call, secrets masked.
    std::vector<std::string> takeErrors();

    /// Whether the database refused a write since the last call. Not every answer of the library tells.
    bool takeStorageFailure();

    /// Sends what takeErrors() would answer also to `sender`; null ends it.
    void echoErrors(std::ostream* sender);

    /// The journal of changes.
    Journal& journal() { return m_journal; }

    /// Runs `action` and drops what is logged meanwhile: for questions that the library answers by refusing.
    template <class Action> auto quietly(Action action)
    {
        m_quiet = true;
        auto result = action();
        m_quiet = false;
        return result;
    }

    /// Keeps a secret out of the log lines, in which the library quotes values that it refuses.
    void hideInLog(std::string const& secret);

private:
    /// The library reaches a removed callback still through all items but one, so it is registered once and lives longer
    /// than the cache.
    class Callback : public DataUpdateCallback {
    public:
        void onDataUpdate(Data::BulkData& changes) override;
        Listener listener;
    };

    explicit Workbench(Options options);
    std::string withoutSecrets(std::string text) const;
    void onLogLine(int level, std::string const& place, std::string const& text);

    Options m_options;
    bool const m_logsSecrets;
    std::set<std::string> const m_meaningless; ///< errors that are none, told only to who asks for a log
    std::filesystem::path m_scratch;           ///< stands for the missing data directory of a dry run
    std::unique_ptr<Host::Platform> m_platform;
    std::unique_ptr<Callback> m_callback;
    std::mutex m_logMutex; ///< guards what follows: the library logs on the thread that works
    std::vector<std::string> m_errors;
    bool m_storageFailed = false;
    std::vector<std::string> m_secrets;
    std::atomic<bool> m_quiet = false;
    Journal m_journal{*this};
    std::ostream* m_sender = nullptr;
};

/// The current value by the item's own type; nothing when it cannot be read.
std::optional<Json> readValue(Data::eDataTag tag);

} // namespace Tool

// The platform of a workstation: everything the library asks of a telephone, kept in one data directory.
#pragma once

#include "AnnotatedMutex.h"
#include "Author.h"
#include "DeviceProfile.h"
#include "FailedWrite.h"
#include "ManagementService.h"
#include "StorageGroup.h"
#include "SvcRTEContext.h"

#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace Host {

class Database;
class DataDirectory;
class SecretBox;

struct Options {
    std::string directory;
    std::optional<int> logLevel; // default: the environment's MEDIADATA_LOG, or else errors only
};

/// The context to start the library with. One exists per process at a time, since the platform's static functions
/// (platformPath, HardwareVersion, DasCrypt) answer for it. Destroy everything built from it first.
class Platform : public SvcRTEContext, public StorageGroup {
public:
    /// Takes the data directory into possession, making what is missing. Null with `error` naming the thing that prevents
    /// it; `inUse`, when given, tells whether that is another process that has the directory.
    static std::unique_ptr<Platform> open(Options const& options, std::string& error, bool* inUse = nullptr);
    ~Platform() override;
    Platform(Platform const&) = delete;
    Platform& operator=(Platform const&) = delete;

    /// The process's platform, or null. The pointer is good until the platform is destroyed.
    static Platform* current();

    /// Knows "LocalMgmtIfc", which is management().
    Executable* findService(std::string const& name) override;

    bool beginGroup() override;
    bool endGroup() override;

    Database& database() { return *m_database; }
    ManagementService& management() { return *m_management; }
    SecretBox const& secrets() const { return *m_secrets; }
    DataDirectory const& files() const { return *m_directory; }

    /// The data directory's absolute path, and that of a telephone's file in it.
    std::string const& directory() const;
    std::string pathOf(std::string const& telephonePath) const;

    /// What open() had to mend or to warn of, in sentences for people.
    std::vector<std::string> const& notices() const { return m_notices; }

    /// The values that the database did not store since the last call: whatever made a DataStorage of this platform answer
    /// false to a write (a row that is not well-formed or out of place, a table behind it, a whole table written as a value,
    /// SQLite, a full disk), and the platform's own items. A write that failed stays listed when a later one succeeds; the
    /// list ends at `failedWriteLimit`. Encrypting a secret before its write does not fail while there is a platform. For any
    /// thread.
    std::set<FailedWrite> takeFailedWrites();

    /// Since the last call SQLite failed at something, be it a read, a write or the service's journal; `reason`, when
    /// given, says at what. For any thread.
    bool takeDatabaseError(std::string* reason = nullptr);

    /// Names who does what the calling thread changes from now on, for the history; nothing: this process, as an application.
    void author(std::optional<Author> author);

    /// The database holds a text for this secret that the key does not open: it was altered, or another key encrypted it. The
    /// library then has that text for its value, or its default where the item does not take the text. For any thread.
    bool isUndeciphered(std::string const& schema, std::string const& element);

    DeviceProfile deviceProfile() const;

    /// The profile of the process's platform. Without one: an ordinary model without USB.
    static DeviceProfile currentProfile();

    /// Durable when true; false leaves the profile as it was. A running library notices with the next change that it makes.
    bool setDeviceProfile(DeviceProfile const& profile);

private:
    Platform();
    bool take(Options const& options, std::string& error);
    bool prepareFlagFile(std::string& error) const;
    void readDeviceProfile();

    std::vector<std::string> m_notices;
    // In the order in which they need each other: the directory's lock goes last.
    std::unique_ptr<DataDirectory> m_directory;
    std::unique_ptr<SecretBox> m_secrets;
    std::unique_ptr<Database> m_database;
    std::unique_ptr<ManagementService> m_management;

    mutable Threads::Mutex m_mutex; // taken before the database's
    DeviceProfile m_profile MEDIADATA_GUARDED_BY(m_mutex);
};

} // namespace Host

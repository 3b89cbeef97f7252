// Opens the parts of the host platform in the order in which they need each other.
#include "seam/HostPlatform.h"

#include "ClientUtils.h"
#include "Files.h"
#include "mending/DatabaseMending.h"
#include "seam/HostLog.h"
#include "seam/LockMark.h"
#include "secrets/SecretBox.h"
#include "service/ManagementService.h"
#include "store/Database.h"

#include <fcntl.h>

#include <array>
#include <atomic>
#include <exception>
#include <utility>

#define UNIT "HostPlatform"

namespace Host {

namespace {

constexpr char const* flagFolder = "data/database";
constexpr char const* flagFile = "data/database/media_config";
std::string const deviceSchema = "@device";

std::atomic<Platform*> g_current = nullptr;

} // namespace

Platform::Platform() : m_directory(std::make_unique<DataDirectory>()) {}

Platform::~Platform()
{
    Platform* self = this;
    g_current.compare_exchange_strong(self, nullptr);
}

Platform* Platform::current()
{
    return g_current;
}

std::unique_ptr<Platform> Platform::open(Options const& options, std::string& error, bool* inUse)
{
    std::unique_ptr<Platform> platform(new Platform);
    if (options.logLevel)
        setLogLevel(*options.logLevel);
    bool taken = false;
    // The standard library's, for want of memory: nothing below throws itself, and nothing above is to be met by one.
    try {
        taken = platform->take(options, error);
    } catch (std::exception const& exception) {
        error = "data directory " + options.directory + ": " + exception.what();
    }
    if (inUse != nullptr)
        *inUse = platform->m_directory->isInUse();
    if (!taken)
        return nullptr;
    Platform* none = nullptr;
    if (!g_current.compare_exchange_strong(none, platform.get())) {
        error = "this process already uses the data directory " + none->directory();
        return nullptr;
    }
    return platform;
}

bool Platform::take(Options const& options, std::string& error)
{
    bool newKey = false;
    if (!m_directory->open(options.directory, error) || !prepareFlagFile(error))
        return false;
    m_secrets = SecretBox::open(*m_directory, newKey, error);
    if (m_secrets == nullptr)
        return false;
    m_database = openDatabase(*m_directory, m_notices, error);
    if (m_database == nullptr)
        return false;
    m_database->keepHistoryIn(*m_directory);
    if (int const lost = newKey ? m_database->countValues(std::string(SecretBox::prefix)) : 0; lost > 0) {
        m_notices.push_back("the key file was missing: " + std::to_string(lost) +
                            " secrets can no longer be read and have to be set again");
        HOST_LOG_ERROR(UNIT, m_notices.back());
    }
    m_management = std::make_unique<ManagementService>(*m_database, *m_secrets);
    readDeviceProfile();
    return true;
}

/// The folder exists, so that people can put the file there; the file itself need not.
bool Platform::prepareFlagFile(std::string& error) const
{
    if (!m_directory->makeFolder(flagFolder, error))
        return false;
    DataDirectory::State const state = m_directory->look(flagFile, error);
    return state == DataDirectory::State::absent ||
           (state == DataDirectory::State::present && m_directory->openFile(flagFile, O_RDONLY, error));
}

Executable* Platform::findService(std::string const& name)
{
    return name == "LocalMgmtIfc" ? m_management.get() : nullptr;
}

bool Platform::beginGroup()
{
    bool const begun = m_database->beginGroup();
    if (begun)
        changeLockMark();
    return begun;
}

bool Platform::endGroup()
{
    changeLockMark();
    return m_database->endGroup();
}

std::string const& Platform::directory() const
{
    return m_directory->path();
}

std::string Platform::pathOf(std::string const& telephonePath) const
{
    return directory() + (telephonePath.starts_with('/') ? "" : "/") + telephonePath;
}

std::set<FailedWrite> Platform::takeFailedWrites()
{
    return m_database->takeFailedWrites();
}

bool Platform::takeDatabaseError(std::string* reason)
{
    auto error = m_database->takeError();
    bool const isFaulty = !error.empty();
    if (isFaulty && reason != nullptr)
        *reason = std::move(error);
    return isFaulty;
}

void Platform::author(std::optional<Author> author)
{
    m_database->author(std::move(author));
}

void Platform::readDeviceProfile()
{
    Threads::Lock const lock(m_mutex);
    modelNamed(m_database->read(deviceSchema, "model").value_or(""), m_profile.model);
    m_profile.usb = ClientUtils::stob(m_database->read(deviceSchema, "usb").value_or(ClientUtils::btos(m_profile.usb)));
}

bool Platform::isUndeciphered(std::string const& schema, std::string const& element)
{
    std::string ignored;
    auto const stored = m_database->read(schema, element);
    return stored && !m_secrets->decrypt(*stored, ignored);
}

DeviceProfile Platform::deviceProfile() const
{
    Threads::Lock const lock(m_mutex);
    return m_profile;
}

DeviceProfile Platform::currentProfile()
{
    Platform const* const platform = g_current;
    return platform != nullptr ? platform->deviceProfile() : DeviceProfile{DeviceProfile::Model::other, false};
}

bool Platform::setDeviceProfile(DeviceProfile const& profile)
{
    Threads::Lock const lock(m_mutex);
    std::array<StoredItem, 2> const items{
        {{deviceSchema, "model", modelName(profile.model)}, {deviceSchema, "usb", ClientUtils::btos(profile.usb)}}};
    if (!m_database->write(items, {}))
        return false;
    m_profile = profile;
    return true;
}

} // namespace Host

#include "workbench/Workbench.h"

#include "workbench/ChangeCallback.h"
#include "workbench/Items.h"
#include "workbench/RingerCopies.h"
#include "workbench/ScratchDirectory.h"

#include "Media/MediaDataCache.h"

#include "HostPlatform.h"
#include "ManagementService.h"

#include <system_error>
#include <utility>

namespace Tool {

using Media::MediaDataCache;

/// What goes away with a workbench that opened its telephone, the last one first.
struct Workbench::Opened {
    std::optional<ScratchDirectory> scratch = {}; ///< stands for the missing data directory of a dry run
    std::unique_ptr<Host::Platform> platform = {};
};

Workbench::Workbench(Options options, std::unique_ptr<LogTap> log, std::unique_ptr<Opened> opened, Host::Platform& platform)
    : m_options(std::move(options)), m_log(std::move(log)), m_opened(std::move(opened)), m_platform(platform),
      m_storage(platform)
{}

/// What is no directory, or cannot be read, counts: opening it says what is wrong.
bool hasTelephone(std::filesystem::path const& dataDirectory)
{
    namespace fs = std::filesystem;
    std::error_code error;
    auto const type = fs::symlink_status(dataDirectory, error).type();
    if (type != fs::file_type::directory)
        return type != fs::file_type::not_found;
    fs::directory_iterator each(dataDirectory, error);
    for (; !error && each != fs::directory_iterator(); each.increment(error)) {
        if (each->path().filename().string().starts_with("mediadata.db"))
            return true;
    }
    return static_cast<bool>(error);
}

std::unique_ptr<Workbench> Workbench::open(Options const& options, std::string& error, bool& inUse)
{
    auto log = std::make_unique<LogTap>(options.verbose || options.logLevel);
    log->takeOver();
    auto opened = std::make_unique<Opened>();
    auto directory = options.dataDirectory;
    bool const isMissing = !hasTelephone(directory);
    if (isMissing && options.missing == Missing::Refuse) {
        error = "data directory " + directory.string() +
                ": has no telephone, and nothing was made; the first change makes one, or \"mediadata init\"";
        return nullptr;
    }
    if (isMissing && options.missing == Missing::Rehearse)
        directory = opened->scratch.emplace().path();
    opened->platform = Host::Platform::open({directory.string(), options.logLevel}, error, &inUse);
    if (!opened->platform)
        return nullptr;
    auto& platform = *opened->platform;
    std::unique_ptr<Workbench> workbench(new Workbench(options, std::move(log), std::move(opened), platform));
    workbench->m_isNew = isMissing && options.missing == Missing::Make;
    workbench->start();
    return workbench;
}

std::unique_ptr<Workbench> Workbench::attach(Host::Platform& platform, Options const& options)
{
    auto log = std::make_unique<LogTap>();
    std::unique_ptr<Workbench> workbench(new Workbench(options, std::move(log), nullptr, platform));
    ChangeCallback::instance().hearEverything();
    return workbench;
}

void Workbench::start()
{
    {
        auto const copies = RingerCopies::atStart(*this);
        MediaDataCache::init(m_platform);
    }
    service().setAgent(MediaDataCache::managementAgent());
    {
        auto const held = serviceValues(*this);
        auto const mobility = held.find(nameOf(Data::eDataTagMobilityDataUpdate));
        auto const copies =
            RingerCopies::atChange(*this, mobility == held.end() || mobility->second != "managed"
                                              ? TagTexts{} // not reported
                                              : TagTexts{{Data::eDataTagMobilityDataUpdate, mobility->second}});
        service().reportAll();
    }
    ChangeCallback::instance().hearEverything();
}

Workbench::~Workbench()
{
    if (!m_opened)
        return;
    service().setAgent(nullptr);
    MediaDataCache::terminate();
    m_opened->platform.reset();
}

Host::ManagementService& Workbench::service()
{
    return m_platform.management();
}

void Workbench::dispatchRequests()
{
    if (!isAttached())
        service().dispatch();
}

} // namespace Tool

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

std::unique_ptr<Workbench> Workbench::open(Options const& options, std::string& error, bool& inUse)
{
    auto log = std::make_unique<LogTap>();
    log->takeOver();
    auto opened = std::make_unique<Opened>();
    auto directory = options.dataDirectory;
    std::error_code ignored;
    if (options.dryRun &&
        std::filesystem::symlink_status(directory, ignored).type() == std::filesystem::file_type::not_found)
        directory = opened->scratch.emplace().path();
    opened->platform = Host::Platform::open({directory.string(), options.logLevel}, error, &inUse);
    if (!opened->platform)
        return nullptr;
    auto& platform = *opened->platform;
    std::unique_ptr<Workbench> workbench(new Workbench(options, std::move(log), std::move(opened), platform));
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

#include "workbench/Workbench.h"

#include "workbench/Accepted.h"
#include "workbench/Items.h"
#include "workbench/Outcomes.h"

#include "Data/BulkData.h"
#include "Media/MediaDataCache.h"

#include "HostLog.h"
#include "HostPlatform.h"
#include "ManagementService.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <list>
#include <ostream>
#include <system_error>
#include <utility>

namespace Tool {

using namespace Data;
using Media::MediaDataCache;

namespace {

constexpr int errorLevel = 2;

Json valueOf(BulkDataItem const& item)
{
    switch (item.itemType) {
    case eDataItemTypeInt:
        return item.intValue;
    case eDataItemTypeBool:
        return item.boolValue;
    default:
        return item.stringValue;
    }
}

template <class T> std::optional<Json> readAs(eDataTag tag)
{
    T value{};
    if (!MediaDataCache::getData(tag, value))
        return std::nullopt;
    return Json(std::move(value));
}

std::list<eDataTag> tagsThatAnnounce()
{
    std::list<eDataTag> tags;
    for (auto const tag : allTags()) {
        if (isHeld(tag) && typeOf(tag) != eDataItemTypeComplex)
            tags.push_back(tag);
    }
    return tags;
}

/// The library copies the general ringer into the rows of the ringing table that have no identifier, at each start and at each
/// write of the table. What a row cannot have is refused and logged each time, although nothing is lost.
std::set<std::string> linesOfGeneralRinger()
{
    std::set<std::string> lines;
    for (auto const& [general, row] : {std::pair(eDataTagRingerMelody, eDataTagRingerMelody0),
                                       std::pair(eDataTagRingerToneSequence, eDataTagRingerTone0)}) {
        for (auto const& value : legalValues(general)) {
            std::string reason;
            if (validate(row, value, reason).is_null())
                lines.insert(fmt::format("DataCache::setDataValues - ERR invalid value '{}' given! '{}'", value, reason));
        }
    }
    return lines;
}

/// A new directory; empty when none can be made.
std::filesystem::path scratchDirectory()
{
    std::error_code ignored;
    auto name = (std::filesystem::temp_directory_path(ignored) / "mediadata.XXXXXX").string();
    return ::mkdtemp(name.data()) ? name : "";
}

} // namespace

void Workbench::Callback::onDataUpdate(BulkData& changes)
{
    if (!listener)
        return;
    std::vector<HeardChange> heard;
    for (auto const& [tag, item] : changes.getTagsValues()) {
        if (item)
            heard.push_back({tag, valueOf(*item)});
    }
    listener(heard);
}

Workbench::Workbench(Options options)
    : m_options(std::move(options)), m_logsSecrets(m_options.showSecrets),
      m_meaningless(m_options.logLevel ? std::set<std::string>() : linesOfGeneralRinger()),
      m_callback(std::make_unique<Callback>())
{
    Host::setLogSink([this](Host::LogLine const& line) {
        onLogLine(line.level, fmt::format("{}:{}", line.sourceFile, line.line), line.text);
    });
}

std::unique_ptr<Workbench> Workbench::open(Options const& options, std::string& error, bool& inUse)
{
    std::unique_ptr<Workbench> workbench(new Workbench(options));
    auto directory = options.dataDirectory;
    std::error_code ignored;
    if (options.dryRun &&
        std::filesystem::symlink_status(directory, ignored).type() == std::filesystem::file_type::not_found)
        directory = workbench->m_scratch = scratchDirectory();
    workbench->m_platform = Host::Platform::open({directory.string(), options.logLevel}, error, &inUse);
    if (!workbench->m_platform)
        return nullptr;
    MediaDataCache::init(*workbench->m_platform);
    for (auto const tag : allTags()) {
        if (isSecret(tag))
            workbench->hideInLog(readValue(tag).value_or(Json("")).get<std::string>());
    }
    workbench->service().setAgent(MediaDataCache::managementAgent());
    workbench->service().reportAll();
    MediaDataCache::registerCallback(tagsThatAnnounce(), workbench->m_callback.get());
    return workbench;
}

Workbench::~Workbench()
{
    if (m_platform)
        service().setAgent(nullptr);
    MediaDataCache::terminate();
    m_platform.reset();
    Host::setLogSink({});
    std::error_code ignored;
    std::filesystem::remove_all(m_scratch, ignored);
}

Host::ManagementService& Workbench::service()
{
    return m_platform->management();
}

Workbench::Listener Workbench::listen(Listener listener)
{
    return std::exchange(m_callback->listener, std::move(listener));
}

std::vector<std::string> Workbench::takeErrors()
{
    std::lock_guard const held(m_logMutex);
    return std::exchange(m_errors, {});
}

bool Workbench::takeStorageFailure()
{
    std::lock_guard const held(m_logMutex);
    return std::exchange(m_storageFailed, false);
}

void Workbench::hideInLog(std::string const& secret)
{
    std::lock_guard const held(m_logMutex);
    if (!secret.empty() && std::find(m_secrets.begin(), m_secrets.end(), secret) == m_secrets.end())
        m_secrets.push_back(secret);
}

void Workbench::echoErrors(std::ostream* sender)
{
    std::lock_guard const held(m_logMutex);
    m_sender = sender;
}

std::string Workbench::withoutSecrets(std::string text) const
{
    for (auto const& secret : m_secrets) {
        for (auto at = text.find(secret); at != std::string::npos; at = text.find(secret, at + masked.size()))
            text.replace(at, secret.size(), masked);
    }
    return text;
}

void Workbench::onLogLine(int level, std::string const& place, std::string const& text)
{
    if (m_quiet || m_meaningless.contains(text))
        return;
    std::lock_guard const held(m_logMutex);
    auto const toTell = m_options.showSecrets ? text : withoutSecrets(text);
    // What somebody else's command may see is not for this process's log.
    auto const toLog = m_sender && !m_logsSecrets ? withoutSecrets(text) : toTell;
    auto const line = [&](std::string const& words) { return fmt::format("log {} {} {}\n", level, place, cellText(words)); };
    std::fputs(line(toLog).c_str(), stderr);
    if (level > errorLevel)
        return;
    m_errors.push_back(toTell);
    m_storageFailed = m_storageFailed || isStorageError(text) || place.starts_with("./platform/host/Database:");
    if (m_sender)
        *m_sender << line(toTell);
}

std::optional<Json> readValue(eDataTag tag)
{
    switch (typeOf(tag)) {
    case eDataItemTypeInt:
        return readAs<int>(tag);
    case eDataItemTypeBool:
        return readAs<bool>(tag);
    case eDataItemTypeString:
    case eDataItemTypeComplex:
        return readAs<std::string>(tag);
    default:
        return std::nullopt;
    }
}

} // namespace Tool

// Script, journal and faults of the scripted platform, and its management service.
#include "ScriptedPlatform.h"

#include "LocalMgmtIfc.h"
#include "PlatformPath.h"
#include "Seam.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace Scripted {

namespace {

std::atomic<Platform*> currentPlatform = nullptr;
std::string const flagFilePath = "/data/database/media_config";

std::string freshDirectory()
{
    std::string name = (std::filesystem::temp_directory_path() / "scripted-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) {
        std::perror("Scripted::Platform: no temporary directory");
        std::abort();
    }
    return name;
}

std::string itemName(std::string const& item, std::string const& subItem)
{
    return item == subItem ? item : item + "/" + subItem;
}

std::vector<std::string> describe(ManageableData const& record)
{
    std::vector<std::string> texts;
    for (ManageableData::Entry const& entry : record.entries())
        texts.push_back(itemName(entry.item, entry.subItem) + (entry.hasValue ? "=" + entry.value : ""));
    return texts;
}

} // namespace

std::string Call::text() const
{
    std::string line = name;
    for (std::string const& argument : arguments)
        line += " " + (argument.empty() ? std::string("\"\"") : argument);
    return result.empty() ? line : line + " -> " + result;
}

class Platform::Management : public LocalMgmtIfc {
public:
    explicit Management(Platform& platform) : m_platform(platform) {}

    bool readData(ManageableData& record) override
    {
        return Seam::truth("readData", describe(record), true, [&] {
            std::vector<ManageableData::Entry> const asked = record.entries();
            Threads::Lock const guard(m_platform.m_mutex);
            for (ManageableData::Entry const& entry : asked) {
                auto const found = m_platform.m_managementValues.find({entry.item, entry.subItem});
                if (found != m_platform.m_managementValues.end())
                    record.populate(entry.item, entry.subItem, found->second);
                else if (!m_platform.m_managementAnswersNothing)
                    m_platform.complain("readData " + itemName(entry.item, entry.subItem));
            }
            return true;
        });
    }

    bool reportChanged(ManageableData& record, std::vector<std::string> const& rootIds) override
    {
        std::vector<std::string> arguments = describe(record);
        std::string roots;
        for (std::string const& rootId : rootIds)
            roots += (roots.empty() ? "" : ",") + rootId;
        arguments.push_back("[" + roots + "]");
        return Seam::truth("reportChanged", arguments, true, [&] { return accepts("reportChanged"); });
    }

    bool requestSet(ManageableData& record) override
    {
        return Seam::truth("requestSet", describe(record), true, [&] { return accepts("requestSet"); });
    }

private:
    bool accepts(char const* operation)
    {
        Threads::Lock const guard(m_platform.m_mutex);
        if (!m_platform.m_managementAccepts)
            m_platform.complain(operation);
        return m_platform.m_managementAccepts.value_or(false);
    }

    Platform& m_platform;
};

Platform::Platform(Stored stored)
    : m_directory(freshDirectory()), m_stored(std::move(stored)), m_management(std::make_unique<Management>(*this))
{
    if (currentPlatform.exchange(this) != nullptr) {
        std::fputs("Scripted::Platform: there is one already\n", stderr);
        std::abort();
    }
}

Platform::~Platform()
{
    currentPlatform = nullptr;
    std::error_code ignored;
    std::filesystem::remove_all(m_directory, ignored);
}

Platform& Platform::current()
{
    Platform* const platform = currentPlatform;
    if (platform == nullptr) {
        std::fputs("Scripted::Platform: there is none\n", stderr);
        std::abort();
    }
    return *platform;
}

void Platform::database(std::string const& schema, std::string const& element, std::string const& text)
{
    Threads::Lock const guard(m_mutex);
    m_stored.values[{schema, element}] = text;
}

void Platform::table(std::string const& schema, std::string const& xml)
{
    Threads::Lock const guard(m_mutex);
    m_stored.tables[schema] = xml;
}

void Platform::emptyDatabase()
{
    Threads::Lock const guard(m_mutex);
    m_emptyDatabase = true;
}

void Platform::schemaMissing(std::string const& schema)
{
    Threads::Lock const guard(m_mutex);
    m_missingSchemas.insert(schema);
}

std::optional<std::string> Platform::databaseText(std::string const& schema, std::string const& element) const
{
    Threads::Lock const guard(m_mutex);
    auto const found = m_stored.values.find({schema, element});
    return found == m_stored.values.end() ? std::nullopt : std::optional(found->second);
}

std::optional<std::string> Platform::databaseTable(std::string const& schema) const
{
    Threads::Lock const guard(m_mutex);
    auto const found = m_stored.tables.find(schema);
    return found == m_stored.tables.end() ? std::nullopt : std::optional(found->second);
}

Stored Platform::stored() const
{
    Threads::Lock const guard(m_mutex);
    return m_stored;
}

void Platform::management(std::string const& item, std::string const& subItem, std::string const& value)
{
    Threads::Lock const guard(m_mutex);
    m_managementValues[{item, subItem}] = value;
}

void Platform::failedEncryptionLeaves(std::string const& text)
{
    Threads::Lock const guard(m_mutex);
    m_failedEncryption = text;
}

void Platform::answerOrdinarily()
{
    emptyDatabase();
    managementAnswersNothing();
    managementAccepts(true);
}

void Platform::managementAnswersNothing()
{
    Threads::Lock const guard(m_mutex);
    m_managementAnswersNothing = true;
}

void Platform::managementAccepts(bool accepts)
{
    Threads::Lock const guard(m_mutex);
    m_managementAccepts = accepts;
}

void Platform::managementMissing()
{
    Threads::Lock const guard(m_mutex);
    m_managementMissing = true;
}

void Platform::hardware(bool entryModel, bool topModel, bool usb)
{
    Threads::Lock const guard(m_mutex);
    m_entryModel = entryModel;
    m_topModel = topModel;
    m_usb = usb;
}

void Platform::flagFile(std::string const& text)
{
    std::filesystem::path const path = m_directory + flagFilePath;
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary | std::ios::trunc) << text;
    Threads::Lock const guard(m_mutex);
    // Two writes within one tick of the clock must still differ.
    std::filesystem::last_write_time(path, std::filesystem::file_time_type::clock::now() +
                                               std::chrono::seconds(++m_flagFileVersion));
}

void Platform::removeFlagFile()
{
    std::filesystem::remove(m_directory + flagFilePath);
}

void Platform::logLevel(int level)
{
    Threads::Lock const guard(m_mutex);
    m_logLevel = level;
}

std::vector<Call> Platform::journal() const
{
    Threads::Lock const guard(m_mutex);
    return m_journal;
}

std::vector<Call> Platform::calls(std::set<std::string> const& names) const
{
    std::vector<Call> chosen = journal();
    std::erase_if(chosen, [&](Call const& call) { return !names.contains(call.name); });
    return chosen;
}

std::vector<std::string> Platform::lines(std::set<std::string> const& names) const
{
    std::vector<std::string> texts;
    for (Call const& call : names.empty() ? journal() : calls(names))
        texts.push_back(call.text());
    return texts;
}

void Platform::clearJournal()
{
    Threads::Lock const guard(m_mutex);
    m_journal.clear();
}

void Platform::keepJournal(bool keep)
{
    Threads::Lock const guard(m_mutex);
    m_keepJournal = keep;
}

std::vector<LogLine> Platform::logs() const
{
    Threads::Lock const guard(m_mutex);
    return m_logs;
}

std::vector<std::string> Platform::logs(int level) const
{
    std::vector<std::string> texts;
    for (LogLine const& line : logs())
        if (line.level == level)
            texts.push_back(line.text);
    return texts;
}

void Platform::clearLogs()
{
    Threads::Lock const guard(m_mutex);
    m_logs.clear();
}

std::vector<std::string> Platform::unscripted() const
{
    Threads::Lock const guard(m_mutex);
    return m_unscripted;
}

void Platform::onCall(std::function<void(Call const&)> hook)
{
    Threads::Lock const guard(m_mutex);
    m_hook = std::move(hook);
}

void Platform::failCall(std::size_t k, bool forGood)
{
    Threads::Lock const guard(m_mutex);
    m_failAt = k == 0 ? 0 : m_fallibleCalls + k;
    m_failForGood = forGood;
}

void Platform::failGroups(bool fail)
{
    Threads::Lock const guard(m_mutex);
    m_failGroups = fail;
}

std::size_t Platform::fallibleCalls() const
{
    Threads::Lock const guard(m_mutex);
    return m_fallibleCalls;
}

Executable* Platform::findService(std::string const& name)
{
    bool const found = Seam::truth("findService", {name}, true, [&] {
        Threads::Lock const guard(m_mutex);
        if (name != "LocalMgmtIfc")
            complain("findService " + name);
        return name == "LocalMgmtIfc" && !m_managementMissing;
    });
    return found ? m_management.get() : nullptr;
}

void Platform::complain(std::string const& what)
{
    m_unscripted.push_back(what);
}

std::string Platform::call(std::string const& name, std::vector<std::string> arguments, char const* failure,
                           std::function<std::string()> const& answer)
{
    Call entry{name, std::move(arguments), "", lockDepthOfThisThread(), std::this_thread::get_id(), false};
    if (failure != nullptr) {
        Threads::Lock const guard(m_mutex);
        ++m_fallibleCalls;
        entry.injected = m_failAt != 0 && (m_failForGood ? m_fallibleCalls >= m_failAt : m_fallibleCalls == m_failAt);
    }
    entry.result = entry.injected ? failure : answer();

    {
        Threads::Lock const guard(m_mutex);
        if (m_keepJournal)
            m_journal.push_back(entry);
    }
    tellHook(entry);
    return entry.result;
}

void Platform::tellHook(Call const& call)
{
    thread_local bool insideHook = false;
    if (insideHook)
        return;
    std::function<void(Call const&)> hook;
    {
        Threads::Lock const guard(m_mutex);
        hook = m_hook;
    }
    if (!hook)
        return;
    struct Inside {
        Inside() { insideHook = true; }
        ~Inside() { insideHook = false; } // a hook may throw
        Inside(Inside const&) = delete;
        Inside& operator=(Inside const&) = delete;
    } const inside;
    hook(call);
}

bool Seam::reachable(std::string const& schema)
{
    Platform& platform = Platform::current();
    Threads::Lock const guard(platform.m_mutex);
    return !platform.m_missingSchemas.contains(schema);
}

std::string Seam::failedEncryption()
{
    Platform& platform = Platform::current();
    Threads::Lock const guard(platform.m_mutex);
    return platform.m_failedEncryption;
}

std::string Seam::read(std::string const& schema, std::string const& element, bool whole)
{
    Platform& platform = Platform::current();
    Threads::Lock const guard(platform.m_mutex);
    for (Stored const* const each : {&platform.target(), &platform.m_stored}) {
        if (auto const table = each->tables.find(schema); whole && table != each->tables.end())
            return table->second;
        if (auto const value = each->values.find({schema, element}); !whole && value != each->values.end())
            return value->second;
    }
    if (!platform.m_emptyDatabase)
        platform.complain("getDataItem " + schema + " " + (whole ? std::string("(whole table)") : element));
    return "failure";
}

bool Seam::write(std::string const& schema, std::string const& element, std::string const& text)
{
    if (text == "failure")
        return false;
    Platform& platform = Platform::current();
    Threads::Lock const guard(platform.m_mutex);
    platform.target().values[{schema, element}] = text;
    return true;
}

void Seam::replaceTable(std::string const& schema, std::string const& xml)
{
    Platform& platform = Platform::current();
    Threads::Lock const guard(platform.m_mutex);
    platform.target().tables[schema] = xml;
}

Stored& Platform::target()
{
    return m_group && m_group->thread == std::this_thread::get_id() ? m_group->waiting : m_stored;
}

bool Seam::beginGroup()
{
    Platform& platform = Platform::current();
    Threads::Lock const guard(platform.m_mutex);
    if (platform.m_group)
        return false;
    platform.m_group = {std::this_thread::get_id(), {}};
    ++platform.m_groupLimits;
    return true;
}

bool Seam::endGroup(bool store)
{
    Platform& platform = Platform::current();
    Threads::Lock const guard(platform.m_mutex);
    ++platform.m_groupLimits;
    if (!platform.m_group || platform.m_group->thread != std::this_thread::get_id())
        return false;
    Stored const waiting = std::move(platform.m_group->waiting);
    platform.m_group.reset();
    store = store && !platform.m_failGroups;
    for (auto const& [place, text] : waiting.values)
        if (store)
            platform.m_stored.values[place] = text;
    for (auto const& [schema, xml] : waiting.tables)
        if (store)
            platform.m_stored.tables[schema] = xml;
    return store;
}

std::size_t Seam::groupLimits()
{
    Platform& platform = Platform::current();
    Threads::Lock const guard(platform.m_mutex);
    return platform.m_groupLimits;
}

bool GroupingPlatform::beginGroup()
{
    return Seam::truth("beginGroup", {}, true, Seam::beginGroup);
}

bool GroupingPlatform::endGroup()
{
    bool asked = false;
    bool const result = Seam::truth("endGroup", {}, true, [&] {
        asked = true;
        return Seam::endGroup(true);
    });
    if (!asked) // a fault swallowed the call
        Seam::endGroup(false);
    return result;
}

bool Seam::hardware(std::string const& question)
{
    Platform& platform = Platform::current();
    Threads::Lock const guard(platform.m_mutex);
    return question == "is_TL20" ? platform.m_entryModel : question == "is_TL70" ? platform.m_topModel : platform.m_usb;
}

void Seam::log(int level, char const* file, std::string text)
{
    Platform* const platform = currentPlatform;
    if (platform == nullptr)
        return;
    {
        Threads::Lock const guard(platform->m_mutex);
        if (level > 2 && level > platform->m_logLevel)
            platform->complain("log line of level " + std::to_string(level) + " that nobody wants: " + text);
        platform->m_logs.push_back({level, file, text});
    }
    platform->tellHook({.name = "log", .arguments = {std::move(text)}, .result = "", .thread = std::this_thread::get_id()});
}

bool Seam::logWanted(int level)
{
    Platform* const platform = currentPlatform;
    if (platform == nullptr)
        return false;
    Threads::Lock const guard(platform->m_mutex);
    return level <= platform->m_logLevel;
}

} // namespace Scripted

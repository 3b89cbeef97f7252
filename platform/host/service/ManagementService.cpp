// Items lie in the database under the schema "@management/" + item, with the sub-item as element; secret ones encrypted.
// Requests are reported back to the library only on dispatch(): a request usually comes with the cache's lock held, in the
// middle of an operation, and the other parts of a telephone take their time as well.
#include "service/ManagementService.h"

#include "MgmtAgentIfc.h"
#include "secrets/SecretBox.h"
#include "store/Database.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <string_view>
#include <utility>

namespace Host {

namespace {

std::string const schemaPrefix = "@management/";
constexpr std::size_t operationLimit = 100; // of which the journal may wait to be saved
constexpr char const* mask = "***";

std::int64_t now()
{
    using namespace std::chrono;
    return duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
}

std::string fullName(ManageableData::Entry const& entry)
{
    return entry.item == entry.subItem ? entry.item : entry.item + "/" + entry.subItem;
}

/// Whether it was meant for the moment at which it came.
bool isUsedUp(ManagementService::Item const& item)
{
    return item.item == "mobility-user-data-update" && item.value != "managed";
}

} // namespace

bool isSecretItem(std::string const& item)
{
    constexpr std::array<std::string_view, 3> words{"password", "pwd", "pin"};
    std::string part;
    for (char const each : item + "-") {
        if ((each >= 'a' && each <= 'z') || (each >= 'A' && each <= 'Z')) {
            part += static_cast<char>(each | 0x20);
            continue;
        }
        if (std::find(words.begin(), words.end(), part) != words.end())
            return true;
        part.clear();
    }
    return false;
}

ManagementService::ManagementService(Database& database, SecretBox const& secrets) : m_database(database), m_secrets(secrets)
{}

ManagementService::~ManagementService()
{
    Threads::Lock const lock(m_mutex);
    keepJournal();
}

void ManagementService::note(std::string const& kind, ManageableData const& record)
{
    // All that one operation of the library tells one by one is told under one hold of its lock, and is one row.
    bool const goesOn = !m_unsaved.empty() && m_unsaved.back().kind == kind && lockMark() == m_noted;
    if (!goesOn)
        m_time = std::max(now(), m_time + 1); // each operation has its own
    m_noted = lockMark();
    if (!goesOn && (m_operations >= operationLimit || m_unsaved.size() >= journalLimit))
        m_database.addToNextWrite(std::exchange(m_unsaved, {}));
    m_operations = m_unsaved.empty() ? 1 : m_operations + (goesOn ? 0 : 1);
    for (ManageableData::Entry const& each : record.entries()) {
        std::string const name = fullName(each);
        m_unsaved.push_back({m_time, kind, name, each.hasValue && isSecretItem(name) ? mask : each.value});
    }
}

bool ManagementService::keepJournal()
{
    bool const kept = m_database.write({}, m_unsaved);
    // A journal that cannot be kept must not grow without end.
    m_unsaved.clear();
    return kept;
}

bool ManagementService::store(ManageableData const& record)
{
    std::vector<StoredItem> stored;
    for (ManageableData::Entry const& each : record.entries()) {
        if (!each.hasValue)
            continue;
        std::string const text = isSecretItem(fullName(each)) ? m_secrets.encrypt(each.value) : each.value;
        stored.push_back({schemaPrefix + each.item, each.subItem, text});
    }
    if (!m_database.write(stored, m_unsaved))
        return false;
    m_unsaved.clear();
    return true;
}

bool ManagementService::readData(ManageableData& record)
{
    Threads::Lock const lock(m_mutex);
    std::vector<ManageableData::Entry> const asked = record.entries();
    for (ManageableData::Entry const& each : asked) {
        std::optional<std::string> value = m_database.read(schemaPrefix + each.item, each.subItem);
        if (!value || (isSecretItem(fullName(each)) && !m_secrets.decrypt(std::string(*value), *value)))
            continue;
        record.populate(each.item, each.subItem, *value);
    }
    note("read", record);
    return true;
}

bool ManagementService::reportChanged(ManageableData& record, std::vector<std::string> const&)
{
    Threads::Lock const lock(m_mutex);
    note("reported", record);
    return true;
}

bool ManagementService::requestSet(ManageableData& record)
{
    Threads::Lock const lock(m_mutex);
    note("requested", record);
    if (!store(record))
        return false;
    for (ManageableData::Entry const& each : record.entries())
        if (each.hasValue)
            m_requested.populate(each.item, each.subItem, each.value);
    return true;
}

void ManagementService::setAgent(MgmtAgentIfc* agent)
{
    Threads::Lock const lock(m_mutex);
    m_agent = agent;
}

MgmtAgentIfc* ManagementService::agent()
{
    Threads::Lock const lock(m_mutex);
    return m_agent;
}

bool ManagementService::change(ManageableData& record)
{
    {
        Threads::Lock const lock(m_mutex);
        if (!store(record))
            return false;
    }
    if (MgmtAgentIfc* const library = agent())
        library->manageableDataChanged(record);
    return true;
}

bool ManagementService::withdraw(ManageableData& record)
{
    std::vector<std::pair<std::string, std::string>> keys;
    for (ManageableData::Entry const& each : record.entries())
        keys.emplace_back(schemaPrefix + each.item, each.subItem);
    if (!m_database.remove(keys))
        return false;
    if (MgmtAgentIfc* const library = agent())
        library->manageableDataChanged(record);
    return true;
}

void ManagementService::reportAll()
{
    ManageableData record;
    for (Item const& each : items())
        if (!isUsedUp(each))
            record.populate(each.item, each.subItem, each.value);
    MgmtAgentIfc* const library = agent();
    if (library != nullptr && !record.entries().empty())
        library->manageableDataChanged(record);
}

void ManagementService::dispatch()
{
    ManageableData requested;
    {
        Threads::Lock const lock(m_mutex);
        std::swap(requested, m_requested);
    }
    MgmtAgentIfc* const library = agent();
    if (library != nullptr && !requested.entries().empty())
        library->manageableDataChanged(requested);
}

bool ManagementService::setOwned(ManageableData& record)
{
    MgmtAgentIfc* const library = agent();
    return library != nullptr && library->setData(record);
}

bool ManagementService::getOwned(ManageableData& record)
{
    MgmtAgentIfc* const library = agent();
    return library != nullptr && library->getData(record);
}

bool ManagementService::resetUserData()
{
    MgmtAgentIfc* const library = agent();
    return library != nullptr && library->resetUserData();
}

std::vector<ManagementService::Item> ManagementService::items()
{
    std::vector<Item> result;
    for (StoredItem& each : m_database.list(schemaPrefix)) {
        Item item{each.schema.substr(schemaPrefix.size()), each.element, each.value};
        std::string const name = item.item + "/" + item.subItem;
        if (!isSecretItem(name) || m_secrets.decrypt(each.value, item.value))
            result.push_back(std::move(item));
    }
    return result;
}

std::vector<JournalEntry> ManagementService::journal(int limit)
{
    Threads::Lock const lock(m_mutex);
    keepJournal();
    return m_database.journal(limit);
}

} // namespace Host

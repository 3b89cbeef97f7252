// The table handler: reads stored tables into their cells, writes changed tables back, resets what is corrupt.
#include "Data/DataTableHandler.h"

#include "ClientUtils.h"
#include "Data/DataTable.h"
#include "Data/DataTableCodecSetting.h"
#include "Data/DataTableDistinctiveRinging.h"
#include "Data/DataTableDoorOpenerTypeDependentTags.h"
#include "Data/DataTableGroupPickupDependentTags.h"
#include "Data/DataTableHeadsetPriorities.h"
#include "Data/DataTableSRTPEncryptionSetting.h"
#include "Log.h"
#include "Media/MediaDataCache.h"
#include "Tables/Tables.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <optional>

namespace Data {

using Handler = DataSourceDB::DataTableHandler;

namespace {

constexpr char const* unit = "./src/DataSourceDBTables";

template <class Table> std::unique_ptr<Handler::DataTable> makeTable()
{
    return std::make_unique<Table>();
}

struct TableClass {
    eDataTag tag;
    std::unique_ptr<Handler::DataTable> (*make)();
};

/// In the order of tags, in which tables are read and written.
constexpr std::array tableClasses{
    TableClass{eDataTagGroupPickup, makeTable<Handler::DataTableGroupPickupDependentTags>},
    TableClass{eDataTagCodecSettings, makeTable<Handler::DataTableCodecSetting>},
    TableClass{eDataTagDistinctiveRinging, makeTable<Handler::DataTableDistinctiveRinging>},
    TableClass{eDataTagSRTPEncryptionSettings, makeTable<Handler::DataTableSRTPEncryptionSetting>},
    TableClass{eDataTagHeadsetPriorities, makeTable<Handler::DataTableHeadsetPriorities>},
    TableClass{eDataTagDoorOpeners, makeTable<Handler::DataTableDoorOpenerTypeDependentTags>},
};

static_assert(std::ranges::is_sorted(tableClasses, {}, &TableClass::tag), "the classes are not in the order of tags");
static_assert(std::ranges::all_of(Tables::all,
                                  [](Tables::Table const& table) {
                                      return table.tag == eDataTagNone ||
                                             std::ranges::find(tableClasses, table.tag, &TableClass::tag) !=
                                                 tableClasses.end();
                                  }),
              "a table has no class");

template <class T> std::optional<T> currentValue(eDataTag tag)
{
    T value{};
    return Media::MediaDataCache::getData(tag, value) ? std::optional<T>(std::move(value)) : std::nullopt;
}

std::optional<std::string> currentText(eDataTag tag)
{
    switch (Media::MediaDataCache::getItemType(tag)) {
    case eDataItemTypeInt:
        if (auto const number = currentValue<int>(tag))
            return ClientUtils::itos(*number);
        return std::nullopt;
    case eDataItemTypeBool:
        if (auto const flag = currentValue<bool>(tag))
            return ClientUtils::btos(*flag);
        return std::nullopt;
    case eDataItemTypeString:
    case eDataItemTypeComplex:
        return currentValue<std::string>(tag);
    default:
        return std::nullopt;
    }
}

} // namespace

void restoreMissingTableTags(DataTagValue_t& values, DataTagValue_t const& copy)
{
    for (auto const& [tag, text] : copy)
        if (!values.contains(tag))
            if (auto current = currentText(tag))
                values.emplace(tag, std::move(*current));
}

struct Handler::State {
    std::vector<eDataTag> changed;
    int restored = 0; ///< how often it was put back
    DataTableDoorOpenerTypeDependentTags::Memory doorOpeners;
};

Handler::DataTableHandler(std::list<eDataTag> const& tableTags, DataDBCallback* callback)
    : m_callback(callback), m_kept(std::make_unique<State>())
{
    fillTableMap(tableTags);
}

Handler::~DataTableHandler() = default;

void Handler::fillTableMap(std::list<eDataTag> const& tableTags)
{
    for (auto const& [tag, make] : tableClasses) {
        if (std::ranges::find(tableTags, tag) == tableTags.end())
            continue;
        auto table = make();
        table->initializeIndexMax();
        m_tables.emplace_back(tag, std::move(table));
    }
}

/// Null for a table that is not there.
Handler::DataTable* Handler::findTable(eDataTag table) const
{
    for (auto const& [tag, each] : m_tables)
        if (tag == table)
            return each.get();
    return nullptr;
}

void Handler::setTableChanged(eDataTag table)
{
    auto* const found = findTable(table);
    if (!found || found->isChanged())
        return;
    found->setChanged(true);
    ++m_changedTables;
}

bool Handler::hasChangedTables() const
{
    assert(m_changedTables == std::ranges::count_if(m_tables, [](auto const& entry) { return entry.second->isChanged(); }));
    return m_changedTables > 0;
}

bool Handler::isTableChanged(eDataTag table) const
{
    auto const* const found = findTable(table);
    return found && found->isChanged();
}

Handler::DataTableDoorOpenerTypeDependentTags* Handler::doorOpenerTable() const
{
    return static_cast<DataTableDoorOpenerTypeDependentTags*>(findTable(eDataTagDoorOpeners));
}

void Handler::keepState()
{
    m_kept->changed.clear();
    for (auto const& [tag, table] : m_tables)
        if (table->isChanged())
            m_kept->changed.push_back(tag);
    if (auto const* const table = doorOpenerTable())
        m_kept->doorOpeners = table->m_memory;
}

void Handler::restoreState()
{
    ++m_kept->restored;
    for (auto const& [tag, table] : m_tables)
        table->setChanged(false);
    m_changedTables = 0;
    for (auto const tag : m_kept->changed)
        setTableChanged(tag);
    if (auto* const table = doorOpenerTable())
        table->m_memory = m_kept->doorOpeners;
}

void Handler::readDataFromTables(bool userDataOnly)
{
    if (m_callback == nullptr)
        return;
    for (auto const& [tag, table] : m_tables)
        if (!userDataOnly || m_callback->dbCBQueryIsTableUserData(tag))
            readTable(*table);
}

void Handler::readTable(DataTable& table)
{
    DataTagValue_t values;
    DataTagValue_t toStore;
    table.getTableItemTags(values);
    m_callback->dbCBGetDataValues(values);
    table.processReadData(values, true);
    switch (table.checkTableData(values, toStore)) {
    case eTableValid:
        // What was just read is not stored again: `toStore` is dropped.
        m_callback->dbCBSetDataValues(values, false, false);
        break;
    case eTableCorrupt:
        resetTable(table, values, toStore);
        break;
    default:
        m_callback->dbCBSetDataValues(toStore, true, false);
        m_callback->dbCBSetDataValues(values, false, false);
        break;
    }
}

bool Handler::writeTablesToDB(DataTagValue_t& rejected)
{
    if (m_callback == nullptr || !hasChangedTables())
        return true;
    bool accepted = true;
    for (auto const& [tag, table] : m_tables) {
        if (!table->isChanged())
            continue;
        // Cleared before the check: a table that sets items while it is checked comes back here, and what is stored under
        // some verdicts marks the table anew.
        table->setChanged(false);
        --m_changedTables;
        if (!writeTable(tag, *table, rejected))
            accepted = false;
    }
    return accepted;
}

/// A check that sets items may end the part of the operation in which the cells were set; when that part is not stored, the
/// cells are taken back, and what was checked is theirs no more: it is checked anew, once, and otherwise by the next operation.
std::optional<int> Handler::checkPresentCells(eDataTag tag, DataTable& table, DataTagValue_t& values,
                                              DataTagValue_t& toStore)
{
    for (bool isSecond = false;; isSecond = true) {
        auto const restored = m_kept->restored;
        values.clear();
        toStore.clear();
        table.getTableItemTags(values);
        m_callback->dbCBGetDataValues(values);
        auto const verdict = table.checkTableData(values, toStore);
        if (restored == m_kept->restored)
            return verdict;
        if (auto* const openers = doorOpenerTable())
            openers->m_hasStaleLinks = true;
        if (isSecond) {
            setTableChanged(tag);
            return std::nullopt;
        }
    }
}

bool Handler::writeTable(eDataTag tag, DataTable& table, DataTagValue_t& rejected)
{
    DataTagValue_t values;
    DataTagValue_t toStore;
    auto const verdict = checkPresentCells(tag, table, values, toStore);
    if (!verdict)
        return false;
    switch (*verdict) {
    case eTableValid:
        m_callback->dbCBSetDataValues(toStore, true, false);
        return true;
    case eTableStoreCells:
        m_callback->dbCBSetDataValues(values, true, true);
        return true;
    case eTableCorrected:
        m_callback->dbCBSetDataValues(values, false, false);
        m_callback->dbCBSetDataValues(toStore, true, false);
        return true;
    case eTableRejected:
        table.getTableItemTags(rejected);
        m_callback->dbCBSetDataValues(values, false, false);
        return false;
    case eTableCorrupt:
        table.getTableItemTags(rejected);
        table.getTableItemTags(values);
        resetTable(table, values, toStore);
        return false;
    default:
        return true;
    }
}

void Handler::resetTable(DataTable& table, DataTagValue_t& values, DataTagValue_t& toStore)
{
    DataTagValue_t const copy = values;
    m_callback->dbCBResetSelectedToDefault(values);
    if (values.size() != copy.size())
        restoreMissingTableTags(values, copy);
    if (table.checkTableData(values, toStore) != eTableValid)
        LOG_ERROR(unit, "Could not reset table to default, check failed");
    else
        m_callback->dbCBSetDataValues(toStore, true, false);
}

} // namespace Data

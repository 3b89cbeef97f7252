// The cache's exchanges of many values: notifications, bulk operations, resets and what the sources ask for.
#include "Data/BulkData.h"
#include "Data/DataCache.h"
#include "Data/DataItem.h"
#include "Data/DataItemBuilder.h"
#include "Data/DataSourceDB.h"
#include "Data/DataSourceFile.h"
#include "Data/DataUpdateCallback.h"

#include "DataCache/NearMemory.h"
#include "DataCache/ScopedLock.h"
#include "DataCache/TextValues.h"
#include "DataSourceOCMS/DataSourceOCMS.h"
#include "Log.h"

#include "Semaphore.h"

#include <cstddef>
#include <functional>
#include <iterator>
#include <memory_resource>
#include <optional>
#include <utility>

namespace Data {

namespace {

constexpr char const* unit = "./src/DataCache";

/// Reads the item's value of type T into the bulk. A failed read leaves T's default there, flagged as not stored.
template <class T> bool readIntoBulk(DataItemBase const& item, BulkData& bulk)
{
    T value{};
    bool const read = item.getValue(value);
    bulk.setTagData(item.tag(), value, read);
    return read;
}

} // namespace

struct DataCache::Notice {
    Notice(DataUpdateCallback* callback, std::pmr::memory_resource& room) : callee(callback), changes(room) {}

    DataUpdateCallback* callee;
    BulkData changes;
};

template <class T> void DataCache::addChange(DataItemBase const& item, Notices& notices)
{
    T value{};
    item.getValue(value);
    // Both are in the order of addresses, so that one walk finds all places.
    auto last = notices.before_begin();
    for (auto* const callback : item.callbacks()) {
        auto place = std::next(last);
        for (; place != notices.end() && std::less<>()(place->callee, callback); ++place)
            last = place;
        if (place == notices.end() || place->callee != callback)
            place = notices.emplace_after(last, callback, *notices.get_allocator().resource());
        place->changes.setTagData(item.tag(), value, false);
        last = place;
    }
}

void DataCache::collectChanges(Notices& notices)
{
    m_changed = false;
    while (m_touchedBegin < m_touchedEnd) {
        auto const index =
            m_touchedBegin++; // counted first: who reads the log may write, which starts a pass or adds to this one
        if (!m_touched[index])
            continue;
        m_touched.reset(index);
        auto* const item = m_dataMap[index];
        if (!item || !item->takeChange())
            continue;
        auto const tag = item->tag();
        auto const type = DataItemBuilder::getItemType(tag);
        if (m_mobilityType != eMobilityNone && DataItemBuilder::isUserData(tag) && type != eDataItemTypeComplex &&
            m_sourceOCMS && m_sourceOCMS->checkOCMSItemHandling(tag, OWNED))
            item->getValueString(m_pendingUserData[tag]);
        if (item->callbacks().empty())
            continue;
        switch (type) {
        case eDataItemTypeInt:
            addChange<int>(*item, notices);
            break;
        case eDataItemTypeBool:
            addChange<bool>(*item, notices);
            break;
        case eDataItemTypeString:
            addChange<std::string>(*item, notices);
            break;
        default:
            for (std::size_t count = item->callbacks().size(); count > 0; --count)
                LOG_AT(unit, 3, "DataCache::updateCallbacks - invalid entry - tag %i \n", tag);
            break;
        }
    }
    forgetTouched();
}

void DataCache::pushUserData(DataTagValue_t pending, unsigned int announcement)
{
    if (m_sourceOCMS)
        m_sourceOCMS->setData(pending);
    ScopedLock const held(*m_lock);
    for (auto const& [tag, text] : pending) {
        // A value that changed while the push was under way waits for the next one.
        auto const found = m_pendingUserData.find(tag);
        if (found != m_pendingUserData.end() && found->second == text)
            m_pendingUserData.erase(found);
    }
    if (announcement == m_announcements)
        m_mobilityType = eMobilityNone;
}

void DataCache::updateCallbacks()
{
    // Most changes have one or two callees, for whom nothing need be allocated.
    NearMemory room;
    Notices notices(&room);
    std::optional<DataTagValue_t> pending;
    unsigned int announcement = 0;
    {
        ScopedLock const held(*m_lock);
        if (!m_changed)
            return;
        collectChanges(notices);
        if (m_mobilityType != eMobilityNone && m_mobilityType != eMobilityManaged) {
            pending = m_pendingUserData;
            announcement = m_announcements;
        }
    }
    if (pending)
        pushUserData(std::move(*pending), announcement);
    for (auto& notice : notices)
        notice.callee->onDataUpdate(notice.changes);
}

bool DataCache::setDataBulk(BulkData& bulk)
{
    ScopedLock const held(*m_lock);
    bool accepted = true;
    DataTagValue_t written;
    auto const store = [&](eDataTag tag, auto const& value) {
        bool persisted = false;
        bool const set = setDataValue(tag, value, persisted);
        if (persisted)
            written[tag] = convertToString(value);
        return set;
    };
    for (auto const& [tag, item] : bulk.getTagsValues()) {
        if (!item)
            continue;
        bool set = false;
        switch (item->itemType) {
        case eDataItemTypeInt:
            set = store(tag, item->intValue);
            break;
        case eDataItemTypeBool:
            set = store(tag, item->boolValue);
            break;
        case eDataItemTypeString:
            set = store(tag, item->stringValue);
            break;
        default:
            LOG_ERROR(unit, "DataCache::setData - invalid entry tag %i \n", tag);
            break;
        }
        if (set) {
            bulk.setTagWrittenToDb(tag, true);
        } else {
            LOG_ERROR(unit, "DataCache::setData - failed to set tag %i \n", tag);
            accepted = false;
        }
    }

    DataTagValue_t failed;
    accepted = updateDataInSourceDB(failed) && accepted;
    if (!accepted) {
        for (auto const& entry : failed)
            bulk.setTagWrittenToDb(entry.first, false);
    }
    for (auto const& [tag, text] : written) {
        if (!failed.contains(tag))
            writeDataToSourceOCMS(tag, text);
    }
    updateCallbacks();
    return accepted;
}

bool DataCache::getDataBulk(BulkData& bulk)
{
    ScopedLock const held(*m_lock);
    bool complete = true;
    for (auto const tag : bulk.listTags()) {
        auto const* const item = findItem(tag);
        if (!item) {
            LOG_ERROR(unit, "DataCache::getDataBulk - failed to find tag %i\n", tag);
            complete = false;
            continue;
        }
        bool read = false;
        switch (DataItemBuilder::getItemType(tag)) {
        case eDataItemTypeInt:
            read = readIntoBulk<int>(*item, bulk);
            break;
        case eDataItemTypeBool:
            read = readIntoBulk<bool>(*item, bulk);
            break;
        case eDataItemTypeString:
            read = readIntoBulk<std::string>(*item, bulk);
            break;
        default:
            LOG_ERROR(unit, "DataCache::getDataBulk - invalid entry tag %i \n", tag);
            break;
        }
        if (!read) {
            LOG_ERROR(unit, "DataCache::getDataBulk - failed to get tag %i \n", tag);
            complete = false;
        }
    }
    return complete;
}

void DataCache::applyDefaults(DataTagValue_t const& defaults)
{
    if (defaults.empty())
        return;
    DataTagValue_t scratch;
    setDataValues(defaults, scratch, true, false);
}

void DataCache::resetDataToDefault(std::list<eDataTag> const& tags)
{
    ScopedLock const held(*m_lock);
    DataTagValue_t defaults;
    for (auto const tag : tags)
        defaults.emplace(tag, "");
    DataItemBuilder::getDefaultValues(defaults, m_component, false);
    applyDefaults(defaults);
}

void DataCache::dbCBGetFailed(eDataTag tag)
{
    ScopedLock const held(*m_lock);
    DataTagValue_t defaults{{tag, ""}};
    DataItemBuilder::getDefaultValues(defaults, eDataComponentNone, true);
    applyDefaults(defaults);
}

void DataCache::dbCBResetSelectedToDefault(DataTagValue_t& values)
{
    ScopedLock const held(*m_lock);
    DataItemBuilder::getDefaultValues(values, m_component, false);
    applyDefaults(values);
}

void DataCache::ocmsCBResetToDefault()
{
    {
        ScopedLock const held(*m_lock);
        std::map<eDataTag, DataItemBase*> items;
        for (auto* const item : m_dataMap) {
            if (item)
                items.emplace_hint(items.end(), item->tag(), item);
        }
        DataTagValue_t defaults;
        DataItemBuilder::getDefaultValues(items, defaults, m_component, true);
        applyDefaults(defaults);
        m_changed = true;
        announce(eMobilityReset);
    }
    updateCallbacks();
}

void DataCache::ocmsCBGetDataValues(DataTagValue_t& values)
{
    getDataValues(values);
}

bool DataCache::ocmsCBSetDataValues(DataTagValue_t const& values, DataTagValue_t& rejected)
{
    bool stored = false;
    {
        // One hold across both, so that no other thread sees or flushes a half-set table.
        ScopedLock const held(*m_lock);
        bool const accepted = setDataValues(values, rejected, true, false);
        stored = updateDataInSourceDB() && accepted;
    }
    updateCallbacks();
    return stored;
}

void DataCache::mobilityChanged(std::string const& value)
{
    ScopedLock const held(*m_lock);
    DataMobility::mobilityChanged(value);
}

void DataCache::dbCBGetDataValues(DataTagValue_t& values)
{
    getDataValues(values);
}

bool DataCache::dbCBSetDataValues(DataTagValue_t const& values, bool persist, bool toManagement)
{
    DataTagValue_t scratch;
    return setDataValues(values, scratch, persist, toManagement);
}

bool DataCache::dbCBQueryIsTableUserData(eDataTag table)
{
    return DataItemBuilder::isUserData(table);
}

} // namespace Data

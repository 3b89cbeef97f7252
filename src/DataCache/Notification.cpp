// Which items changed, and telling those who registered for them.
#include "Data/BulkData.h"
#include "Data/DataCache.h"
#include "Data/DataItemBase.h"
#include "Data/DataItemBuilder.h"
#include "Data/DataUpdateCallback.h"

#include "DataCache/CacheLock.h"
#include "DataCache/NearMemory.h"
#include "DataSourceOCMS/DataSourceOCMS.h"
#include "Log.h"

#include "Semaphore.h"

#include <algorithm>
#include <cstddef>
#include <functional>
#include <iterator>
#include <memory_resource>
#include <optional>
#include <utility>

namespace Data {

namespace {

constexpr char const* unit = "./src/DataCache";

} // namespace

void DataCache::touch(eDataTag tag)
{
    auto const index = static_cast<std::size_t>(tag);
    m_touched.set(index);
    m_touchedBegin = std::min(m_touchedBegin, index);
    m_touchedEnd = std::max(m_touchedEnd, index + 1);
}

void DataCache::forgetTouched()
{
    for (; m_touchedBegin < m_touchedEnd; ++m_touchedBegin)
        m_touched.reset(m_touchedBegin);
    m_touchedBegin = tagCount;
    m_touchedEnd = 0;
}

void DataCache::noteChange(eDataTag tag)
{
    m_changed = true;
    touch(tag);
}

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

} // namespace Data

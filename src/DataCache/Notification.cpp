// Which items changed, and telling those who registered for them.
#include "Data/BulkData.h"
#include "Data/DataCache.h"
#include "Data/DataItemBase.h"
#include "Data/DataItemBuilder.h"
#include "Data/DataUpdateCallback.h"

#include "Data/DataSourceOCMS.h"
#include "DataCache/CacheLock.h"
#include "DataCache/Operation.h"
#include "DataCache/WriteGroup.h"
#include "Log.h"
#include "Setting/ThisThread.h"

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <exception>
#include <map>
#include <optional>
#include <string>

namespace Data {

namespace {

constexpr char const* unit = "./src/DataCache";

/// What each callee is told, in the order of the callees' addresses.
using Changes = std::map<DataUpdateCallback*, BulkData>;

} // namespace

struct DataCache::Notification {
    Notification() = default;
    Notification(Notification const&) = delete;
    Notification& operator=(Notification const&) = delete;
    ~Notification()
    {
        if (isPass)
            --passesOfThisThread;
        if (followed)
            followed->endPass();
    }

    template <class T> void add(DataItemBase const& item)
    {
        T value{};
        item.getValue(value);
        for (auto* const callback : item.callbacks())
            bulkFor(callback).storeAlone(item.tag(), value);
    }

    [[gnu::noinline]] BulkData& bulkFor(DataUpdateCallback* callback)
    {
        return changes[callback];
    } // once for all three types

    Changes changes;
    std::optional<Push> push;
    bool isPass = false;           ///< there is somebody to tell
    DataCache* followed = nullptr; ///< counts the pass, since subscribers may be among them
};

void DataCache::TouchedTags::insert(eDataTag tag)
{
    auto const index = static_cast<std::size_t>(tag);
    m_tags.set(index);
    m_begin = std::min(m_begin, index);
    m_end = std::max(m_end, index + 1);
}

eDataTag DataCache::TouchedTags::takeLowest()
{
    while (m_begin < m_end) {
        auto const index = m_begin++;
        if (m_tags[index]) {
            m_tags.reset(index);
            return static_cast<eDataTag>(index);
        }
    }
    m_begin = tagCount;
    m_end = 0;
    return eDataTagNone;
}

void DataCache::noteChange(eDataTag tag)
{
    m_changed = true;
    touch(tag);
}

bool DataCache::allChangesAreNoted() const
{
    if (!m_initialised)
        return true; // a new item is marked, and start-up ends with clearing all marks
    for (auto const* const item : m_dataMap) {
        if (item && item->isChanged() && !m_touched.contains(item->tag()))
            return false;
    }
    return true;
}

void DataCache::addChange(DataItemBase const& item, Notification& notification)
{
    auto const tag = item.tag();
    auto const type = DataItemBuilder::getItemType(tag);
    if (collectsUserData() && DataItemBuilder::isUserData(tag) && type != eDataItemTypeComplex &&
        m_sourceOCMS->checkOCMSItemHandling(tag, OWNED))
        item.getValueString(pendingUserData(tag));
    if (item.callbacks().empty())
        return;

    switch (type) {
    case eDataItemTypeInt:
        notification.add<int>(item);
        break;
    case eDataItemTypeBool:
        notification.add<bool>(item);
        break;
    case eDataItemTypeString:
        notification.add<std::string>(item);
        break;
    default:
        for (std::size_t count = item.callbacks().size(); count > 0; --count) // who reads the log may register
            LOG_AT(unit, 3, "DataCache::updateCallbacks - invalid entry - tag %i \n", tag);
        break;
    }
}

void DataCache::collectChanges(Notification& notification)
{
    assert(allChangesAreNoted());
    m_changed = false;
    // From here on, since who reads the log may end one that is collected.
    if (!m_subscribers.empty()) {
        notification.followed = this;
        ++m_passes;
    }
    // Each tag leaves the set before its item is asked: who reads the log may write, which starts a pass or adds to this one.
    while (auto const tag = m_touched.takeLowest()) {
        auto* const item = findItem(tag);
        if (item->takeChange())
            addChange(*item, notification);
    }
    if (isPushDue())
        notification.push = push();
    if (notification.changes.empty() && !notification.push)
        return;
    // Whoever is woken by what is told now reads what it was told.
    if (m_hasUnpublished)
        publishChanges();
    notification.isPass = true;
    ++passesOfThisThread;
}

void DataCache::notify(Notification& notification)
{
    if (notification.push) {
        m_sourceOCMS->setData(notification.push->settings);
        ScopedLock const held(*m_lock);
        finishPush(*notification.push);
    }
    // One that throws does not rob the others of their news.
    std::exception_ptr first;
    for (auto& [callback, changes] : notification.changes) {
        try {
            callback->onDataUpdate(changes);
        } catch (...) {
            if (!first)
                first = std::current_exception();
        }
    }
    if (first)
        std::rethrow_exception(first);
}

bool DataCache::hasCallees() const
{
    return isPushDue() || std::ranges::any_of(m_dataMap, [](auto const* item) {
               return item && item->isChanged() && !item->callbacks().empty();
           });
}

void DataCache::notifyChanges()
{
    if (!m_changed)
        return;
    if (m_group && m_group->isInSpan() && hasCallees())
        return notifyInPause();
    Notification notification;
    collectChanges(notification);
    notify(notification);
}

/// Who is told of a change sees it stored, and what it writes is an operation of its own.
[[gnu::noinline]] void DataCache::notifyInPause()
{
    Pause const pause(m_group.get());
    notifyChanges();
}

void DataCache::updateCallbacks()
{
    Notification notification;
    {
        Operation const operation(*this);
        if (m_group && m_group->isInSpan())
            return notifyChanges(); // an operation of this thread is under way and holds the lock, too
        if (!m_changed)
            return;
        collectChanges(notification);
    }
    notify(notification);
}

} // namespace Data

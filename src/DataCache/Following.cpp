// Those who follow the cache without its lock: what readers see of it is published, and subscribers end while passes are under
// way.
#include "Data/DataCache.h"
#include "Data/DataItemBase.h"
#include "Media/Setting.h"

#include "DataCache/CacheLock.h"
#include "Setting/Publication.h"
#include "Setting/Subscriber.h"
#include "Setting/ThisThread.h"

#include <list>
#include <new>
#include <utility>

namespace Data {

[[gnu::tls_model("initial-exec")]] constinit thread_local int passesOfThisThread = 0;

void DataCache::tellRefused(char const* reason)
{
    if (m_question.result && m_question.operation == m_operations)
        *m_question.result = {Media::Result::Refused, reason};
}

void DataCache::tellNotStored(char const* reason)
{
    if (m_question.result && m_question.operation == m_operations)
        *m_question.result = {Media::Result::NotStored, reason};
}

void DataCache::noteUnpublished(eDataTag tag)
{
    m_unpublished.insert(tag);
    m_hasUnpublished = true;
    m_publication->claim();
}

void DataCache::publishTo(Publication& publication)
{
    ScopedLock const held(*m_lock);
    if (std::exchange(m_publication, &publication))
        return;
    for (auto const* const item : m_dataMap)
        if (item)
            m_unpublished.insert(item->tag());
    m_hasUnpublished = true;
    // An operation of this thread that is under way may take back what it has changed: it publishes at its end.
    publication.claimForAll();
    publication.setAttached(true);
    if (m_operations == 0)
        publishChanges();
}

void DataCache::publishAtTheEnd()
{
    if (m_operations == 0)
        publishChanges();
}

void DataCache::publishChanges()
{
    TouchedTags left;
    m_hasUnpublished = false;
    while (auto const tag = m_unpublished.takeLowest()) {
        auto const* const item = findItem(tag);
        try {
            if (item)
                m_publication->write(tag, *item);
        } catch (std::bad_alloc const&) {
            left.insert(tag);
            m_hasUnpublished = true;
        }
    }
    m_unpublished = left;
    if (m_hasUnpublished)
        m_publication->claimForAll(); // nobody reads an old value: all ask the cache until it can be published
    m_publication->finish();
    if (!m_hasUnpublished)
        m_publication->release();
}

void DataCache::endFollowing()
{
    ScopedLock const held(*m_lock);
    if (auto* const publication = std::exchange(m_publication, nullptr)) {
        publication->publishDefaults();
        publication->setAttached(false);
        m_hasUnpublished = false;
    }
    for (auto const& subscriber : m_subscribers)
        subscriber->end();
}

void DataCache::readTogether(std::span<Media::Detail::Wanted const> wanted)
{
    ScopedLock const held(*m_lock);
    for (auto const& each : wanted) {
        auto const* const item = findItem(each.tag);
        if (!item)
            continue;
        switch (traitsOf(each.tag).type()) {
        case eDataItemTypeInt:
            item->getValue(*static_cast<int*>(each.value));
            break;
        case eDataItemTypeBool:
            item->getValue(*static_cast<bool*>(each.value));
            break;
        default:
            item->getValue(*static_cast<std::string*>(each.value));
            break;
        }
    }
}

bool DataCache::subscribe(std::span<eDataTag const> tags, std::shared_ptr<Subscriber> const& subscriber)
{
    ScopedLock const held(*m_lock);
    m_subscribers.push_back(subscriber); // first: who throws here is known, and hence can be ended
    bool isKept = false;
    for (auto const tag : tags) {
        if (auto* const item = findItem(tag)) {
            item->addCallback(subscriber.get());
            isKept = true;
        }
    }
    if (!isKept)
        m_subscribers.pop_back(); // nobody will end it
    return isKept;
}

bool DataCache::unsubscribe(Subscriber& subscriber)
{
    subscriber.end();
    bool isOutside = false;
    {
        ScopedLock const held(*m_lock);
        for (auto* const item : m_dataMap)
            if (item)
                item->removeCallback(&subscriber);
        isOutside = m_operations == 0 && passesOfThisThread == 0;
    }
    sweepSubscribers();
    return isOutside;
}

/// Lets go of those that ended, unless a pass that is under way may have collected them.
void DataCache::sweepSubscribers()
{
    std::list<std::shared_ptr<Subscriber>> ended; // goes without the lock: functions take along what is theirs
    ScopedLock const held(*m_lock);
    m_hasEndedSubscribers = true; // before the passes are looked at: the last of them either is over here, or sees it
    if (m_passes != 0)
        return;
    m_hasEndedSubscribers = false;
    for (auto each = m_subscribers.begin(); each != m_subscribers.end();) {
        auto const present = each++;
        if ((*present)->hasEnded())
            ended.splice(ended.end(), m_subscribers, present); // allocates nothing: destructors come here
    }
}

void DataCache::endPass()
{
    if (--m_passes == 0 && m_hasEndedSubscribers)
        sweepSubscribers();
}

} // namespace Data

// Many values at once: a client's bulk in and out, and the reset of a list of tags.
#include "Data/BulkData.h"
#include "Data/DataCache.h"
#include "Data/DataItemBase.h"
#include "Data/DataItemBuilder.h"

#include "DataCache/CacheLock.h"
#include "DataCache/TextValues.h"
#include "DataCache/WriteGroup.h"
#include "Log.h"

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

/// `written` gets the value when it went into the database.
template <class T> bool DataCache::setFromBulk(eDataTag tag, T const& value, DataTagValue_t& written)
{
    Written outcome;
    bool const set = setDataValue(tag, value, outcome);
    if (outcome.inDatabase)
        written[tag] = convertToString(value);
    return set;
}

bool DataCache::setFromBulk(eDataTag tag, BulkDataItem const& item, DataTagValue_t& written)
{
    switch (item.itemType) {
    case eDataItemTypeInt:
        return setFromBulk(tag, item.intValue, written);
    case eDataItemTypeBool:
        return setFromBulk(tag, item.boolValue, written);
    case eDataItemTypeString:
        return setFromBulk(tag, item.stringValue, written);
    default:
        LOG_ERROR(unit, "DataCache::setData - invalid entry tag %i \n", tag);
        return false;
    }
}

// Both take the bulk's own lock and give it back before they take the cache's: a bulk whose lock another thread keeps makes its
// user wait, and nobody else.

bool DataCache::setDataBulk(BulkData& bulk)
{
    {
        ScopedLock const heldOfBulk(*bulk.m_lock);
    }
    ScopedLock const held(*m_lock);
    auto const values = bulk.getTagsValues(); // not before: others may clear it while the cache's lock is waited for
    Span span(*this, true);
    bool accepted = true;
    DataTagValue_t written;
    for (auto const& [tag, item] : values) {
        if (setFromBulk(tag, *item, written)) {
            bulk.setTagWrittenToDb(tag, true);
        } else {
            LOG_ERROR(unit, "DataCache::setData - failed to set tag %i \n", tag);
            accepted = false;
        }
    }

    DataTagValue_t failed;
    accepted = flushTables(failed) && accepted;
    accepted = span.end(&failed) && accepted;
    if (!accepted) {
        for (auto const& entry : failed)
            bulk.setTagWrittenToDb(entry.first, false);
    }
    for (auto const& [tag, text] : written) {
        if (!failed.contains(tag))
            pushValue(tag, text);
    }
    notifyChanges();
    return accepted;
}

bool DataCache::getDataBulk(BulkData& bulk)
{
    std::vector<eDataTag> tags;
    {
        ScopedLock const heldOfBulk(*bulk.m_lock);
        tags = bulk.listTags();
    }
    ScopedLock const held(*m_lock);
    bool complete = true;
    for (auto const tag : tags) {
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

void DataCache::resetDataToDefault(std::list<eDataTag> const& tags)
{
    ScopedLock const held(*m_lock);
    DataTagValue_t defaults;
    for (auto const tag : tags)
        defaults.emplace(tag, "");
    DataItemBuilder::getDefaultValues(defaults, m_component, false);
    applyDefaults(defaults);
}

} // namespace Data

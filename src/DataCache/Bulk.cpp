// Many values at once: a client's bulk in and out, and the reset of a list of tags.
#include "Data/BulkData.h"
#include "Data/DataCache.h"
#include "Data/DataItemBase.h"
#include "Data/DataItemBuilder.h"
#include "Data/DataSourceDB.h"
#include "Data/SettingTraits.h"
#include "Media/Result.h"

#include "DataCache/CacheLock.h"
#include "DataCache/Operation.h"
#include "DataCache/Reasons.h"
#include "DataCache/TextValues.h"
#include "DataCache/WriteGroup.h"
#include "Log.h"

#include <algorithm>

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

/// Completes what was refused of a bulk by what its tables refused and what was not stored, in the order of the tags.
template <class IsWaiting> void addTablesAndLost(std::map<eDataTag, BulkDataItem*> const& values,
                                                 DataTagValue_t const& failed, DataTagValue_t const& lost,
                                                 IsWaiting const& isWaiting, std::vector<Media::Refusal>& refused)
{
    std::vector<Media::Refusal> all;
    auto next = refused.begin();
    for (auto const& entry : values) {
        auto const tag = entry.first;
        bool const isRefused = next != refused.end() && next->tag == tag;
        if (lost.contains(tag))
            all.push_back({tag, Media::Result::NotStored, notStored});
        else if (isRefused)
            all.push_back(std::move(*next));
        else if (failed.contains(tag))
            all.push_back({tag, Media::Result::Refused, refusedByTable});
        else if (isWaiting(tag))
            all.push_back({tag, Media::Result::NotStored, notYetStored});
        next += isRefused ? 1 : 0;
    }
    for (auto const& entry : lost) { // what a rule makes of them, too
        if (!values.contains(entry.first) && hasValue(entry.first))
            all.push_back({entry.first, Media::Result::NotStored, notStored});
    }
    std::ranges::sort(all, {}, &Media::Refusal::tag);
    refused = std::move(all);
}

} // namespace

/// `texts` gets the value when it went into the database.
template <class T> bool DataCache::setFromBulk(eDataTag tag, T const& value, DataTagValue_t& texts, Written& written)
{
    bool const set = setDataValue(tag, value, written);
    if (written.inDatabase)
        texts[tag] = convertToString(value);
    return set;
}

bool DataCache::setFromBulk(eDataTag tag, BulkDataItem const& item, DataTagValue_t& texts, Written& written)
{
    switch (item.itemType) {
    case eDataItemTypeInt:
        return setFromBulk(tag, item.intValue, texts, written);
    case eDataItemTypeBool:
        return setFromBulk(tag, item.boolValue, texts, written);
    case eDataItemTypeString:
        return setFromBulk(tag, item.stringValue, texts, written);
    default:
        LOG_ERROR(unit, "DataCache::setData - invalid entry tag %i \n", tag);
        return false;
    }
}

// Both take the bulk's own lock and give it back before they take the cache's: a bulk whose lock another thread keeps makes its
// user wait, and nobody else.

bool DataCache::setDataBulk(BulkData& bulk)
{
    return setDataBulk(bulk, nullptr);
}

bool DataCache::setDataBulk(BulkData& bulk, std::vector<Media::Refusal>* refused)
{
    {
        ScopedLock const heldOfBulk(*bulk.m_lock);
    }
    Operation const operation(*this);
    auto const values = bulk.getTagsValues(); // not before: others may clear it while the cache's lock is waited for
    Span span(*this, true);
    bool accepted = true;
    DataTagValue_t texts;
    for (auto const& [tag, item] : values) {
        Media::Result result;
        Asking const asking(*this, result, m_operations);
        Written written;
        if (setFromBulk(tag, *item, texts, written)) {
            bulk.setTagWrittenToDb(tag, true);
            continue;
        }
        LOG_ERROR(unit, "DataCache::setData - failed to set tag %i \n", tag);
        accepted = false;
        if (refused)
            refused->push_back({tag, result.kind(), result.reason()});
    }

    DataTagValue_t failed;
    DataTagValue_t lost;
    accepted = flushTables(failed) && accepted;
    accepted = span.end(&lost) && accepted;
    if (refused && !accepted)
        addTablesAndLost(
            values, failed, lost,
            [source = m_sourceDB.get()](eDataTag tag) { return source && source->isCellOfChangedTable(tag); }, *refused);
    failed.merge(lost);
    if (!accepted) {
        for (auto const& entry : failed)
            bulk.setTagWrittenToDb(entry.first, false);
    }
    for (auto const& [tag, text] : texts) {
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
    Operation const operation(*this);
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
    Operation const operation(*this);
    DataTagValue_t defaults;
    for (auto const tag : tags)
        defaults.emplace(tag, "");
    DataItemBuilder::getDefaultValues(defaults, m_component, false);
    applyDefaults(defaults);
}

} // namespace Data

// Single values: read, set, stored, pushed. Every read and write passes here, so this file is built for speed.
#include "Data/DataCache.h"

#include "Data/BulkData.h"
#include "Data/DataItemBase.h"
#include "Data/DataItemBuilder.h"
#include "Data/DataSourceDB.h"
#include "Data/DataSourceOCMS.h"

#include "DataCache/CacheLock.h"
#include "DataCache/Operation.h"
#include "DataCache/Reasons.h"
#include "DataCache/TextValues.h"
#include "DataCache/WriteGroup.h"
#include "Log.h"
#include "Media/Result.h"

#include <algorithm>

namespace Data {

namespace {

constexpr char const* unit = "./src/DataCache";

/// Setting one of these is an action: an unchanged value is set, stored and announced all the same.
constexpr bool isAction(eDataTag tag)
{
    return tag == eDataTagSubmitResendLatestQdcReport || tag == eDataTagQosStatistics;
}

/// Its write, or that of its table, goes on after its own.
bool belongsToTable(eDataTag tag)
{
    auto const& row = DataSourceDB::dataDbDescriptionTable[tag];
    return row.isTable || row.parentTable != eDataTagNone;
}

} // namespace

DataItemBase* DataCache::findItem(eDataTag tag) const
{
    auto const index = static_cast<std::size_t>(tag);
    return index < m_dataMap.size() ? m_dataMap[index] : nullptr;
}

eDataItemType DataCache::getItemType(eDataTag tag)
{
    return DataItemBuilder::getItemType(tag);
}

template <class T> bool DataCache::getData(eDataTag tag, T& value)
{
    ScopedLock const held(*m_lock);
    auto* const item = findItem(tag);
    if (!item)
        return readDataFromSourceOCMS(tag, value);
    if (item->source() == eDataSourceFile)
        applyFlagFile();
    return item->getValue(value);
}

/// Rare, and hence not inlined.
[[gnu::noinline]] void DataCache::applyFlagFile()
{
    Operation const operation(*this);
    if (applyChangedConfigFile())
        notifyChanges();
}

/// What is rare is called and not inlined, so that the way of an unchanged value is short.
template <class T> bool DataCache::setDataValue(eDataTag tag, T const& value, Written& written)
{
    auto* const item = findItem(tag);
    if (!item)
        return setAtManagement(tag, value);
    T present{};
    if (!item->getValue(present)) {
        LOG_ERROR(unit, "DataCache::setDataValue - ERR used wrong type in reading value for tag %i\n", tag);
        return false;
    }
    if (value == present && !isAction(tag))
        return true;
    return changeValue(*item, value, present, written);
}

template <class T> bool DataCache::setData(eDataTag tag, T const& value, bool toManagement)
{
    Operation const operation(*this);
    Written written;
    bool stored = setDataValue(tag, value, written);
    if (stored && !written.withTables && !flushTables()) {
        stored = false;
        tellRefused(refusedByTable);
    }
    if (stored && written.inDatabase && toManagement) {
        stored = pushValue(tag, value);
        if (!stored) {
            LOG_ERROR(unit, "DataCache::setData - ERR failed to set OCMS value\n");
            tellNotStored(notTaken);
        }
    }
    if (m_changed) // asked here, too, since an unchanged value is set often
        notifyChanges();
    return stored;
}

template <class T> bool DataCache::setData(eDataTag tag, T const& value, bool toManagement, Media::Result& result)
{
    Operation const operation(*this);
    Asking const asking(*this, result, m_operations + 1);
    return setData(tag, value, toManagement);
}

template <class T> [[gnu::noinline]] bool DataCache::setAtManagement(eDataTag tag, T const& value)
{
    if (pushValue(tag, value))
        return true;
    LOG_ERROR(unit, "DataCache::setDataValue - ERR failed to set OCMS value\n");
    tellNotStored(notTaken);
    return false;
}

template <class T>
[[gnu::noinline]] bool DataCache::changeValue(DataItemBase& item, T const& value, T const& present, Written& written)
{
    std::string reason;
    if (!item.setValue(value, reason)) {
        // The message names the batch operation; it is kept so, since logs are searched for it.
        LOG_ERROR(unit, "DataCache::setDataValues - ERR invalid value given! '%s'\n", reason.c_str());
        tellRefused(reason.c_str());
        return false;
    }
    auto const tag = item.tag();
    noteChange(tag);

    switch (item.source()) {
    case eDataSourceDB:
        if (m_group && (m_group->isInSpan() || belongsToTable(tag)))
            return storeInGroup(item, convertToString(present), written);
        written.inDatabase = storeItem(tag, &item);
        if (written.inDatabase)
            return true;
        WriteGroup::logNotStored(tag, WriteGroup::Origin::Value);
        tellNotStored(notStored);
        item.setValue(present, reason);
        touch(tag); // a nested pass may have taken the first change
        return false;
    case eDataSourceFile:
        LOG_ERROR(unit, "DataCache::setDataValue -> DATA_FILE not implemented \n");
        return true;
    case eDataSourceNone:
        return setAtManagement(tag, value);
    default:
        return true; // The group-pickup tag is kept in memory alone.
    }
}

bool DataCache::registerCallback(std::list<eDataTag> const& tags, DataUpdateCallback* callback)
{
    ScopedLock const held(*m_lock);
    bool complete = true;
    for (auto const tag : tags) {
        auto* const item = findItem(tag);
        if (item && callback)
            item->addCallback(callback);
        complete = complete && item;
    }
    return complete;
}

void DataCache::unregisterCallback(DataUpdateCallback* callback)
{
    // Only the item with the lowest tag forgets the callback: required behaviour that clients rely on.
    ScopedLock const held(*m_lock);
    auto const lowest = std::ranges::find_if(m_dataMap, [](auto const* item) { return item != nullptr; });
    if (lowest != m_dataMap.end())
        (*lowest)->removeCallback(callback);
}

bool DataCache::getDataOcms(ManageableData& record)
{
    return m_sourceOCMS->getData(record);
}

bool DataCache::setDataOcms(ManageableData& record)
{
    return m_sourceOCMS->setData(record);
}

bool DataCache::manageableDataChanged(ManageableData& record)
{
    m_sourceOCMS->manageableDataChanged(record);
    return true;
}

MgmtAgentIfc& DataCache::managementAgent()
{
    return *m_sourceOCMS;
}

bool DataCache::storeItem(eDataTag tag, DataItemBase const* item)
{
    if (m_group && m_sourceDB && m_group->isInSpan())
        m_group->beginWriting(tag);
    return m_sourceDB && m_sourceDB->writeDataValue(tag, item);
}

bool DataCache::flushTables(DataTagValue_t& rejected)
{
    WriteGroup::Flush const flush(m_group.get());
    return m_sourceDB && m_sourceDB->writeDataTables(rejected);
}

bool DataCache::flushTables()
{
    if (m_sourceDB && !m_sourceDB->hasChangedTables())
        return true;
    DataTagValue_t scratch;
    return flushTables(scratch);
}

template <class T> bool DataCache::pushValue(eDataTag tag, T const& value)
{
    Pause const pause(m_group.get());
    return m_sourceOCMS && m_sourceOCMS->setData(tag, convertToString(value));
}

template <class T> bool DataCache::fetchValue(eDataTag tag, T& value)
{
    if (!m_sourceOCMS)
        return false;
    Pause const pause(m_group.get());
    std::string text;
    bool const read = m_sourceOCMS->getData(tag, text);
    convertFromString(text, value);
    return read;
}

bool DataCache::writeDataToSourceDB(eDataTag tag, DataItemBase const* item)
{
    Operation const operation(*this);
    Span span(*this);
    bool const isWritten = storeItem(tag, item);
    bool const isStored = span.end();
    if (isWritten && !isStored)
        DataSourceDB::logNotStored(tag);
    return isWritten && isStored;
}

bool DataCache::updateDataInSourceDB(DataTagValue_t& rejected)
{
    Operation const operation(*this);
    return flushTables(rejected);
}

bool DataCache::updateDataInSourceDB()
{
    Operation const operation(*this);
    return flushTables();
}

template <class T> bool DataCache::writeDataToSourceOCMS(eDataTag tag, T const& value)
{
    Operation const operation(*this);
    return pushValue(tag, value);
}

template <class T> bool DataCache::readDataFromSourceOCMS(eDataTag tag, T& value)
{
    Operation const operation(*this);
    return fetchValue(tag, value);
}

// For the three types of values.
#define INSTANTIATE(T)                                                                                                      \
    template MEDIADATA_EXPORT bool DataCache::getData<T>(eDataTag, T&);                                                     \
    template MEDIADATA_EXPORT bool DataCache::setData<T>(eDataTag, T const&, bool);                                         \
    template MEDIADATA_HIDDEN bool DataCache::setData<T>(eDataTag, T const&, bool, Media::Result&);                         \
    template MEDIADATA_EXPORT bool DataCache::readDataFromSourceOCMS<T>(eDataTag, T&);                                      \
    template MEDIADATA_EXPORT bool DataCache::writeDataToSourceOCMS<T>(eDataTag, T const&);                                 \
    template bool DataCache::setDataValue<T>(eDataTag, T const&, Written&);
INSTANTIATE(int)
INSTANTIATE(bool)
INSTANTIATE(std::string)
#undef INSTANTIATE
template bool DataCache::pushValue<std::string>(eDataTag, std::string const&);

} // namespace Data

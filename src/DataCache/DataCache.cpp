#include "Data/DataCache.h"

#include "Data/BulkData.h"
#include "Data/DataItemBase.h"
#include "Data/DataItemBuilder.h"
#include "Data/DataSourceDB.h"
#include "Data/DataSourceFile.h"

#include "Data/DataSourceOCMS.h"
#include "DataCache/CacheLock.h"
#include "DataCache/TextValues.h"
#include "DataCache/WriteGroup.h"
#include "Log.h"

#include "ManageableData.h"
#include "SvcRTEContext.h"

#include <algorithm>
#include <utility>

namespace Data {

namespace {

constexpr char const* unit = "./src/DataCache";

/// Setting one of these is an action: an unchanged value is set, stored and announced all the same.
constexpr bool isAction(eDataTag tag)
{
    return tag == eDataTagSubmitResendLatestQdcReport || tag == eDataTagQosStatistics;
}

/// For the management service an announcement of mobility is an action too.
constexpr bool isActionInBatch(eDataTag tag)
{
    return tag == eDataTagSubmitResendLatestQdcReport || tag == eDataTagQosStatistics || tag == eDataTagMobilityDataUpdate;
}

/// Its write, or that of its table, goes on after its own.
bool belongsToTable(eDataTag tag)
{
    auto const& row = DataSourceDB::dataDbDescriptionTable[tag];
    return row.isTable || row.parentTable != eDataTagNone;
}

/// A text as the log may quote it.
char const* quotable(eDataTag tag, std::string const& text)
{
    auto const* const row = DataSourceDB::findDescription(tag);
    bool const isSecret = row && row->element && ClientUtils::isKnownPasswordDAS(*row->element);
    return isSecret ? "***" : text.c_str();
}

} // namespace

DataCache::DataCache(SvcRTEContext& context, std::list<eDataTag> const& observedTags, eDataComponent component)
    : m_component(component), m_lock(std::make_unique<CacheLock>(CacheLock::State::Held)),
      m_group(WriteGroup::make(*this, context))
{
    clearDataMap();

    auto const ownTags = DataItemBuilder::tagsOf(component);
    std::list<eDataTag> handled;
    for (eDataTag const tag : ownTags)
        place(tag, DataItemBuilder::createDataItem(tag, DataItemBuilder::sourceOf(tag, false)));
    std::map<eDataTag, DataItemBase*> observed;
    for (eDataTag const tag : observedTags) {
        if (auto* const own = findItem(tag))
            observed.emplace(tag, own); // is found there and stays
    }
    DataItemBuilder::addIntoDataMap(observedTags, true, observed, handled);
    for (auto const& [tag, item] : observed)
        place(tag, item);

    m_sourceDB = std::make_unique<DataSourceDB>(ownTags, context, this);
    m_sourceOCMS = std::make_unique<DataSourceOCMS>(context, handled, ownTags, this, this);
    m_sourceFile = std::make_unique<DataSourceFile>();

    readAllDataFromSourceDB();
    readDataFromSourceFile();

    // What was read at start-up notifies nobody.
    for (auto* const item : m_dataMap) {
        if (item)
            item->takeChange();
    }
    m_touched.clear();

    m_initialised = true;
    m_lock->give();
}

DataCache::~DataCache()
{
    m_lock->take();
    clearDataMap();
    m_sourceDB.reset();
    m_sourceOCMS.reset();
    m_sourceFile.reset();
    m_lock->give();
}

void DataCache::clearDataMap()
{
    ScopedLock const held(*m_lock);
    for (auto*& item : m_dataMap)
        delete std::exchange(item, nullptr);
    m_touched.clear();
}

DataItemBase* DataCache::findItem(eDataTag tag) const
{
    auto const index = static_cast<std::size_t>(tag);
    return index < m_dataMap.size() ? m_dataMap[index] : nullptr;
}

void DataCache::place(eDataTag tag, DataItemBase* item)
{
    m_dataMap[static_cast<std::size_t>(tag)] = item;
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
        return fetchValue(tag, value);
    if (item->source() == eDataSourceFile && applyChangedConfigFile())
        notifyChanges();
    return item->getValue(value);
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
    ScopedLock const held(*m_lock);
    Written written;
    bool stored = setDataValue(tag, value, written) && (written.withTables || flushTables());
    if (stored && written.inDatabase && toManagement) {
        stored = pushValue(tag, value);
        if (!stored)
            LOG_ERROR(unit, "DataCache::setData - ERR failed to set OCMS value\n");
    }
    if (m_changed) // asked here, too, since an unchanged value is set often
        notifyChanges();
    return stored;
}

template <class T> [[gnu::noinline]] bool DataCache::setAtManagement(eDataTag tag, T const& value)
{
    if (pushValue(tag, value))
        return true;
    LOG_ERROR(unit, "DataCache::setDataValue - ERR failed to set OCMS value\n");
    return false;
}

template <class T>
[[gnu::noinline]] bool DataCache::changeValue(DataItemBase& item, T const& value, T const& present, Written& written)
{
    std::string reason;
    if (!item.setValue(value, reason)) {
        // The message names the batch operation; it is kept so, since logs are searched for it.
        LOG_ERROR(unit, "DataCache::setDataValues - ERR invalid value given! '%s'\n", reason.c_str());
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
        item.setValue(present, reason);
        m_touched.insert(tag); // a nested pass may have taken the first change
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

/// One value of several that are stored as a whole: with its table, or with what the operation under way stores besides.
bool DataCache::storeInGroup(DataItemBase& item, std::string const& before, Written& written)
{
    auto const tag = item.tag();
    bool const isAlone = !m_group->isInSpan();
    Span span(*this);
    written.inDatabase = storeItem(tag, &item);
    if (!written.inDatabase) {
        std::string reason;
        WriteGroup::logNotStored(tag, WriteGroup::Origin::Value);
        item.setValueString(before, reason);
        m_touched.insert(tag);
        return false;
    }
    m_group->note(tag, before, WriteGroup::Origin::Value, true);
    if (!isAlone)
        return true;
    written.withTables = true;
    bool const flushed = flushTables();
    return span.end() && flushed;
}

bool DataCache::setDataValues(DataTagValue_t const& values, DataTagValue_t& rejected, bool persist, bool toManagement)
{
    ScopedLock const held(*m_lock);
    return setTexts(values, &rejected, persist, toManagement);
}

bool DataCache::setTexts(DataTagValue_t const& values, DataTagValue_t* rejected, bool persist, bool toManagement)
{
    if (!persist || !m_initialised)
        return setEachText(values, rejected, false, false);
    Span span(*this);
    bool const accepted = setEachText(values, rejected, true, toManagement);
    return span.end() && accepted;
}

bool DataCache::setEachText(DataTagValue_t const& values, DataTagValue_t* rejected, bool persist, bool toManagement)
{
    bool accepted = true;
    for (auto const& [tag, text] : values) {
        auto* const item = findItem(tag);
        if (!item)
            continue;
        std::string present;
        if (item->getValueString(present) && present == text && !isActionInBatch(tag)) {
            if (rejected)
                (*rejected)[tag] = "";
            continue;
        }
        std::string reason;
        if (!item->setValueString(text, reason)) {
            LOG_ERROR(unit, "DataCache::setDataValues - ERR invalid value '%s' given! '%s'\n", quotable(tag, text),
                      reason.c_str());
            if (rejected)
                (*rejected)[tag] = reason;
            accepted = false;
            continue;
        }
        noteChange(tag);
        bool const isStored = persist && item->source() == eDataSourceDB;
        if (isStored && !storeItem(tag, item)) {
            WriteGroup::logNotStored(tag, WriteGroup::Origin::Batch);
            item->setValueString(present, reason);
            m_touched.insert(tag);
            return false;
        }
        if (m_group && (isStored || m_group->notesAll()))
            m_group->note(tag, std::move(present), WriteGroup::Origin::Batch, isStored);
        if (isStored && toManagement && !(m_group && m_group->owe(tag, text)))
            pushValue(tag, text);
    }
    return accepted;
}

void DataCache::getDataValues(DataTagValue_t& values)
{
    ScopedLock const held(*m_lock);
    getTexts(values);
}

void DataCache::getPendingUserData(DataTagValue_t& values)
{
    ScopedLock const held(*m_lock);
    values = push().settings;
}

void DataCache::getTexts(DataTagValue_t& values)
{
    for (auto& [tag, text] : values) {
        auto const* const item = findItem(tag);
        if (item && !item->getValueString(text))
            LOG_ERROR(unit, "DataCache::getDataValues - ERR ... shouldn't happen that someone asks us for value of item we "
                            "don't have (and own)\n");
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

bool DataCache::readStored(eDataTag tag, DataItemBase* item)
{
    bool const read = m_sourceDB && m_sourceDB->readDataValue(tag, item);
    if (item && findItem(item->tag()) == item) // callers may bring an item of their own
        m_touched.insert(item->tag());
    return read;
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

bool DataCache::readDataFromSourceDB(eDataTag tag, DataItemBase* item)
{
    ScopedLock const held(*m_lock);
    return readStored(tag, item);
}

bool DataCache::writeDataToSourceDB(eDataTag tag, DataItemBase const* item)
{
    ScopedLock const held(*m_lock);
    Span span(*this);
    bool const isWritten = storeItem(tag, item);
    bool const isStored = span.end();
    if (isWritten && !isStored)
        DataSourceDB::logNotStored(tag);
    return isWritten && isStored;
}

bool DataCache::updateDataInSourceDB(DataTagValue_t& rejected)
{
    ScopedLock const held(*m_lock);
    return flushTables(rejected);
}

bool DataCache::updateDataInSourceDB()
{
    ScopedLock const held(*m_lock);
    return flushTables();
}

template <class T> bool DataCache::writeDataToSourceOCMS(eDataTag tag, T const& value)
{
    ScopedLock const held(*m_lock);
    return pushValue(tag, value);
}

template <class T> bool DataCache::readDataFromSourceOCMS(eDataTag tag, T& value)
{
    ScopedLock const held(*m_lock);
    return fetchValue(tag, value);
}

void DataCache::readAllDataFromSourceDB()
{
    ScopedLock const held(*m_lock);
    for (auto* const item : m_dataMap) {
        if (item && item->source() == eDataSourceDB)
            readStored(item->tag(), item);
    }
    if (m_sourceDB)
        m_sourceDB->readDataFromTables(false);
    m_changed = true;
}

void DataCache::readUserDataFromSourceDB()
{
    ScopedLock const held(*m_lock);
    Span const span(*this);
    for (auto* const item : m_dataMap) {
        if (item && DataItemBuilder::isUserData(item->tag()))
            readStored(item->tag(), item);
    }
    if (m_sourceDB)
        m_sourceDB->readDataFromTables(true);
    m_changed = true;
}

// For the three types of values.
#define INSTANTIATE(T)                                                                                                      \
    template MEDIADATA_EXPORT bool DataCache::getData<T>(eDataTag, T&);                                                     \
    template MEDIADATA_EXPORT bool DataCache::setData<T>(eDataTag, T const&, bool);                                         \
    template MEDIADATA_EXPORT bool DataCache::readDataFromSourceOCMS<T>(eDataTag, T&);                                      \
    template MEDIADATA_EXPORT bool DataCache::writeDataToSourceOCMS<T>(eDataTag, T const&);                                 \
    template bool DataCache::setDataValue<T>(eDataTag, T const&, Written&);
INSTANTIATE(int)
INSTANTIATE(bool)
INSTANTIATE(std::string)
#undef INSTANTIATE
template bool DataCache::pushValue<std::string>(eDataTag, std::string const&);

} // namespace Data

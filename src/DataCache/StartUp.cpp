// How a cache comes to its items and they to their stored values, and how it ends.
#include "Data/DataCache.h"

#include "Data/DataItemBase.h"
#include "Data/DataItemBuilder.h"
#include "Data/DataSourceDB.h"
#include "Data/DataSourceFile.h"
#include "Data/DataSourceOCMS.h"

#include "DataCache/CacheLock.h"
#include "DataCache/Operation.h"
#include "DataCache/WriteGroup.h"

#include "SvcRTEContext.h"

#include <map>
#include <utility>

namespace Data {

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

void DataCache::place(eDataTag tag, DataItemBase* item)
{
    m_dataMap[static_cast<std::size_t>(tag)] = item;
}

bool DataCache::readStored(eDataTag tag, DataItemBase* item)
{
    bool const read = m_sourceDB && m_sourceDB->readDataValue(tag, item);
    if (item && findItem(item->tag()) == item) // callers may bring an item of their own
        touch(item->tag());
    return read;
}

bool DataCache::readDataFromSourceDB(eDataTag tag, DataItemBase* item)
{
    Operation const operation(*this);
    return readStored(tag, item);
}

void DataCache::readAllDataFromSourceDB()
{
    Operation const operation(*this);
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
    Operation const operation(*this);
    Span const span(*this);
    for (auto* const item : m_dataMap) {
        if (item && DataItemBuilder::isUserData(item->tag()))
            readStored(item->tag(), item);
    }
    if (m_sourceDB)
        m_sourceDB->readDataFromTables(true);
    m_changed = true;
}

} // namespace Data

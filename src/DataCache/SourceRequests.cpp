// What the database and the management service ask of the cache.
#include "Data/DataCache.h"
#include "Data/DataItemBase.h"
#include "Data/DataItemBuilder.h"

#include "DataCache/Operation.h"
#include "DataCache/WriteGroup.h"

namespace Data {

void DataCache::applyDefaults(DataTagValue_t const& defaults)
{
    if (!defaults.empty())
        setTexts(defaults, nullptr, true, false);
}

void DataCache::dbCBGetFailed(eDataTag tag)
{
    Operation const operation(*this);
    DataTagValue_t defaults{{tag, ""}};
    DataItemBuilder::getDefaultValues(defaults, eDataComponentNone, true);
    applyDefaults(defaults);
}

void DataCache::dbCBResetSelectedToDefault(DataTagValue_t& values)
{
    Operation const operation(*this);
    DataItemBuilder::getDefaultValues(values, m_component, false);
    applyDefaults(values);
}

void DataCache::ocmsCBResetToDefault()
{
    {
        Operation const operation(*this);
        Span span(*this);
        std::map<eDataTag, DataItemBase*> items;
        for (auto* const item : m_dataMap) {
            if (item)
                items.emplace_hint(items.end(), item->tag(), item);
        }
        DataTagValue_t defaults;
        DataItemBuilder::getDefaultValues(items, defaults, m_component, true);
        applyDefaults(defaults);
        // Here the tables are stored, too; the facade's resets leave that to the next change.
        flushTables();
        span.end();
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
        Operation const operation(*this);
        Span span(*this);
        bool const accepted = setTexts(values, &rejected, true, false);
        bool const flushed = flushTables();
        stored = span.end() && flushed && accepted;
    }
    updateCallbacks();
    return stored;
}

void DataCache::mobilityChanged(std::string const& value)
{
    Operation const operation(*this);
    DataMobility::mobilityChanged(value);
}

void DataCache::dbCBGetDataValues(DataTagValue_t& values)
{
    getDataValues(values);
}

bool DataCache::dbCBSetDataValues(DataTagValue_t const& values, bool persist, bool toManagement)
{
    Operation const operation(*this);
    return setTexts(values, nullptr, persist, toManagement);
}

bool DataCache::dbCBQueryIsTableUserData(eDataTag table)
{
    return DataItemBuilder::isUserData(table);
}

} // namespace Data

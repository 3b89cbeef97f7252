#include "TableRehearsal.h"

#include "Items.h"
#include "Outcomes.h"
#include "Session.h"

#include "Data/DataItemBuilder.h"
#include "Data/DataSourceDB.h"
#include "Data/DataTableHandler.h"

#include <list>
#include <utility>

namespace Tool {

using namespace Data;
using Handler = DataSourceDB::DataTableHandler;
using Builder = DataCache::DataItemBuilder;

namespace {

/// The door openers are left out: their rule writes the cameras through the facade, past the callback.
std::list<eDataTag> const tables{eDataTagGroupPickup, eDataTagCodecSettings, eDataTagDistinctiveRinging,
                                 eDataTagSRTPEncryptionSettings, eDataTagHeadsetPriorities};

} // namespace

void TableRehearsal::want(eDataTag tag, std::string text)
{
    m_values[tag] = std::move(text);
}

std::set<eDataTag> TableRehearsal::refused()
{
    Handler handler(tables, this);
    for (auto const& [tag, text] : m_values)
        handler.setTableChanged(storedTableOf(tag));
    DataTagValue_t rejected;
    handler.writeTablesToDB(rejected);
    std::set<eDataTag> result;
    for (auto const& [tag, text] : rejected) {
        if (storedTableOf(tag) != eDataTagNone)
            result.insert(storedTableOf(tag));
    }
    return result;
}

DataTagValue_t TableRehearsal::read(DataTagValue_t stored)
{
    m_fromCache = false;
    m_values = std::move(stored);
    Handler(tables, this).readDataFromTables(false);
    return m_values;
}

void TableRehearsal::dbCBGetDataValues(DataTagValue_t& values)
{
    for (auto& [tag, text] : values) {
        auto const own = m_values.find(tag);
        if (own != m_values.end())
            text = own->second;
        else if (m_fromCache)
            text = textOf(readValue(tag).value_or(Json("")));
        else if (auto const* const record = Builder::findDataRecord(tag))
            text = record->value.text;
    }
}

bool TableRehearsal::dbCBSetDataValues(DataTagValue_t const& values, bool, bool)
{
    std::string ignored;
    for (auto const& [tag, text] : values) {
        if (!validate(tag, text, ignored).is_null())
            m_values[tag] = text;
    }
    return true;
}

void TableRehearsal::dbCBGetFailed(eDataTag) {}

void TableRehearsal::dbCBResetSelectedToDefault(DataTagValue_t& values)
{
    Builder::getDefaultValues(values, eDataComponentMedia, false);
    dbCBSetDataValues(values, false, false);
}

bool TableRehearsal::dbCBQueryIsTableUserData(eDataTag table)
{
    return Builder::isUserData(table);
}

} // namespace Tool

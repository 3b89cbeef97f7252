#include "workbench/Rehearsal.h"

#include "workbench/Items.h"
#include "workbench/Values.h"

#include "Data/DataItemBuilder.h"
#include "Data/DataSourceDB.h"
#include "Data/DataSourceOCMS.h"
#include "Data/DataTableHandler.h"
#include "Tables/Tables.h"

#include "ManageableData.h"
#include "SvcRTEContext.h"

#include <fmt/format.h>

#include <list>
#include <utility>

namespace Tool {

using namespace Data;
using Handler = DataSourceDB::DataTableHandler;
using Builder = DataCache::DataItemBuilder;

namespace {

/// The door openers are left out: their rule writes the cameras through the facade, past the callback.
std::list<eDataTag> rehearsedTables()
{
    std::list<eDataTag> tags;
    for (auto const& table : Tables::all) {
        if (table.tag != eDataTagNone && table.tag != eDataTagDoorOpeners)
            tags.push_back(table.tag);
    }
    return tags;
}

/// The two moments at which the check of a table looks at it.
struct Moment {
    bool atStart;
    char const* refusal;
};

constexpr Moment moments[]{
    {false, "the check of the table {} rejected it: {}"},
    // A start reads a table before it asks the hardware; a table that it rejects goes back to the defaults.
    {true, "the table {} would be lost at the next start, when hidden rows count, too: {}"},
};

constexpr char const* demand = "each row needs a type or method and a rank of its own, and one must be allowed";

/// Under this context a management source of one's own tells the service nothing.
class NoServices : public SvcRTEContext {
public:
    Executable* findService(std::string const&) override { return nullptr; }
};

} // namespace

void Rehearsal::want(eDataTag tag, std::string text)
{
    m_values[tag] = std::move(text);
}

void Rehearsal::want(ManageableData request)
{
    NoServices none;
    DataSourceOCMS(none, eDataComponentMedia, {}, {allTags().begin(), allTags().end()}, this, nullptr).setData(request);
}

DataTagValue_t Rehearsal::write()
{
    Handler handler(rehearsedTables(), this);
    for (auto const& [tag, text] : m_values)
        handler.setTableChanged(storedTableOf(tag));
    DataTagValue_t rejected;
    handler.writeTablesToDB(rejected);
    return rejected;
}

DataTagValue_t Rehearsal::tableTexts()
{
    write();
    DataTagValue_t texts;
    for (auto const table : rehearsedTables()) {
        if (auto const written = m_values.find(table); written != m_values.end())
            texts.insert(*written);
    }
    return texts;
}

std::map<eDataTag, std::string> Rehearsal::refused()
{
    std::map<eDataTag, std::string> result;
    auto const wanted = m_values;
    for (auto const& moment : moments) {
        m_values = wanted; // The check restores what it rejects.
        m_atStart = moment.atStart;
        for (auto const& [tag, text] : write()) {
            if (auto const table = storedTableOf(tag); table != eDataTagNone)
                result.try_emplace(table, fmt::format(fmt::runtime(moment.refusal), nameOf(table), demand));
        }
    }
    return result;
}

DataTagValue_t Rehearsal::read(DataTagValue_t stored)
{
    m_fromCache = false;
    m_values = std::move(stored);
    Handler(rehearsedTables(), this).readDataFromTables(false);
    return m_values;
}

void Rehearsal::dbCBGetDataValues(DataTagValue_t& values)
{
    for (auto& [tag, text] : values) {
        auto const own = m_values.find(tag);
        bool const isUntold = m_atStart && Tables::isHardwareFlag(tag);
        if (own != m_values.end() && !isUntold)
            text = own->second;
        else if (m_fromCache && !isUntold)
            text = textOf(readValue(tag).value_or(Json("")));
        else if (auto const* const record = Builder::findDataRecord(tag))
            text = record->value.text;
    }
}

bool Rehearsal::dbCBSetDataValues(DataTagValue_t const& values, bool, bool)
{
    std::string ignored;
    for (auto const& [tag, text] : values) {
        if (validate(tag, text, ignored).is_null())
            m_refusals.emplace_back(tag, text);
        else
            m_values[tag] = text;
    }
    return true;
}

void Rehearsal::dbCBGetFailed(eDataTag) {}

void Rehearsal::dbCBResetSelectedToDefault(DataTagValue_t& values)
{
    Builder::getDefaultValues(values, eDataComponentMedia, false);
    dbCBSetDataValues(values, false, false);
}

bool Rehearsal::dbCBQueryIsTableUserData(eDataTag table)
{
    return Builder::isUserData(table);
}

void Rehearsal::ocmsCBGetDataValues(DataTagValue_t& values)
{
    dbCBGetDataValues(values);
}

bool Rehearsal::ocmsCBSetDataValues(DataTagValue_t const& values, DataTagValue_t&)
{
    return dbCBSetDataValues(values, true, false);
}

void Rehearsal::ocmsCBResetToDefault() {}

} // namespace Tool

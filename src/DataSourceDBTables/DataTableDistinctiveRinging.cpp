// The distinctive ringing table: how it keeps in step with the general ringer settings.
#include "Data/DataTableDistinctiveRinging.h"

#include "ClientUtils.h"
#include "Media/MediaDataCache.h"
#include "Tables/Tables.h"

#include <cstdio>
#include <optional>
#include <utility>
#include <vector>

namespace Data {

using RingingTable = DataSourceDB::DataTableHandler::DataTableDistinctiveRinging;

using Tables::ringing;

namespace {

template <class T> std::optional<T> valueOf(eDataTag tag)
{
    T value{};
    return Media::MediaDataCache::getData(tag, value) ? std::optional<T>(std::move(value)) : std::nullopt;
}

/// What rows without identifier have in a column.
std::string textWithoutIdentifier(Tables::Column const& column)
{
    if (column.general == eDataTagNone)
        return column.unnamed;
    if (column.type == eDataItemTypeString)
        return valueOf<std::string>(column.general).value_or(column.unnamed);
    auto const number = valueOf<int>(column.general);
    return number ? ClientUtils::itos(*number) : column.unnamed;
}

} // namespace

RingingTable::DataTableDistinctiveRinging() : XmlTable(ringing) {}

void RingingTable::initializeIndexMax()
{
    m_indexMax = ringing.rows - 1;
}

bool RingingTable::processReadData(DataTagValue_t& values, bool clearFiles)
{
    xmlToTableItems(values, clearFiles);
    return true;
}

void RingingTable::xmlToTableItems(DataTagValue_t& values, bool clearFiles)
{
    if (!values.contains(m_firstTag))
        return;
    if (clearFiles)
        for (auto cell = values.lower_bound(eDataTagRingerFile0); cell != values.end() && cell->first <= m_lastTag; ++cell)
            cell->second.clear();
    parse(values);
}

bool RingingTable::updateDefaultValues(DataTagValue_t& values)
{
    std::vector<std::pair<eDataTag, std::string>> general; // by the first cell of the column
    general.reserve(ringing.columns.size());
    for (Tables::Column const& column : ringing.columns)
        if (column.unnamed)
            general.emplace_back(column.first, textWithoutIdentifier(column));
    bool changed = false;
    for (int row = 0; row < ringing.rows; ++row) {
        if (!values[ringing.cell(ringing.column(Tables::Role::identifier), row)].empty())
            continue;
        for (auto const& [column, text] : general) {
            std::string& cell = values[ringing.cell(column, row)];
            if (cell != text) {
                cell = text;
                changed = true;
            }
        }
    }
    return changed;
}

int RingingTable::checkTableData(DataTagValue_t& values, DataTagValue_t& toStore)
{
    bool const changed = updateDefaultValues(values);
    tableItemsToXml(values);
    moveText(values, toStore);
    return changed ? eTableCorrected : eTableValid;
}

bool RingingTable::tableItemsToXml(DataTagValue_t& values)
{
    if (m_indexMax == 0) {
        std::puts("; ERR distinctive ringing table doesn't have properly indexed items?");
        std::fflush(stdout);
        return false;
    }
    return buildText(values);
}

} // namespace Data

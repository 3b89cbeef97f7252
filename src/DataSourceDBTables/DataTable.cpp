// What every table has: its range of tags.
#include "Data/DataTable.h"

#include "Tables/Tables.h"

namespace Data {

using Table = DataSourceDB::DataTableHandler::DataTable;

Table::DataTable(eDataTag firstTag, eDataTag lastTag) : m_firstTag(firstTag), m_lastTag(lastTag) {}

Table::~DataTable() = default;

void Table::getTableItemTags(DataTagValue_t& values)
{
    for (eDataTag tag = m_firstTag; tag <= m_lastTag; tag = Tables::cellTag(tag, 1))
        values.try_emplace(values.end(), tag)->second.clear();
}

void Table::initializeIndexMax() {}

} // namespace Data

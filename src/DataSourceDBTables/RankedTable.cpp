// Reading, checking and writing of the ranked tables.
#include "Data/RankedTable.h"

#include "ClientUtils.h"
#include "Log.h"
#include "Tables/Tables.h"

#include <algorithm>

namespace Data {

using Tables::cellTag;
using Tables::Role;
using enum DataSourceDB::DataTableHandler::eTableCheck;

namespace {

constexpr char const* unit = "./src/DataSourceDBTables";

} // namespace

RankedTable::RankedTable(Tables::Table const& table, RankedTableWords const& words,
                         void (*sort)(DataTagValue_t& values, int count))
    : XmlTable(table), m_words(words), m_sort(sort)
{}

void RankedTable::getTableItemTags(DataTagValue_t& values)
{
    XmlTable::getTableItemTags(values);
    for (eDataTag flag = cellTag(m_table.last, 1); flag <= m_table.lastFlag; flag = cellTag(flag, 1))
        values.try_emplace(values.end(), flag)->second.clear();
}

void RankedTable::initializeIndexMax()
{
    m_indexMax = m_table.rows - 1;
}

bool RankedTable::processReadData(DataTagValue_t& values, bool clearFiles)
{
    xmlToTableItems(values, clearFiles);
    return true;
}

void RankedTable::xmlToTableItems(DataTagValue_t& values, bool /*clearFiles*/)
{
    if (!values.contains(m_firstTag))
        return;
    parse(values);
    m_sort(values, m_indexMax + 1);
}

bool RankedTable::tableItemsToXml(DataTagValue_t& values)
{
    if (m_indexMax == 0) {
        LOG_ERROR(unit, "%s", m_words.notIndexed);
        return false;
    }
    return buildText(values);
}

int RankedTable::checkTableData(DataTagValue_t& values, DataTagValue_t& toStore)
{
    DataTagValue_t previous = values;
    xmlToTableItems(previous, false);
    std::vector<Row> rows;
    if (checkRows(values, rows)) {
        tableItemsToXml(values);
        moveText(values, toStore);
        return eTableValid;
    }
    rows.clear();
    if (checkRows(previous, rows)) {
        LOG_ERROR(unit,
                  "DataSourceDB::DataTableHandler::%s::checkTableData -> ocms set failed, restoring previous values \n",
                  m_words.className);
        moveText(previous, toStore);
        values = std::move(previous);
        return eTableRejected;
    }
    LOG_ERROR(unit, "DataSourceDB::DataTableHandler::%s::checkTableData -> data corrupted, resetting table to default\n",
              m_words.className);
    return eTableCorrupt;
}

bool RankedTable::checkRows(DataTagValue_t const& values, std::vector<Row>& rows) const
{
    Lists lists;
    rows.resize(static_cast<std::size_t>(m_table.rows)); // all that the cells may name, also before the table was indexed
    return readRows(values, rows, lists) && judgeRows(rows, lists);
}

bool RankedTable::readRows(DataTagValue_t const& values, std::vector<Row>& records, Lists& lists) const
{
    for (auto const& [tag, text] : values) {
        if (tag == m_firstTag)
            continue;
        if (!m_table.holds(tag)) {
            LOG_ERROR(unit, "DataSourceDB::DataTableHandler::%s::checkSaneValues -> received unknown tag in data %i \n",
                      m_words.className, int{tag});
            continue;
        }
        auto const index = static_cast<std::size_t>(m_table.rowOf(tag));
        Row& row = records[index];
        switch (m_table.find(m_table.columnOf(tag))->role) {
        case Role::choice:
            row.choice = ClientUtils::stoi(text);
            if (row.choice < 0 || row.choice > m_indexMax) {
                LOG_ERROR(unit,
                          "DataSourceDB::DataTableHandler::%s::checkSaneValues -> received invalid %s %d at index %zu - "
                          "restoring previous values\n",
                          m_words.className, m_words.choice, row.choice, index);
                return false;
            }
            lists.choices += " " + text;
            break;
        case Role::rank:
            row.rank = ClientUtils::stoi(text);
            if (row.rank < 1 || row.rank > m_indexMax + 1) {
                LOG_ERROR(unit,
                          "DataSourceDB::DataTableHandler::%s::checkSaneValues -> received wrong rank %d at index %zu - "
                          "restoring previous values\n",
                          m_words.className, row.rank, index);
                return false;
            }
            lists.ranks += " " + text;
            break;
        case Role::allowed:
            row.allowed = ClientUtils::stob(text);
            break;
        case Role::flag:
            row.hwAllowed = ClientUtils::stob(text);
            break;
        default:
            break;
        }
    }
    return true;
}

bool RankedTable::judgeRows(std::vector<Row> const& records, Lists const& lists) const
{
    bool anyAllowed = false;
    bool anyRepeated = false;
    for (auto row = records.begin(); row != records.end(); ++row) {
        if (!row->hwAllowed) {
            LOG_AT(unit, 5, "checkSaneValues: ignoring non-hw allowed %s %s %d with rank %d", m_words.kind, m_words.choice,
                   row->choice, row->rank);
            continue;
        }
        anyRepeated = anyRepeated || std::any_of(records.begin(), row, [&row](Row const& earlier) {
                          return earlier.hwAllowed && (earlier.rank == row->rank || earlier.choice == row->choice);
                      });
        anyAllowed = anyAllowed || row->allowed;
        LOG_AT(unit, 5, "checkSaneValues: adding %s %s %d with rank %d, allowed: %d", m_words.kind, m_words.choice,
               row->choice, row->rank, int{row->allowed});
    }
    if (!anyAllowed) {
        LOG_ERROR(unit, "DataSourceDB::DataTableHandler::%s::checkSaneValues -> all %s %ss are disabled\n",
                  m_words.className, m_words.kind, m_words.choice);
        return false;
    }
    if (anyRepeated) {
        LOG_ERROR(unit,
                  "DataSourceDB::DataTableHandler::%s::checkSaneValues received ranks (%s), %ss(%s) - some rank or %s is "
                  "missing\n",
                  m_words.className, lists.ranks.c_str(), m_words.choice, lists.choices.c_str(), m_words.choice);
        return false;
    }
    return true;
}

} // namespace Data

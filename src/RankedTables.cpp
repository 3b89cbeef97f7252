// Sorting of ranked tables.
#include "Data/RankedTables.h"

#include "ClientUtils.h"
#include "Tables/Tables.h"

namespace Data::Utils {

using Tables::cellTag;
using Tables::Role;

namespace {

void sortByRank(Tables::Table const& table, DataTagValue_t& values, int count)
{
    eDataTag const rank = table.column(Role::rank);
    std::vector<eDataTag> columns{rank};
    columns.reserve(table.columns.size());
    for (Tables::Column const& column : table.columns)
        if (column.travels && column.first != rank)
            columns.push_back(column.first);
    sortTableByRank(values, count, rank, table.cell(rank, table.rows - 1), columns);
}

} // namespace

void swapIndexedValues(DataTagValue_t& values, eDataTag column, unsigned int a, unsigned int b)
{
    auto const first = values.find(cellTag(column, a));
    auto const second = values.find(cellTag(column, b));
    if (first != values.end() && second != values.end())
        first->second.swap(second->second);
}

void sortTableByRank(DataTagValue_t& values, int count, eDataTag firstRankTag, eDataTag lastRankTag,
                     std::vector<eDataTag>& columns)
{
    if (count < 1 || lastRankTag < firstRankTag)
        return;
    auto const rows = static_cast<unsigned int>(count);
    auto const rankCells = static_cast<unsigned int>(lastRankTag - firstRankTag) + 1U;
    unsigned int attempts = 0;
    for (unsigned int row = 0; row < rows && row < rankCells;) {
        auto const rank = values.find(cellTag(firstRankTag, row));
        // Rank 0 wraps round and names the cells before the table, as rank count + 1 names those behind it.
        auto const place = rank == values.end() ? row : static_cast<unsigned int>(ClientUtils::stoi(rank->second)) - 1U;
        if (place == row) {
            ++row;
            attempts = 0;
            continue;
        }
        for (eDataTag const column : columns)
            swapIndexedValues(values, column, row, place);
        // Duplicate ranks would change places for ever.
        if (++attempts > rows)
            return;
    }
}

void sortCodecsByRank(DataTagValue_t& values, int count)
{
    sortByRank(Tables::codecs, values, count);
}

void sortSRTPEncryptionsByRank(DataTagValue_t& values, int count)
{
    sortByRank(Tables::encryptions, values, count);
}

void sortHeadsetsByRank(DataTagValue_t& values, int count)
{
    sortByRank(Tables::headsets, values, count);
}

} // namespace Data::Utils

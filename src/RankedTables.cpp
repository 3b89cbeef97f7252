// Sorting of ranked tables, and the columns that travel with the rank in each of the three tables.
#include "Data/RankedTables.h"

#include "ClientUtils.h"

#include <array>
#include <cstdint>
#include <span>

namespace Data::Utils {

namespace {

struct RankedColumns {
    eDataTag lastRank;
    std::span<eDataTag const> columns; ///< by their first tags, the rank column first
};

// Packet sizes and hardware flags of codecs keep their rows: the flags belong to the codec types, not to the rows.
constexpr std::array codecColumns{eDataTagCodecRank1, eDataTagCodecType1, eDataTagCodecAllowed1};
constexpr std::array srtpColumns{eDataTagSRTPEncryptionRank1, eDataTagSRTPEncryptionMethod1, eDataTagSRTPEncryptionAllowed1,
                                 eDataTagSRTPEncryptionHardwareAllowed1};
constexpr std::array headsetColumns{eDataTagHeadsetRank1, eDataTagHeadsetType1, eDataTagHeadsetAllowed1,
                                    eDataTagHeadsetHardwareAllowed1};

constexpr RankedColumns codecs{eDataTagCodecRank4, codecColumns};
constexpr RankedColumns srtpEncryptions{eDataTagSRTPEncryptionRank5, srtpColumns};
constexpr RankedColumns headsets{eDataTagHeadsetRank3, headsetColumns};

void sortByRank(RankedColumns const& table, DataTagValue_t& values, int count)
{
    std::vector<eDataTag> columns(table.columns.begin(), table.columns.end());
    sortTableByRank(values, count, columns.front(), table.lastRank, columns);
}

// Unsigned, because a rank may be any int: a row far outside wraps round to a tag that no map holds.
eDataTag cell(eDataTag column, unsigned int row)
{
    return static_cast<eDataTag>(static_cast<std::uint32_t>(column) + row);
}

} // namespace

void swapIndexedValues(DataTagValue_t& values, eDataTag column, unsigned int a, unsigned int b)
{
    auto const first = values.find(cell(column, a));
    auto const second = values.find(cell(column, b));
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
        auto const rank = values.find(cell(firstRankTag, row));
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
    sortByRank(codecs, values, count);
}

void sortSRTPEncryptionsByRank(DataTagValue_t& values, int count)
{
    sortByRank(srtpEncryptions, values, count);
}

void sortHeadsetsByRank(DataTagValue_t& values, int count)
{
    sortByRank(headsets, values, count);
}

} // namespace Data::Utils

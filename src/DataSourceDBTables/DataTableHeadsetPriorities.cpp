// The headset table: its words.
#include "Data/DataTableHeadsetPriorities.h"

#include "Data/RankedTables.h"
#include "Tables/Tables.h"

namespace Data {

using HeadsetTable = DataSourceDB::DataTableHandler::DataTableHeadsetPriorities;

namespace {

constexpr RankedTableWords words{
    .className = "DataTableHeadsetPriorities",
    .kind = "headset",
    .choice = "type",
    // The word "codec" is right: every ranked table reports itself so.
    .notIndexed = "DataTableHeadsetPriorities - ERR codec setting table doesn't have properly indexed items?\n",
};

} // namespace

HeadsetTable::DataTableHeadsetPriorities() : RankedTable(Tables::headsets, words, Utils::sortHeadsetsByRank) {}

HeadsetTable::~DataTableHeadsetPriorities() = default;

bool HeadsetTable::checkSaneValues(DataTagValue_t& values, std::vector<HeadsetData>& records)
{
    return checkRecords(values, records);
}

} // namespace Data

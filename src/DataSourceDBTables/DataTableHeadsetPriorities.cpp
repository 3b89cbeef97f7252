// The headset table: its data.
#include "DataSourceDBTables/DataTableHeadsetPriorities.h"

#include "Data/DataNames.h"
#include "Data/RankedTables.h"

#include <array>

namespace Data {

using HeadsetTable = DataSourceDB::DataTableHandler::DataTableHeadsetPriorities;

namespace {

constexpr std::array columns{
    XmlColumn{&dasHeadsetType, eDataTagHeadsetType1},
    XmlColumn{&dasHeadsetRank, eDataTagHeadsetRank1},
    XmlColumn{&dasHeadsetAllowed, eDataTagHeadsetAllowed1},
};

constexpr RankedTableData headsetTable{
    .table = eDataTagHeadsetPriorities,
    .firstFlag = eDataTagHeadsetHardwareAllowed1,
    .rows = 3,
    .layout = {.schema = &dasHeadsetPrioritiesSchema, .columns = columns, .entryBeginsRow = true},
    .sort = Utils::sortHeadsetsByRank,
    .className = "DataTableHeadsetPriorities",
    .kind = "headset",
    .choice = "type",
    // The word "codec" is right: every ranked table reports itself so.
    .notIndexed = "DataTableHeadsetPriorities - ERR codec setting table doesn't have properly indexed items?\n",
};

} // namespace

HeadsetTable::DataTableHeadsetPriorities() : RankedTable(headsetTable) {}

} // namespace Data

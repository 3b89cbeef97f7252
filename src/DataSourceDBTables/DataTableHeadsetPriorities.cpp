// The headset table: its data.
#include "DataSourceDBTables/DataTableHeadsetPriorities.h"

#include "Data/RankedTables.h"
#include "DataItemBuilder/NameTable.h"

#include <array>

namespace Data {

using HeadsetTable = DataSourceDB::DataTableHandler::DataTableHeadsetPriorities;

namespace {

constexpr std::array columns{
    XmlColumn{addressOf(Name::dasHeadsetType), eDataTagHeadsetType1},
    XmlColumn{addressOf(Name::dasHeadsetRank), eDataTagHeadsetRank1},
    XmlColumn{addressOf(Name::dasHeadsetAllowed), eDataTagHeadsetAllowed1},
};

constexpr RankedTableData headsetTable{
    .table = eDataTagHeadsetPriorities,
    .firstFlag = eDataTagHeadsetHardwareAllowed1,
    .rows = 3,
    .layout = {.schema = addressOf(Name::dasHeadsetPrioritiesSchema), .columns = columns, .entryBeginsRow = true},
    .sort = Utils::sortHeadsetsByRank,
    .className = "DataTableHeadsetPriorities",
    .kind = "headset",
    .choice = "type",
    // The word "codec" is right: every ranked table reports itself so.
    .notIndexed = "DataTableHeadsetPriorities - ERR codec setting table doesn't have properly indexed items?\n",
};

} // namespace

HeadsetTable::DataTableHeadsetPriorities() : RankedTable(headsetTable) {}

HeadsetTable::~DataTableHeadsetPriorities() = default;

} // namespace Data

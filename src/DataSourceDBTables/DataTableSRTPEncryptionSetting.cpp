// The SRTP encryption table: its data.
#include "DataSourceDBTables/DataTableSRTPEncryptionSetting.h"

#include "Data/DataNames.h"
#include "Data/RankedTables.h"

#include <array>

namespace Data {

using SRTPEncryptionTable = DataSourceDB::DataTableHandler::DataTableSRTPEncryptionSetting;

namespace {

constexpr std::array columns{
    XmlColumn{&dasSRTPEncryptionMethod, eDataTagSRTPEncryptionMethod1},
    XmlColumn{&dasSRTPEncryptionRank, eDataTagSRTPEncryptionRank1},
    XmlColumn{&dasSRTPEncryptionAllowed, eDataTagSRTPEncryptionAllowed1},
};

constexpr RankedTableData srtpEncryptionTable{
    .table = eDataTagSRTPEncryptionSettings,
    .firstFlag = eDataTagSRTPEncryptionHardwareAllowed1,
    .rows = 5,
    .layout = {.schema = &dasSRTPEncryptionSettingsSchema, .columns = columns, .entryBeginsRow = true},
    .sort = Utils::sortSRTPEncryptionsByRank,
    .className = "DataTableSRTPEncryptionSetting",
    .kind = "encryption",
    .choice = "method",
    // The word "codec" is right: every ranked table reports itself so.
    .notIndexed = "DataTableSRTPEncryptionSetting - ERR codec setting table doesn't have properly indexed items?\n",
};

} // namespace

SRTPEncryptionTable::DataTableSRTPEncryptionSetting() : RankedTable(srtpEncryptionTable) {}

} // namespace Data

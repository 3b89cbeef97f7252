// The SRTP encryption table: its data.
#include "DataSourceDBTables/DataTableSRTPEncryptionSetting.h"

#include "Data/RankedTables.h"
#include "DataItemBuilder/NameTable.h"

#include <array>

namespace Data {

using SRTPEncryptionTable = DataSourceDB::DataTableHandler::DataTableSRTPEncryptionSetting;

namespace {

constexpr std::array columns{
    XmlColumn{addressOf(Name::dasSRTPEncryptionMethod), eDataTagSRTPEncryptionMethod1},
    XmlColumn{addressOf(Name::dasSRTPEncryptionRank), eDataTagSRTPEncryptionRank1},
    XmlColumn{addressOf(Name::dasSRTPEncryptionAllowed), eDataTagSRTPEncryptionAllowed1},
};

constexpr RankedTableData srtpEncryptionTable{
    .table = eDataTagSRTPEncryptionSettings,
    .firstFlag = eDataTagSRTPEncryptionHardwareAllowed1,
    .rows = 5,
    .layout = {.schema = addressOf(Name::dasSRTPEncryptionSettingsSchema), .columns = columns, .entryBeginsRow = true},
    .sort = Utils::sortSRTPEncryptionsByRank,
    .className = "DataTableSRTPEncryptionSetting",
    .kind = "encryption",
    .choice = "method",
    // The word "codec" is right: every ranked table reports itself so.
    .notIndexed = "DataTableSRTPEncryptionSetting - ERR codec setting table doesn't have properly indexed items?\n",
};

} // namespace

SRTPEncryptionTable::DataTableSRTPEncryptionSetting() : RankedTable(srtpEncryptionTable) {}

SRTPEncryptionTable::~DataTableSRTPEncryptionSetting() = default;

} // namespace Data

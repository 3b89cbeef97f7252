// The SRTP encryption table: its words.
#include "Data/DataTableSRTPEncryptionSetting.h"

#include "Data/RankedTables.h"
#include "Tables/Tables.h"

namespace Data {

using SRTPEncryptionTable = DataSourceDB::DataTableHandler::DataTableSRTPEncryptionSetting;

namespace {

constexpr RankedTableWords words{
    .className = "DataTableSRTPEncryptionSetting",
    .kind = "encryption",
    .choice = "method",
    // The word "codec" is right: every ranked table reports itself so.
    .notIndexed = "DataTableSRTPEncryptionSetting - ERR codec setting table doesn't have properly indexed items?\n",
};

} // namespace

SRTPEncryptionTable::DataTableSRTPEncryptionSetting()
    : RankedTable(Tables::encryptions, words, Utils::sortSRTPEncryptionsByRank)
{}

SRTPEncryptionTable::~DataTableSRTPEncryptionSetting() = default;

bool SRTPEncryptionTable::checkSaneValues(DataTagValue_t& values, std::vector<SRTPEncryptionData>& records)
{
    return checkRecords(values, records);
}

} // namespace Data

// The SRTP encryption methods in the order of preference.
#pragma once

#include "DataSourceDBTables/RankedTable.h"

namespace Data {

class DataSourceDB::DataTableHandler::DataTableSRTPEncryptionSetting : public RankedTable {
public:
    DataTableSRTPEncryptionSetting();
};

} // namespace Data

// The SRTP encryption methods in the order of preference.
#pragma once

#include "Data/RankedTable.h"

namespace Data {

class DataSourceDB::DataTableHandler::DataTableSRTPEncryptionSetting : public RankedTable {
public:
    DataTableSRTPEncryptionSetting();
    DataTableSRTPEncryptionSetting(DataTableSRTPEncryptionSetting const&) = delete;
    DataTableSRTPEncryptionSetting& operator=(DataTableSRTPEncryptionSetting const&) = delete;
    ~DataTableSRTPEncryptionSetting() override; ///< in the source, and with it the class's table of operations
};

} // namespace Data

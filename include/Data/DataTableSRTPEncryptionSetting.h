// The SRTP encryption methods in the order of preference.
#pragma once

#include "Data/RankedTable.h"

#include <vector>

namespace Data {

class MEDIADATA_EXPORT DataSourceDB::DataTableHandler::DataTableSRTPEncryptionSetting : public RankedTable {
public:
    /// A row: an encryption method and what is said of it.
    struct SRTPEncryptionData {
        int method = 0;
        int rank = 0;
        bool allowed = false;
        bool hwAllowed = false;
    };

    DataTableSRTPEncryptionSetting();
    DataTableSRTPEncryptionSetting(DataTableSRTPEncryptionSetting const&) = delete;
    DataTableSRTPEncryptionSetting& operator=(DataTableSRTPEncryptionSetting const&) = delete;
    ~DataTableSRTPEncryptionSetting() override; ///< in the source, and with it the class's table of operations

    /// Each method and rank in range; among the rows that the hardware can use, one allowed and none named twice. `records` gets a
    /// row each; what the cells do not say stays as it was.
    bool checkSaneValues(DataTagValue_t& values, std::vector<SRTPEncryptionData>& records);
};

} // namespace Data

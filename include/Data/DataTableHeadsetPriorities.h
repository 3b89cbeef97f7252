// The headset types in the order of preference.
#pragma once

#include "Data/RankedTable.h"

#include <vector>

namespace Data {

class MEDIADATA_EXPORT DataSourceDB::DataTableHandler::DataTableHeadsetPriorities : public RankedTable {
public:
    /// A row: a headset type and what is said of it.
    struct HeadsetData {
        int type = 0;
        int rank = 0;
        bool allowed = false;
        bool hwAllowed = false;
    };

    DataTableHeadsetPriorities();
    DataTableHeadsetPriorities(DataTableHeadsetPriorities const&) = delete;
    DataTableHeadsetPriorities& operator=(DataTableHeadsetPriorities const&) = delete;
    ~DataTableHeadsetPriorities() override; ///< in the source, and with it the class's table of operations

    /// Each type and rank in range; among the rows that the hardware can use, one allowed and none named twice. `records` gets a
    /// row each; what the cells do not say stays as it was.
    bool checkSaneValues(DataTagValue_t& values, std::vector<HeadsetData>& records);
};

} // namespace Data

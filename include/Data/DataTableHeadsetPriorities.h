// The headset types in the order of preference.
#pragma once

#include "Data/RankedTable.h"

namespace Data {

class DataSourceDB::DataTableHandler::DataTableHeadsetPriorities : public RankedTable {
public:
    DataTableHeadsetPriorities();
    DataTableHeadsetPriorities(DataTableHeadsetPriorities const&) = delete;
    DataTableHeadsetPriorities& operator=(DataTableHeadsetPriorities const&) = delete;
    ~DataTableHeadsetPriorities() override; ///< in the source, and with it the class's table of operations
};

} // namespace Data

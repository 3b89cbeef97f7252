// Group pickup: keeps the tone type and the two flags that it combines consistent.
#pragma once

#include "Data/DataTable.h"

namespace Data {

/// Stored as single values. The table tag remembers the tone type as last made consistent: a tone type that differs from it was
/// changed and decides; otherwise the flags do.
class MEDIADATA_EXPORT DataSourceDB::DataTableHandler::DataTableGroupPickupDependentTags : public DataTable {
public:
    DataTableGroupPickupDependentTags();
    bool processReadData(DataTagValue_t& values, bool clearFiles) override;
    /// 1 when the batch was changed, otherwise 0; `toStore` is not used.
    int checkTableData(DataTagValue_t& values, DataTagValue_t& toStore) override;

    static void getGroupPickupToneType(bool asRinger, bool toneAllowed, std::string& toneType);
};

} // namespace Data

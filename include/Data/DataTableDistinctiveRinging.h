// Distinctive ringing: fifteen alert identifiers and how the telephone rings for each.
#pragma once

#include "Data/XmlTable.h"

namespace Data {

/// Rows without an identifier follow the telephone's general ringer. The table refuses nothing and asks for no reset.
class MEDIADATA_EXPORT DataSourceDB::DataTableHandler::DataTableDistinctiveRinging : public XmlTable {
public:
    DataTableDistinctiveRinging();
    bool processReadData(DataTagValue_t& values, bool clearFiles) override;
    int checkTableData(DataTagValue_t& values, DataTagValue_t& toStore) override;
    void initializeIndexMax() override;

    /// Parses the table tag's text, when `values` holds it; `clearFiles` empties the file cells first, since an empty element
    /// leaves its cell as it is.
    void xmlToTableItems(DataTagValue_t& values, bool clearFiles);
    bool tableItemsToXml(DataTagValue_t& values);
    /// Gives rows without an identifier the general ringer settings; true when a row changed.
    bool updateDefaultValues(DataTagValue_t& values);
};

} // namespace Data

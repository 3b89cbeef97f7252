// The audio codecs in the order in which they are offered.
#pragma once

#include "Data/RankedTable.h"

namespace Data {

/// Four types without repetition, four ranks without repetition, packet sizes in range, and at least one allowed type that the
/// hardware can use. The hardware flags go by type, unlike those of the other ranked tables, which go by row.
MEDIADATA_EXPORT bool isCodecTableValid(DataTagValue_t& values);

/// Never asks for a reset: a stored table that does not pass is replaced by a default text while it is read.
class MEDIADATA_EXPORT DataSourceDB::DataTableHandler::DataTableCodecSetting : public RankedTable {
public:
    DataTableCodecSetting();
    int checkTableData(DataTagValue_t& values, DataTagValue_t& toStore) override;
    void xmlToTableItems(DataTagValue_t& values, bool clearFiles) override;

private:
    /// The catalogue's defaults, as a text that names no schema.
    MEDIADATA_HIDDEN std::string defaultText();
};

} // namespace Data

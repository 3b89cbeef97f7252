// Door openers: empties the items of one that is switched off, and links each camera with the opener that shows it.
#pragma once

#include "Data/DataTable.h"

#include <array>
#include <cstddef>
#include <string>

namespace Data {

/// Stored as single values. Remembers the types, phone numbers and cameras of the four openers since the last check, and writes
/// the cameras through the facade when one of them changed.
class MEDIADATA_EXPORT DataSourceDB::DataTableHandler::DataTableDoorOpenerTypeDependentTags : public DataTable {
public:
    /// Reads what it remembers from the cache; without cache it starts from 0 and empty texts.
    DataTableDoorOpenerTypeDependentTags();
    bool processReadData(DataTagValue_t& values, bool clearFiles) override;
    /// Always 1; `toStore` is not used.
    int checkTableData(DataTagValue_t& values, DataTagValue_t& toStore) override;

private:
    friend class DataTableHandler; ///< may put back what is remembered

    static constexpr std::size_t openerCount = 4;

    struct Memory {
        std::array<int, openerCount> directVideo{};
        std::array<std::string, openerCount> phoneNumber;
        std::array<int, openerCount> type{};
    };

    /// Remembers what `values` say; true when a check of the cameras is due. `cleared` tells which openers were switched off.
    MEDIADATA_HIDDEN bool remember(DataTagValue_t const& values, std::array<bool, openerCount>& cleared);
    MEDIADATA_HIDDEN static void clearOpener(DataTagValue_t& values, std::size_t opener);
    MEDIADATA_HIDDEN static void updateDirectVideoTags(DataTagValue_t const& values);

    Memory m_memory;
    bool m_hasStaleLinks = false; ///< cameras follow openers that were taken back
};

} // namespace Data

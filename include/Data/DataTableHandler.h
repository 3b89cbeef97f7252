// Keeps one table object per table tag and moves values between cells and stored tables.
#pragma once

#include "Data/DataSourceDB.h"

#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace Data {

/// Runs under the cache's lock and calls back into the cache on the same thread.
class MEDIADATA_EXPORT DataSourceDB::DataTableHandler {
public:
    class DataTable;
    class DataTableCodecSetting;
    class DataTableDistinctiveRinging;
    class DataTableDoorOpenerTypeDependentTags;
    class DataTableGroupPickupDependentTags;
    class DataTableHeadsetPriorities;
    class DataTableSRTPEncryptionSetting;

    /// What the check of a table decided.
    enum eTableCheck : int {
        eTableValid = 0,      ///< store `toStore`
        eTableStoreCells = 1, ///< store `values` in cache and database
        eTableCorrected = 2,  ///< `values` to the cache, `toStore` to cache and database
        eTableRejected = 3,   ///< `values` holds the previous values again
        eTableCorrupt = 4     ///< reset to default values
    };

    /// The callback is borrowed and may be null: nothing is then read or written.
    DataTableHandler(std::list<eDataTag> const& tableTags, DataDBCallback* callback);
    ~DataTableHandler();
    DataTableHandler(DataTableHandler const&) = delete;
    DataTableHandler& operator=(DataTableHandler const&) = delete;

    /// Splits the stored tables into their cells.
    void readDataFromTables(bool userDataOnly);
    MEDIADATA_HIDDEN bool hasChangedTables() const;
    MEDIADATA_HIDDEN bool isTableChanged(eDataTag table) const;
    /// Remembers what the tables know beside their cells: which are marked as changed, and what the door openers remember.
    MEDIADATA_HIDDEN void keepState();
    /// Puts back what the last keepState remembered.
    MEDIADATA_HIDDEN void restoreState();
    /// Checks and stores the tables that changed. False when one was rejected; `rejected` then holds its tags.
    bool writeTablesToDB(DataTagValue_t& rejected);
    /// Ignored for an unknown table.
    void setTableChanged(eDataTag table);

private:
    void fillTableMap(std::list<eDataTag> const& tableTags);
    MEDIADATA_HIDDEN void readTable(DataTable& table);
    MEDIADATA_HIDDEN std::optional<int> checkPresentCells(eDataTag tag, DataTable& table, DataTagValue_t& values,
                                                          DataTagValue_t& toStore);
    MEDIADATA_HIDDEN bool writeTable(eDataTag tag, DataTable& table, DataTagValue_t& rejected);
    MEDIADATA_HIDDEN void resetTable(DataTable& table, DataTagValue_t& values, DataTagValue_t& toStore);

    struct State;

    MEDIADATA_HIDDEN DataTable* findTable(eDataTag table) const;
    MEDIADATA_HIDDEN DataTableDoorOpenerTypeDependentTags* doorOpenerTable() const;

    DataDBCallback* m_callback;
    std::vector<std::pair<eDataTag, std::unique_ptr<DataTable>>> m_tables; ///< in the order of tags
    std::unique_ptr<State> m_kept;
    int m_changedTables = 0; ///< how many tables are marked as changed
};

/// Adds back, with its current value from the facade, each tag of `copy` that a reset has dropped from `values`. What cannot be
/// read stays out.
MEDIADATA_EXPORT void restoreMissingTableTags(DataTagValue_t& values, DataTagValue_t const& copy);

} // namespace Data

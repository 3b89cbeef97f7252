// The configuration database as the source of single values and tables.
#pragma once

#include "Data/DataDBCallback.h"
#include "Data/DataTypes.h"
#include "Data/Export.h"

#include <cstddef>
#include <list>
#include <memory>
#include <span>
#include <string>
#include <vector>

class DataStorage;
class SvcRTEContext;

namespace Data {

class DataItemBase;

/// Takes no lock: the cache calls it with its own lock held. Failures are results, logged under "./src/DataSourceDB".
class MEDIADATA_EXPORT DataSourceDB {
public:
    class DataTableHandler;

    /// Where a tag lives in the database. `schema` is null for tags that the database does not store.
    struct DbDescription {
        eDataTag tag;
        std::string const* schema;
        std::string const* element;
        bool isTable;
        eDataTag parentTable;
    };

    static constexpr std::size_t rowCount = eDataTagEnd + 1;
    /// Row i describes tag i.
    static DbDescription const dataDbDescriptionTable[rowCount];

    /// Opens one storage per schema of `tags`. The callback is borrowed and may be null; the context must outlive the source.
    DataSourceDB(SvcRTEContext& context, std::list<eDataTag> const& tags, DataDBCallback* callback);
    MEDIADATA_HIDDEN DataSourceDB(std::span<eDataTag const> tags, SvcRTEContext& context, DataDBCallback* callback);
    ~DataSourceDB();
    DataSourceDB(DataSourceDB const&) = delete;
    DataSourceDB& operator=(DataSourceDB const&) = delete;

    /// Reads the stored text into the item; true without a change when the tag has no storage of its own. A value that the
    /// database cannot deliver is reported with dbCBGetFailed.
    bool readDataValue(eDataTag tag, DataItemBase* item);
    /// Stores the item's text; the member of a table first marks its table as changed.
    bool writeDataValue(eDataTag tag, DataItemBase const* item);
    void readDataFromTables(bool userDataOnly);
    /// Writes the tables that changed; `rejected` gets the tags of those that were not taken.
    bool writeDataTables(DataTagValue_t& rejected);
    bool setTableChanged(eDataTag table);

    /// Where a tag lives; all outputs are cleared first. False when it has no row or its schema is out of reach; true with a
    /// null storage when the database does not store it.
    bool findTagInfo(eDataTag tag, DataStorage*& storage, std::string const*& element, bool& isTable, eDataTag& parentTable);
    static DbDescription const* findDescription(eDataTag tag);
    /// Appends the tags that stand for tables.
    static void getTableItemTags(std::list<eDataTag> const& tags, std::list<eDataTag>& tableTags);
    static bool verifyDataTable();
    /// Opens the storages of these tags that are not open; a schema that is out of reach stays closed.
    void fillStorageMap(SvcRTEContext& context, std::list<eDataTag> const& tags);
    /// Closes all of them: their tags can then neither be read nor written.
    void cleanStorageMap();

private:
    friend class DataCache; ///< asks for changed tables before it makes room for those that are rejected, and groups writes

    MEDIADATA_HIDDEN void openStorage(SvcRTEContext& context, eDataTag tag);
    MEDIADATA_HIDDEN bool hasChangedTables() const;
    MEDIADATA_HIDDEN bool isCellOfChangedTable(eDataTag tag) const;
    MEDIADATA_HIDDEN void keepTables();
    MEDIADATA_HIDDEN void restoreTables();
    MEDIADATA_HIDDEN static void logNotStored(eDataTag tag);
    MEDIADATA_HIDDEN bool writeTable(eDataTag tag, DataStorage& storage, std::string const& xml);

    std::vector<std::unique_ptr<DataStorage>> m_storages; ///< by the place of the schema's name; null: out of reach
    std::unique_ptr<DataTableHandler> m_tableHandler;
    DataDBCallback* m_callback;
};

} // namespace Data

// One table: its cells, its check and, for tables stored as text, its parse.
#pragma once

#include "Data/DataTableHandler.h"

#include <string>

namespace Data {

class MEDIADATA_EXPORT DataSourceDB::DataTableHandler::DataTable {
public:
    DataTable(eDataTag firstTag, eDataTag lastTag);
    virtual ~DataTable();
    DataTable(DataTable const&) = delete;
    DataTable& operator=(DataTable const&) = delete;

    /// Makes an entry with empty text for each tag that the table needs; entries present are emptied.
    virtual void getTableItemTags(DataTagValue_t& values);
    /// After a read: turns the table's text in `values` into its cells.
    virtual bool processReadData(DataTagValue_t& values, bool clearFiles) = 0;
    /// The verdict on `values`, an eTableCheck as number; `toStore` gets what must be stored.
    virtual int checkTableData(DataTagValue_t& values, DataTagValue_t& toStore) = 0;
    /// Sets the highest row; tables without text have none.
    virtual void initializeIndexMax();

    bool isChanged() const { return m_changed; }
    void setChanged(bool changed) { m_changed = changed; }

protected:
    bool m_changed = false;
    eDataTag m_firstTag;
    eDataTag m_lastTag;
    DataTagValue_t* m_target = nullptr; ///< what a parse fills; borrowed, null outside a parse
    std::string m_currentElement;
    int m_rowIndex = -1;
    int m_indexMax = -1;
};

} // namespace Data

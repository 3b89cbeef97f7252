// A table that the database keeps as one XML text: the one parser and writer over the description of each.
#pragma once

#include "Data/DataTable.h"

#include <string>

namespace Data {

namespace Tables {
struct Column;
struct Table;
} // namespace Tables

class MEDIADATA_EXPORT XmlTable : public DataSourceDB::DataTableHandler::DataTable {
public:
    ~XmlTable() override; ///< in the source, and with it the class's table of operations
    XmlTable(XmlTable const&) = delete;
    XmlTable& operator=(XmlTable const&) = delete;

    /// The parser's callbacks; `table` is the XmlTable.
    static void XMLStart(void* table, char const* name, char const** attributes);
    static void XMLEnd(void* table, char const* name);
    static void XMLDataHandler(void* table, char const* text, int length);

protected:
    /// The description is borrowed for the table's life.
    MEDIADATA_HIDDEN explicit XmlTable(Tables::Table const& table);

    /// Parses the table tag's text into the cells that `values` holds. Cells without text in it stay as they are.
    MEDIADATA_HIDDEN void parse(DataTagValue_t& values);
    /// Makes the table tag's text from the cells. A missing cell is told on standard output, the text stays, and it is false.
    MEDIADATA_HIDDEN bool buildText(DataTagValue_t& values) const;
    /// Appends the entries of the first `rows` rows; false with a part of them when a cell is missing.
    MEDIADATA_HIDDEN bool appendRows(std::string& xml, DataTagValue_t const& values, int rows) const;
    /// Moves the table tag's text out of the values of the cells into what is to be stored.
    MEDIADATA_HIDDEN void moveText(DataTagValue_t& values, DataTagValue_t& toStore) const;

    Tables::Table const& m_table;

private:
    MEDIADATA_HIDDEN bool appendCell(std::string& xml, Tables::Column const& column, int row,
                                     DataTagValue_t const& values) const;
    /// Tables whose entries are numbered know it themselves; the others are told by initializeIndexMax.
    MEDIADATA_HIDDEN int lastRow() const;
    /// What is parsed next fills `target`, from no row and no element, whatever was called before.
    MEDIADATA_HIDDEN void aimAt(DataTagValue_t* target);
    MEDIADATA_HIDDEN void startElement(std::string const& name);
    MEDIADATA_HIDDEN void takeText(std::string const& text);
};

} // namespace Data

// A table that the database keeps as one XML text: a layout of columns, and the one parser and writer over it.
#pragma once

#include "Data/DataTable.h"

#include <span>
#include <string>

namespace Data {

/// What stands in a column's elements when rows are written.
enum class CellForm {
    plain,    ///< the cell's text as it is
    escaped,  ///< the cell's text with markup characters escaped
    rowIndex, ///< the row's number from 0; the column has no cells, and when read it says which row follows
    rowRank   ///< the row's number from 1; the cells are only read
};

struct XmlColumn {
    std::string const* element;
    eDataTag firstCell;
    CellForm form = CellForm::plain;
};

struct XmlLayout {
    std::string const* schema;          ///< null: the rows stand without an element around them
    std::span<XmlColumn const> columns; ///< in the order in which they are written
    bool entryBeginsRow;                ///< each "Entry" begins the next row; otherwise a rowIndex column names the row
};

class XmlTable : public DataSourceDB::DataTableHandler::DataTable {
public:
    /// The parser's callbacks; `table` is the XmlTable.
    static void XMLStart(void* table, char const* name, char const** attributes);
    static void XMLEnd(void* table, char const* name);
    static void XMLDataHandler(void* table, char const* text, int length);

protected:
    XmlTable(eDataTag firstTag, eDataTag lastTag, XmlLayout const& layout);

    /// Parses the table tag's text into the cells that `values` holds. Cells without text in it stay as they are.
    void parse(DataTagValue_t& values);
    /// Makes the table tag's text from the cells. A missing cell is told on standard output, the text stays, and it is false.
    bool buildText(DataTagValue_t& values) const;
    /// Moves the table tag's text out of the values of the cells into what is to be stored.
    void moveText(DataTagValue_t& values, DataTagValue_t& toStore) const;

private:
    void startElement(std::string const& name);
    void takeText(std::string const& text);

    XmlLayout m_layout;
};

} // namespace Data

// How a table is replaced whole.
//
// Rows arrive one call each and nothing says which is the last, so the host reads in Data/tables.def how many rows each table
// has. Rows before the last are only gathered in memory: nothing of them reaches the file. With the last row the complete text
// is stored as one value by one statement, which is one transaction and one sync of the write-ahead log. A crash, kill or power
// cut at any moment hence leaves the previous table or the new one, and no state in between exists on disk. Mending a damaged
// file, too, finds a table whole or not at all.
//
// A row's position is the number of rows received since the writing began. Its cells do not tell it, since a rank need not be
// the row's number; only a ringing row has its index in it, which must be right. After a refused row the rest of its table is
// refused as well: otherwise the last row's answer would look like success. A writing ends, complete or not,
//   - with the last row's position,
//   - when something else is asked of the schema's DataStorage,
//   - when the thread has taken a lock, or begun or ended a group, since the previous row, or another thread writes.
// All rows of one table are stored one after the other within one hold of the cache's lock, so that a lock taken in between
// belongs to a new operation: this is what finds the first row again after a text with too few rows.
#pragma once

#include "seam/LockMark.h"

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

namespace Host {

/// What tables.def says of a table that is stored as one text.
struct TableShape {
    std::string_view schema;
    std::size_t rows;        ///< 0: the schema holds no table
    std::string_view number; ///< the element that says which row it is; empty: none does
};

class TableWrite {
public:
    /// Dropped: refused because an earlier row of the table was.
    enum class Result { refused, dropped, gathered, complete };

    explicit TableWrite(std::string schema);
    ~TableWrite();
    TableWrite(TableWrite const&) = delete;
    TableWrite& operator=(TableWrite const&) = delete;

    /// Takes the next row. When it completes the table, `table` is the whole table's text, ready to be stored.
    Result add(std::string const& fragment, std::string& table);

    /// Forgets the rows gathered so far.
    void abandon();

private:
    class RowCheck;

    /// False when the fragment is no row, or not the next one.
    bool append(std::string const& fragment);

    std::string const m_schema;
    TableShape const& m_shape;
    std::size_t m_received = 0;
    bool m_spoiled = false;
    std::string m_text;
    std::unique_ptr<RowCheck> m_check; ///< while rows are gathered
    LockMark m_mark;
};

} // namespace Host

// What a table is: its rows and columns as tables.def describes them, and the look-ups over them. Constant data and functions of
// values, without state. Whoever needs a cell's place asks here.
#pragma once

#include "Data/DataTypes.h"

#include <algorithm>
#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace Data::Tables {

/// How a table is kept; see tables.def.
enum class Kind : std::uint8_t { ranked, numbered, group, list };

/// What a column says of its rows.
enum class Role : std::uint8_t { value, choice, rank, allowed, flag, identifier };

/// What stands in a column's elements where rows are stored as text.
enum class Form : std::uint8_t { none, plain, escaped, place };

/// The tag `distance` behind another. Any distance will do: one far outside wraps round to a tag that no map holds.
constexpr eDataTag cellTag(eDataTag first, std::integral auto distance)
{
    return static_cast<eDataTag>(static_cast<std::uint32_t>(first) + static_cast<std::uint32_t>(distance));
}

/// The text of a cell; empty when the map does not hold it.
inline std::string cellText(DataTagValue_t const& values, eDataTag tag)
{
    auto const cell = values.find(tag);
    return cell == values.end() ? std::string() : cell->second;
}

struct Column {
    eDataTag first = eDataTagNone; ///< the cell of row 0
    eDataItemType type = eDataItemTypeInt;
    Role role = Role::value;
    Form form = Form::none;
    bool travels = true;      ///< moves with the rank
    bool isOneForAll = false; ///< management sets one value for all rows
    bool isByChoice = false;  ///< a flag of the choice that its place numbers, not of the row
    int minimum = 0;          ///< with `maximum` the range of choices, ranks and what is one for all
    int maximum = 0;
    std::string_view element{};      ///< empty: the stored text has none
    eDataTag general = eDataTagNone; ///< the setting of the general ringer that a row without identifier follows
    char const* unnamed = nullptr;   ///< what such a row has otherwise; null: the column keeps its values
};

struct Table {
    eDataTag tag = eDataTagNone; ///< None: a list
    Kind kind = Kind::list;
    int rows = 0;
    std::string_view schema{}; ///< empty: kept as single values
    std::string_view number{}; ///< the element that says which row an entry is; empty: entries are in the order of rows
    std::span<Column const> columns{}; ///< in the order of their elements, a flag last
    int step = 1;                      ///< from a cell to that of the next row
    eDataTag first = eDataTagNone;     ///< the cells lie together from here to `last`
    eDataTag last = eDataTagNone;
    eDataTag lastFlag = eDataTagNone; ///< `last` where there are no flags, which lie behind the cells

    /// The cell of a row in the column that begins with `column`.
    constexpr eDataTag cell(eDataTag column, std::integral auto row) const
    {
        return cellTag(column, static_cast<std::uint32_t>(row) * static_cast<std::uint32_t>(step));
    }

    // The next three take cells and flags of the table alone.
    constexpr bool holds(eDataTag cellOrFlag) const { return cellOrFlag >= first && cellOrFlag <= lastFlag; }
    constexpr int rowOf(eDataTag cellOrFlag) const
    {
        int const place = cellOrFlag - first;
        return step == 1 ? place % rows : place / step;
    }
    /// The first cell of the column.
    constexpr eDataTag columnOf(eDataTag cellOrFlag) const { return cellTag(cellOrFlag, -rowOf(cellOrFlag) * step); }

    /// Null when no column begins with the cell.
    constexpr Column const* find(eDataTag column) const
    {
        auto const found = std::ranges::find(columns, column, &Column::first);
        return found == columns.end() ? nullptr : &*found;
    }
    constexpr Column const* find(Role role) const
    {
        auto const found = std::ranges::find(columns, role, &Column::role);
        return found == columns.end() ? nullptr : &*found;
    }
    /// The first cell of the column with a role that the table has.
    constexpr eDataTag column(Role role) const { return find(role)->first; }

    // What begins and ends a row of a stored text.
    constexpr std::string_view firstElement() const { return columns.front().element; }
    constexpr std::string_view lastElement() const
    {
        return columns[columns.size() - (columns.back().element.empty() ? 2 : 1)].element;
    }
};

/// The projection of tables.def; what it makes stands below.
namespace Description {

enum class Id : std::size_t {
#define TABLE_STORED(name, ...) name,
#define TABLE_GROUP(name, ...) name,
#define TABLE_LIST(name, ...) name,
#include "Data/tables.def"
    count
};

constexpr auto choice = [](Column& column) { column.role = Role::choice; };
constexpr auto rank = [](Column& column) { column.role = Role::rank; };
constexpr auto allowed = [](Column& column) { column.role = Role::allowed; };
constexpr auto identifier = [](Column& column) { column.role = Role::identifier; };
constexpr auto storedAsPlace = [](Column& column) { column.form = Form::place; };
constexpr auto escaped = [](Column& column) { column.form = Form::escaped; };
constexpr auto byChoice = [](Column& column) {
    column.isByChoice = true;
    column.travels = false;
};

constexpr auto oneForAll(int minimum, int maximum)
{
    return [=](Column& column) {
        column.isOneForAll = true;
        column.travels = false;
        column.minimum = minimum;
        column.maximum = maximum;
    };
}

constexpr auto follows(eDataTag general, char const* unnamed)
{
    return [=](Column& column) {
        column.general = general;
        column.unnamed = unnamed;
    };
}

constexpr auto fixed(char const* unnamed)
{
    return follows(eDataTagNone, unnamed);
}

/// A column as it is written there.
struct Row {
    Id table;
    Column column;
};

constexpr Row row(Id table, eDataTag first, eDataItemType type, Role role, std::string_view element, auto... options)
{
    Column column{
        .first = first, .type = type, .role = role, .form = element.empty() ? Form::none : Form::plain, .element = element};
    (options(column), ...);
    return {table, column};
}

constexpr std::array rows{
#define TABLE_COLUMN(table, label, name, element, cell, type, ...)                                                          \
    row(Id::table, eDataTag##cell, eDataItemType##type, Role::value, element __VA_OPT__(, ) __VA_ARGS__),
#define TABLE_FLAGS(table, label, cell, ...)                                                                                \
    row(Id::table, eDataTag##cell, eDataItemTypeBool, Role::flag, "" __VA_OPT__(, ) __VA_ARGS__),
#define TABLE_FIELD(table, label, cell, type) row(Id::table, eDataTag##cell, eDataItemType##type, Role::value, ""),
#include "Data/tables.def"
};

constexpr std::array<Table, static_cast<std::size_t>(Id::count)> heads{{
#define TABLE_RANKED(name, shortName, schema, rows) {eDataTag##name, Kind::ranked, rows, schema, ""},
#define TABLE_NUMBERED(name, shortName, schema, rows, number, element)                                                      \
    {eDataTag##name, Kind::numbered, rows, schema, element},
#define TABLE_GROUP(name, shortName, rows) {eDataTag##name, Kind::group, rows, "", ""},
#define TABLE_LIST(name, shortName, rows) {eDataTagNone, Kind::list, rows, "", ""},
#include "Data/tables.def"
}};

inline constexpr auto columns = [] {
    std::array<Column, rows.size()> result{};
    for (std::size_t i = 0; i < rows.size(); ++i) {
        Column& column = result[i] = rows[i].column;
        int const count = heads[static_cast<std::size_t>(rows[i].table)].rows;
        if (column.role == Role::choice || column.role == Role::rank) {
            column.minimum = column.role == Role::rank ? 1 : 0;
            column.maximum = column.minimum + count - 1;
        }
    }
    return result;
}();

constexpr Table table(std::size_t index)
{
    Table result = heads[index];
    auto const isOwn = [index](Row const& each) { return each.table == Id{index}; };
    auto const begin = std::ranges::find_if(rows, isOwn) - rows.begin();
    auto const count = std::ranges::count_if(rows, isOwn);
    result.columns = std::span(columns).subspan(static_cast<std::size_t>(begin), static_cast<std::size_t>(count));
    result.step = !result.schema.empty() ? 1 : static_cast<int>(count);
    result.first = result.columns.front().first;
    for (Column const& column : result.columns) {
        eDataTag const last = result.cell(column.first, result.rows - 1);
        result.first = std::min(result.first, column.first);
        result.last = column.role == Role::flag ? result.last : std::max(result.last, last);
        result.lastFlag = std::max(result.lastFlag, last);
    }
    return result;
}

} // namespace Description

/// In the order of tags.
inline constexpr auto all = [] {
    std::array<Table, Description::heads.size()> result{};
    for (std::size_t i = 0; i < result.size(); ++i)
        result[i] = Description::table(i);
    return result;
}();

inline constexpr Table const& groupPickup = all[static_cast<std::size_t>(Description::Id::GroupPickup)];
inline constexpr Table const& codecs = all[static_cast<std::size_t>(Description::Id::CodecSettings)];
inline constexpr Table const& ringing = all[static_cast<std::size_t>(Description::Id::DistinctiveRinging)];
inline constexpr Table const& encryptions = all[static_cast<std::size_t>(Description::Id::SRTPEncryptionSettings)];
inline constexpr Table const& headsets = all[static_cast<std::size_t>(Description::Id::HeadsetPriorities)];
inline constexpr Table const& cameras = all[static_cast<std::size_t>(Description::Id::Cameras)];
inline constexpr Table const& doorOpeners = all[static_cast<std::size_t>(Description::Id::DoorOpeners)];

/// The table with this tag, null for other tags.
constexpr Table const* find(eDataTag table)
{
    auto const* const found = std::ranges::find_if(all, [table](Table const& each) { return each.tag == table; });
    return table == eDataTagNone || found == all.end() ? nullptr : found;
}

/// The table that holds a cell or flag, null when none does.
constexpr Table const* holderOf(eDataTag cellOrFlag)
{
    auto const* const found = std::ranges::find_if(all, [=](Table const& each) { return each.holds(cellOrFlag); });
    return found == all.end() ? nullptr : found;
}

/// The column of a cell or flag of any table, null for other tags.
constexpr Column const* columnOf(eDataTag cellOrFlag)
{
    Table const* const table = holderOf(cellOrFlag);
    return table ? table->find(table->columnOf(cellOrFlag)) : nullptr;
}

constexpr bool isHardwareFlag(eDataTag tag)
{
    Column const* const column = columnOf(tag);
    return column && column->role == Role::flag;
}

} // namespace Data::Tables

// The laws that hold tables.def and settings.def together, checked while compiling.
#include "Tables/Tables.h"

#include "DataItemBuilder/Settings.h"

#include <string_view>

namespace Data::Tables {

namespace {

using Description::Id;
using Settings::Check;

/// For each row of settings.def the table to which it belongs.
constexpr eDataTag parents[] = {
#define SETTING_ELEMENT(number, name, schema, text, table) eDataTag##table,
#define SETTING_WHOLE_TABLE(number, name, schema) eDataTagNone,
#define SETTING_NO_ELEMENT(number, name, table) eDataTag##table,
#define SETTING_NO_SCHEMA(number, name) eDataTagNone,
#include "Data/settings.def"
};

/// For each row of settings.def how it is kept; what stands for a whole table has no element.
enum class Keeping : std::uint8_t { element, table, none, group };
constexpr Keeping keepings[] = {
#define SETTING_ELEMENT(...) Keeping::element,
#define SETTING_WHOLE_TABLE(...) Keeping::table,
#define SETTING_NO_ELEMENT(...) Keeping::none,
#define SETTING_NO_SCHEMA(...) Keeping::group,
#include "Data/settings.def"
};

/// The schema that settings.def names for a whole table is that of the table.
#define SETTING_WHOLE_TABLE(number, name, schema)                                                                           \
    static_assert(std::string_view(#name) == #schema, "row " #name ": its schema is not that of its table");
#define SETTING_ELEMENT(...)
#define SETTING_NO_ELEMENT(...)
#define SETTING_NO_SCHEMA(...)
#include "Data/settings.def"

constexpr Table const& tableOf(Id id)
{
    return all[static_cast<std::size_t>(id)];
}

constexpr bool areTogether(Id id)
{
    auto const* const rows = Description::rows.begin();
    auto const* const end = Description::rows.end();
    auto const isOwn = [id](auto const& each) { return each.table == id; };
    auto const* const first = std::find_if(rows, end, isOwn);
    return first != end && std::find_if(std::find_if_not(first, end, isOwn), end, isOwn) == end;
}

/// The cells, and the flags behind them, fill the tags from the first to the last without a gap, behind the table's own.
constexpr bool fillsItsTags(Table const& table)
{
    int const count = table.rows * static_cast<int>(table.columns.size());
    bool const isBehindTag = table.tag == eDataTagNone || table.first == cellTag(table.tag, 1);
    return isBehindTag && table.lastFlag - table.first + 1 == count;
}

constexpr bool hasItsRoles(Table const& table)
{
    if (table.kind != Kind::ranked)
        return table.kind != Kind::numbered || (table.find(Role::identifier) && !table.find(Role::flag));
    return table.find(Role::choice) && table.find(Role::rank) && table.find(Role::allowed) &&
           table.columns.back().role == Role::flag;
}

/// Each cell is a row of the column's type that belongs to the column's table, or to none for flags and lists.
constexpr bool fitsSettings(Id id, Column const& column)
{
    Table const& table = tableOf(id);
    Keeping const keeping = !table.schema.empty() || column.role == Role::flag ? Keeping::none : Keeping::element;
    for (int row = 0; row < table.rows; ++row) {
        eDataTag const cell = table.cell(column.first, row);
        if (cell >= eDataTagEnd || Settings::all[cell].type != column.type || keepings[cell] != keeping ||
            parents[cell] != (column.role == Role::flag ? eDataTagNone : table.tag))
            return false;
    }
    return true;
}

/// The numbers that a column tells apart are those that its cells take.
constexpr bool hasItsRange(Id id, Column const& column)
{
    Table const& table = tableOf(id);
    for (int row = 0; row < table.rows && column.minimum < column.maximum; ++row) {
        auto const& step = Settings::all[table.cell(column.first, row)].valueChain.first;
        if (step.check != Check::intRange || step.numbers[0] != column.minimum || step.numbers[1] != column.maximum)
            return false;
    }
    return true;
}

constexpr Column const& columnOf(Id id, eDataTag first)
{
    return *tableOf(id).find(first);
}

/// For each tag how many cells or flags it is.
constexpr auto uses = [] {
    std::array<int, eDataTagEnd + 1> counts{};
    for (Table const& table : all)
        for (Column const& column : table.columns)
            for (int row = 0; row < table.rows; ++row)
                ++counts[static_cast<std::size_t>(table.cell(column.first, row))];
    return counts;
}();

#define LAWS_OF_TABLE(name)                                                                                                 \
    static_assert(areTogether(Id::name), "table " #name ": its columns do not stand together");                             \
    static_assert(fillsItsTags(tableOf(Id::name)), "table " #name ": its cells do not fill the tags behind its own");       \
    static_assert(hasItsRoles(tableOf(Id::name)), "table " #name ": lacks a column that its kind needs");
#define TABLE_STORED(name, ...)                                                                                             \
    LAWS_OF_TABLE(name)                                                                                                     \
    static_assert(keepings[eDataTag##name] == Keeping::table, "table " #name ": is no whole table in settings.def");
#define TABLE_GROUP(name, ...)                                                                                              \
    LAWS_OF_TABLE(name)                                                                                                     \
    static_assert(keepings[eDataTag##name] == Keeping::group, "table " #name ": is no group in settings.def");
#define TABLE_LIST(name, ...) LAWS_OF_TABLE(name)
#define LAWS_OF_COLUMN(table, cell)                                                                                         \
    static_assert(fitsSettings(Id::table, columnOf(Id::table, eDataTag##cell)),                                             \
                  "column " #cell " of " #table ": a cell is no such row of settings.def");                                 \
    static_assert(hasItsRange(Id::table, columnOf(Id::table, eDataTag##cell)),                                              \
                  "column " #cell " of " #table ": a cell has another range");
#define TABLE_COLUMN(table, label, name, element, cell, ...) LAWS_OF_COLUMN(table, cell)
#define TABLE_FLAGS(table, label, cell, ...) LAWS_OF_COLUMN(table, cell)
#define TABLE_FIELD(table, label, cell, type) LAWS_OF_COLUMN(table, cell)
#include "Data/tables.def"

#define SETTING_ROW(number, name, ...)                                                                                      \
    static_assert(uses[number] <= 1, "row " #name ": is a cell of two columns");                                            \
    static_assert(parents[number] == eDataTagNone || uses[number] == 1, "row " #name ": is no cell of its table");
#include "Data/settings.def"

} // namespace

} // namespace Data::Tables

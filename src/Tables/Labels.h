// What people call the tables and their columns. Apart from the description, so that the library carries none of it.
#pragma once

#include "Tables/Tables.h"

#include <array>
#include <cstddef>

namespace Data::Tables {

namespace Description {

constexpr std::array shortNames{
#define TABLE_STORED(name, shortName, ...) shortName,
#define TABLE_GROUP(name, shortName, ...) shortName,
#define TABLE_LIST(name, shortName, ...) shortName,
#include "Data/tables.def"
};

constexpr std::array labels{
#define TABLE_COLUMN(table, label, ...) label,
#define TABLE_FLAGS(table, label, ...) label,
#define TABLE_FIELD(table, label, ...) label,
#include "Data/tables.def"
};

} // namespace Description

constexpr char const* shortNameOf(Table const& table)
{
    return Description::shortNames[static_cast<std::size_t>(&table - all.data())];
}

constexpr char const* labelOf(Column const& column)
{
    return Description::labels[static_cast<std::size_t>(&column - Description::columns.data())];
}

} // namespace Data::Tables

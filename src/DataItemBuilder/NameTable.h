// All name texts of the library in one array. Inside the library a name's address is a constant expression, so that tables of
// addresses need no code to fill them; the exported references (Data/DataNames.h) refer to the same strings.
#pragma once

#include <cstddef>
#include <string>

namespace Data {

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wshadow" // an enumerator stands in its enumeration, the constant of its name does not
/// The name constants in the order of the catalogue, under the same names.
enum class Name : std::size_t {
#define SETTING_NAME(constant, text) constant,
#include "Data/settings.def"
    count
};
#pragma GCC diagnostic pop

/// A string that is made in its place by the table, and never destroyed: it is constant until the process ends.
union NameText {
    // NOLINTBEGIN(modernize-use-equals-default): what is defaulted would be deleted
    NameText() {}
    ~NameText() {}
    // NOLINTEND(modernize-use-equals-default)
    NameText(NameText const&) = delete;
    NameText& operator=(NameText const&) = delete;

    std::string text;
};

struct NameTable {
    NameTable();

    NameText names[static_cast<std::size_t>(Name::count)];
};

extern NameTable const nameTable;

constexpr std::string const* addressOf(Name name)
{
    return &nameTable.names[static_cast<std::size_t>(name)].text;
}

/// Of a text in the table.
inline Name nameOf(std::string const& text)
{
    return static_cast<Name>(reinterpret_cast<NameText const*>(&text) - nameTable.names);
}

} // namespace Data

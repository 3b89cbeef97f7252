// The name constants, made before every other static object of the library: one text holds all names, one loop makes the
// strings, and the exported references need no code at all.
#include "Data/DataNames.h"

#include "DataItemBuilder/NameTable.h"

#include <cstddef>
#include <iterator>
#include <memory>

namespace Data {

namespace {

/// Each name with the zero that ends it.
constexpr char texts[] =
#define SETTING_NAME(constant, text) text "\0"
#include "Data/settings.def"
    ;

constexpr unsigned char sizes[] = {
#define SETTING_NAME(constant, text) sizeof text - 1,
#include "Data/settings.def"
};

} // namespace

NameTable::NameTable()
{
    char const* next = texts;
    for (std::size_t i = 0; i < std::size(sizes); next += sizes[i++] + 1)
        std::construct_at(&names[i].text, next, sizes[i]);
}

[[gnu::init_priority(101)]] NameTable const nameTable;

#define SETTING_NAME(constant, text) constinit std::string const& constant = *addressOf(Name::constant);
#include "Data/settings.def"

} // namespace Data

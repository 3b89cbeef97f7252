// The name constants, made before every other static object of the library: one text holds all names, one loop makes the
// strings, and the exported references need no code at all.
#include "Data/DataNames.h"

#include "DataItemBuilder/NameTable.h"

#include <memory>

namespace Data {

namespace {

/// Each name with the zero that ends it.
constexpr char texts[] =
#define SETTING_NAME(constant, text) text "\0"
#include "Data/settings.def"
    ;

} // namespace

NameTable::NameTable()
{
    char const* next = texts;
    for (NameText& name : names)
        next += std::construct_at(&name.text, next)->size() + 1;
}

[[gnu::init_priority(101)]] NameTable const nameTable;

#define SETTING_NAME(constant, text) constinit std::string const& constant = *addressOf(Name::constant);
#include "Data/settings.def"

} // namespace Data

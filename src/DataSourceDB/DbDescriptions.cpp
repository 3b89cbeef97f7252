// The catalogue's view for the database: schema, element and table of each tag. Holds addresses only, so that it is complete
// before any code runs.
#include "Data/DataSourceDB.h"

#include "DataItemBuilder/NameTable.h"

namespace Data {

#define SETTING_ELEMENT(number, name, schema, text, table)                                                                  \
    {static_cast<eDataTag>(number), addressOf(Name::das##schema##Schema), addressOf(Name::das##name), false,                \
     eDataTag##table},
#define SETTING_WHOLE_TABLE(number, name, schema)                                                                           \
    {static_cast<eDataTag>(number), addressOf(Name::das##schema##Schema), addressOf(Name::dasTableFull), true, eDataTagNone},
#define SETTING_NO_ELEMENT(number, name, table) {static_cast<eDataTag>(number), nullptr, nullptr, false, eDataTag##table},
#define SETTING_NO_SCHEMA(number, name) {static_cast<eDataTag>(number), nullptr, nullptr, true, eDataTagNone},

constinit DataSourceDB::DbDescription const DataSourceDB::dataDbDescriptionTable[rowCount] = {
#include "Data/settings.def"
};

} // namespace Data

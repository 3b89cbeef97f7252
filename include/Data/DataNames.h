// The names by which the outside knows the settings: das... names of the database's schemas, elements and table columns, ocms...
// names of the management service's items and sub-items. Constant from load to exit; compared by address as well as by text:
// each is a reference to a string inside the library, so that the address is the same everywhere.
#pragma once

#include "Data/Export.h"

#include <string>

namespace Data {

#define SETTING_NAME(constant, text) MEDIADATA_EXPORT extern std::string const& constant;
#include "Data/settings.def"

} // namespace Data

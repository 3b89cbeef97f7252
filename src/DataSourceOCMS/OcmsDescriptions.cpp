// The catalogue's view for the management service: item and sub-item of each tag. Holds addresses only, so that it is
// complete before any code runs.
#include "Data/DataSourceOCMS.h"

#include "DataItemBuilder/NameTable.h"

namespace Data {

#define SETTING_ITEM(number, name, text) {static_cast<eDataTag>(number), addressOf(Name::ocms##name), nullptr},
#define SETTING_SUB_ITEM(number, name, table, text)                                                                         \
    {static_cast<eDataTag>(number), addressOf(Name::ocms##table), addressOf(Name::ocms##name)},
#define SETTING_NO_ITEM(number, name) {static_cast<eDataTag>(number), nullptr, nullptr},

constinit DataSourceOCMS::OcmsDescription const DataSourceOCMS::dataOCMSDescriptionTable[rowCount] = {
#include "Data/settings.def"
};

} // namespace Data

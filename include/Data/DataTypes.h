// The numbers that the whole library speaks in: tags, item types, sources, components, handling, countries.
#pragma once

#include <cstdint>
#include <map>
#include <string>

namespace Data {

/// The number of an item. 0 means no item; the numbers from 1 below eDataTagEnd are items. The enumerators are the names of the
/// catalogue's rows, "eDataTag" before each.
enum eDataTag : std::int32_t {
#define SETTING_ROW(number, name, ...) eDataTag##name = number,
#include "Data/settings.def"
};

/// The kind of value an item holds.
enum eDataItemType : std::int32_t {
    eDataItemTypeInt = 0,
    eDataItemTypeBool = 1,
    eDataItemTypeString = 2,
    eDataItemTypeComplex = 3, ///< a whole table held as one text
    eDataItemTypeInvalid = 4  ///< the tag has no catalogue record
};

/// Where an item's value is kept; fixed when the item is made.
enum eDataSource : std::int32_t {
    eDataSourceNone = 0, ///< observed: answered by the management service
    eDataSourceDB = 1,
    eDataSourceFile = 2,
    eDataSourceGroupPickup = 3 ///< tag 68, which is kept in memory alone
};

/// Which component owns an item; as a filter 0 means any.
enum eDataComponent : std::int32_t { eDataComponentNone = 0, eDataComponentMedia = 1 };

/// How the management service may treat an item.
enum eDataHandling : std::int32_t {
    OWNED = 0,   ///< the service may set and read it
    OBSERVED = 1 ///< it belongs to another component, and the service reports its changes
};

/// Countries, by the two-letter codes of ISO 3166-1; the numbers are fixed.
enum eCountry : std::int32_t {
    eCountryGB = 0,
    eCountryAR,
    eCountryAT,
    eCountryBE,
    eCountryCA,
    eCountryCL,
    eCountryCZ,
    eCountryFR,
    eCountryDE,
    eCountryIE,
    eCountryIT,
    eCountryJP,
    eCountryLU,
    eCountryNL,
    eCountryNZ,
    eCountryPL,
    eCountryPT,
    eCountryES,
    eCountryCH,
    eCountryUS,
    eCountryAU,
    eCountryBR,
    eCountryCN,
    eCountryHR,
    eCountryDK,
    eCountryFI,
    eCountryHU,
    eCountryIN,
    eCountryMX,
    eCountryNO,
    eCountryRU,
    eCountrySK,
    eCountryZA,
    eCountrySE,
    eCountrySG,
    eCountryTH,
    eCountryTR,
    eCountryVN,
    eCountryKR,
    eCountryUA,
    eCountryUnknown = 40 ///< no known country
};

/// Values as text, by tag: the form in which sets of values pass between the cache and its sources.
using DataTagValue_t = std::map<eDataTag, std::string>;

} // namespace Data

// Country codes and the two regions that tones and ringing are grouped by.
#pragma once

#include "Data/DataTypes.h"
#include "Data/Export.h"

#include <map>
#include <string>

namespace Data {

/// All instances share one map, filled by each construction and emptied by each destruction. Takes no lock: made and destroyed
/// by start-up and shut-down, read-only between.
class MEDIADATA_EXPORT DataCountry {
public:
    DataCountry();
    /// Empties the shared map, whatever other instances exist.
    virtual ~DataCountry();
    DataCountry(DataCountry const&) = delete;
    DataCountry& operator=(DataCountry const&) = delete;

    /// The country of an upper-case two-letter code (ISO 3166-1 alpha-2), matched exactly; 40 when there is none.
    virtual eCountry getCountry(std::string const& code);
    /// 0 for Canada, Japan, the United States and South Korea, 1 for every other value.
    virtual int getCountryRegion(eCountry country);

    /// Fills the shared map; codes that are present stay.
    static void createMap();

private:
    static std::map<std::string, eCountry> m_countryList;
};

} // namespace Data

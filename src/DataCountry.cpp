#include "Data/DataCountry.h"

#include <array>
#include <cstddef>

namespace Data {

namespace {

/// Country codes in the order of their values, which the enumeration fixes.
constexpr std::array<char const*, eCountryUnknown> countryCodes{
    "GB", "AR", "AT", "BE", "CA", "CL", "CZ", "FR", "DE", "IE", "IT", "JP", "LU", "NL", "NZ", "PL", "PT", "ES", "CH", "US",
    "AU", "BR", "CN", "HR", "DK", "FI", "HU", "IN", "MX", "NO", "RU", "SK", "ZA", "SE", "SG", "TH", "TR", "VN", "KR", "UA"};

} // namespace

std::map<std::string, eCountry> DataCountry::m_countryList;

DataCountry::DataCountry()
{
    createMap();
}

DataCountry::~DataCountry()
{
    m_countryList.clear();
}

void DataCountry::createMap()
{
    for (std::size_t value = 0; value < countryCodes.size(); ++value)
        m_countryList.emplace(countryCodes[value], static_cast<eCountry>(value));
}

eCountry DataCountry::getCountry(std::string const& code)
{
    auto const found = m_countryList.find(code);
    return found == m_countryList.end() ? eCountryUnknown : found->second;
}

int DataCountry::getCountryRegion(eCountry country)
{
    switch (country) {
    case eCountryCA:
    case eCountryJP:
    case eCountryUS:
    case eCountryKR:
        return 0;
    default:
        return 1;
    }
}

} // namespace Data

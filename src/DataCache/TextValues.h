// Values as text and back, in the platform's conversions.
#pragma once

#include "ClientUtils.h"

#include <string>

namespace Data {

inline std::string convertToString(int value)
{
    return ClientUtils::itos(value);
}

inline std::string convertToString(bool value)
{
    return ClientUtils::btos(value);
}

inline std::string const& convertToString(std::string const& value)
{
    return value;
}

inline void convertFromString(std::string const& text, int& value)
{
    value = ClientUtils::stoi(text);
}

inline void convertFromString(std::string const& text, bool& value)
{
    value = ClientUtils::stob(text);
}

inline void convertFromString(std::string const& text, std::string& value)
{
    value = text;
}

} // namespace Data

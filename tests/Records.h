// Records of the management service as the tests write them.
#pragma once

#include "ManageableData.h"
#include "Standard.h"

/// Item, sub-item and value of each entry.
inline ManageableData record(std::vector<std::array<std::string, 3>> const& entries)
{
    ManageableData result;
    for (auto const& [item, subItem, value] : entries)
        result.populate(item, subItem, value);
    return result;
}

inline ManageableData record(std::string const& item, std::string const& value)
{
    return record({{item, item, value}});
}

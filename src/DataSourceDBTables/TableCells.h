// How the cells of a table are addressed: a column is a run of tags, one per row.
#pragma once

#include "Data/DataTypes.h"

#include <string>

namespace Data {

constexpr eDataTag cellTag(eDataTag column, int row)
{
    return static_cast<eDataTag>(column + row);
}

/// The text of a cell; empty when the map does not hold it.
inline std::string cellText(DataTagValue_t const& values, eDataTag tag)
{
    auto const cell = values.find(tag);
    return cell == values.end() ? std::string() : cell->second;
}

} // namespace Data

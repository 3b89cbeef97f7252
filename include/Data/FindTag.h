// From the names by which people know a setting to its tag.
#pragma once

#include "Data/DataTypes.h"
#include "Data/Export.h"

#include <optional>
#include <string_view>

namespace Data {

namespace Detail {

/// By the names that the library has itself: the management service's item or sub-item, or schema and element.
MEDIADATA_EXPORT std::optional<eDataTag> findByStoredName(std::string_view name);

/// By the names of the catalogue's rows, which are in who asks for them and not in the library.
inline std::optional<eDataTag> findByRowName(std::string_view name)
{
    constexpr std::string_view names[]{
#define SETTING_ROW(number, name, ...) #name,
#include "Data/settings.def"
    };
    for (int tag = eDataTagNone + 1; tag < eDataTagEnd; ++tag)
        if (names[tag] == name)
            return static_cast<eDataTag>(tag);
    return std::nullopt;
}

} // namespace Detail

/// The tag of a setting by any of its names: what the management service calls it ("ringer-volume"; a cell of a ranked table
/// "codec[1]/rank"), where the database keeps it ("AudioSettings/RingerVolume"), or its row in the catalogue ("RingerVolume").
/// Nothing for a name that is nobody's. Takes no lock and needs no cache.
inline std::optional<eDataTag> findTag(std::string_view anyName)
{
    auto const tag = Detail::findByStoredName(anyName);
    return tag ? tag : Detail::findByRowName(anyName);
}

} // namespace Data

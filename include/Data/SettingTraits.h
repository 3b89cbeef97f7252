// What the compiler knows of a setting: its type, and whether the media component's cache has a value of its own for it.
#pragma once

#include "Data/DataTypes.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string_view>

namespace Data {

/// What the media component watches without owning it, kept current by the management service.
inline constexpr eDataTag observedByMedia[]{
    eDataTagMobilityDataUpdate, eDataTagIpAddress, eDataTagIpv6AddressGlobal, eDataTagServerType,
    eDataTagSystemIdentifier,   eDataTagCountry,   eDataTagRelatedDeviceType, eDataTagRelatedSoftwareVersion,
    eDataTagSoftwareType};

/// Why a tag has a value in the media component's cache, or has none.
enum class ValueKind : std::uint8_t {
    Value,
    Secret,      ///< a value, a password or PIN
    Flag,        ///< a value, which the flag file sets
    NoSetting,   ///< 0, the end, or a number beyond
    Table,       ///< a table or group, whose values are those of its members
    SwitchedOff, ///< the catalogue gives it no default
    Elsewhere    ///< another component's, and not watched
};

struct SettingTraits {
    std::int8_t typeNumber = eDataItemTypeInvalid; ///< small, since the library has one for each tag
    ValueKind kind = ValueKind::NoSetting;

    constexpr eDataItemType type() const { return static_cast<eDataItemType>(typeNumber); }
};

/// The options of settings.def on which the traits depend; the others are nothing here.
namespace Detail::Options {
enum Option : std::uint8_t { none = 0, observed = 1, secret = 2, flagged = 4 };
inline constexpr Option userData = none, secondFlag = none, audioReset = none, noWhiteSpace = none, trueOrFalse = none;
constexpr Option range(int, int)
{
    return none;
}
constexpr Option evenRange(int, int)
{
    return none;
}
constexpr Option rangeThenNot(int, int, int, int)
{
    return none;
}
constexpr Option length(int, int)
{
    return none;
}
constexpr Option oneOf(char const*, char const*)
{
    return none;
}
constexpr Option audioResetBefore(eDataTag)
{
    return none;
}
constexpr Option help(char const*)
{
    return none;
}
inline constexpr auto unit = help, names = help;
constexpr Option flag(char const*)
{
    return flagged;
}

constexpr SettingTraits traits(eDataTag tag, eDataItemType type, std::string_view defaultText, auto... options)
{
    int const all = (0 | ... | options);
    auto const kind = [&] {
        if (tag == eDataTagNone || tag == eDataTagEnd)
            return ValueKind::NoSetting;
        if (type == eDataItemTypeComplex)
            return ValueKind::Table;
        if (type != eDataItemTypeString && defaultText.empty())
            return ValueKind::SwitchedOff;
        bool const isWatched =
            std::find(std::begin(observedByMedia), std::end(observedByMedia), tag) != std::end(observedByMedia);
        if ((all & observed) != 0 && !isWatched)
            return ValueKind::Elsewhere;
        if ((all & flagged) != 0)
            return ValueKind::Flag;
        return (all & secret) != 0 ? ValueKind::Secret : ValueKind::Value;
    };
    return {static_cast<std::int8_t>(type), kind()};
}

inline constexpr SettingTraits all[]{
#define SETTING_ROW(number, name, type, ...) traits(eDataTag##name, eDataItemType##type, __VA_ARGS__),
#include "Data/settings.def"
};
} // namespace Detail::Options

constexpr SettingTraits traitsOf(eDataTag tag)
{
    auto const index = static_cast<std::size_t>(tag);
    return index < std::size(Detail::Options::all) ? Detail::Options::all[index] : SettingTraits{};
}

/// In the media component's cache.
constexpr bool hasValue(eDataTag tag)
{
    return traitsOf(tag).kind <= ValueKind::Flag;
}

/// To those who read without the cache's lock. Secrets are not, since their old texts would stay in memory, nor flags of the flag
/// file, which is looked at when they are read.
constexpr bool isPublished(eDataTag tag)
{
    return traitsOf(tag).kind == ValueKind::Value;
}

} // namespace Data

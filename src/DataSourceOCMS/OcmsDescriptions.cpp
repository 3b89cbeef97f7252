// The catalogue's view for the management service: item and sub-item of each tag, and the tags in the order of these names. All
// of it is complete before any code runs: it holds addresses, and the compiler sorts.
#include "Data/DataSourceOCMS.h"

#include "DataItemBuilder/NameTable.h"

#include <algorithm>
#include <array>
#include <compare>
#include <string_view>

namespace Data {

namespace {

constexpr std::string_view nameTexts[] = {
#define SETTING_NAME(constant, text) text,
#include "Data/settings.def"
};

/// What a row is called; empty when management does not know it.
struct RowName {
    std::string_view item;
    std::string_view subItem;

    constexpr auto operator<=>(RowName const&) const = default;
};

constexpr RowName rowNames[] = {
#define SETTING_ITEM(number, name, text) {text, text},
#define SETTING_SUB_ITEM(number, name, table, text) {nameTexts[static_cast<std::size_t>(Name::ocms##table)], text},
#define SETTING_NO_ITEM(number, name) {},
#include "Data/settings.def"
};

constexpr auto isNamed = [](RowName const& name) { return !name.item.empty(); };

constexpr auto tagsByName = [] {
    std::array<std::uint16_t, static_cast<std::size_t>(std::ranges::count_if(rowNames, isNamed))> tags{};
    auto* next = tags.begin();
    for (std::uint16_t tag = 0; tag < std::size(rowNames); ++tag)
        if (isNamed(rowNames[tag]))
            *next++ = tag;
    std::ranges::sort(tags, {}, [](std::uint16_t tag) { return rowNames[tag]; });
    return tags;
}();

} // namespace

#define SETTING_ITEM(number, name, text) {static_cast<eDataTag>(number), addressOf(Name::ocms##name), nullptr},
#define SETTING_SUB_ITEM(number, name, table, text)                                                                         \
    {static_cast<eDataTag>(number), addressOf(Name::ocms##table), addressOf(Name::ocms##name)},
#define SETTING_NO_ITEM(number, name) {static_cast<eDataTag>(number), nullptr, nullptr},

constinit DataSourceOCMS::OcmsDescription const DataSourceOCMS::dataOCMSDescriptionTable[rowCount] = {
#include "Data/settings.def"
};

std::span<std::uint16_t const> DataSourceOCMS::findRows(std::string const& itemName)
{
    auto const itemOf = [](std::uint16_t tag) -> std::string const& { return *dataOCMSDescriptionTable[tag].item; };
    return std::ranges::equal_range(tagsByName, itemName, {}, itemOf);
}

} // namespace Data

// The catalogue's view for the management service: item and sub-item of each tag, and the tags in the order of these names. All
// of it is complete before any code runs: it holds addresses, and the compiler sorts.
#include "Data/DataSourceOCMS.h"

#include "DataItemBuilder/NameTable.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <string_view>

namespace Data {

namespace {

constexpr std::string_view nameTexts[] = {
// NOLINTNEXTLINE(bugprone-suspicious-missing-comma): an entry may be written in two pieces
#define SETTING_NAME(constant, text) text,
#include "Data/settings.def"
};

/// What a row is called; empty when management does not know it.
struct RowName {
    std::string_view item;
    std::string_view subItem;

    constexpr bool operator<(RowName const& other) const
    {
        return item != other.item ? item < other.item : subItem < other.subItem;
    }
};

constexpr RowName rowNames[] = {
#define SETTING_ITEM(number, name, text) {text, text},
#define SETTING_SUB_ITEM(number, name, table, text) {nameTexts[static_cast<std::size_t>(Name::ocms##table)], text},
#define SETTING_NO_ITEM(number, name) {},
#include "Data/settings.def"
};

/// The beginnings of a row's names as numbers: comparing texts takes more steps than compilers grant.
struct SortKey {
    std::uint64_t words[8] = {};

    constexpr SortKey() = default;
    constexpr explicit SortKey(RowName const& name)
    {
        std::size_t end = 0;
        for (std::string_view const text : {name.item, name.subItem})
            for (std::size_t const begin = end; end < begin + 32; ++end)
                words[end / 8] =
                    words[end / 8] << 8 | (end - begin < text.size() ? static_cast<unsigned char>(text[end - begin]) : 0U);
    }
    constexpr bool operator<(SortKey const& other) const
    {
        std::size_t i = 0;
        while (i < std::size(words) - 1 && words[i] == other.words[i])
            ++i;
        return words[i] < other.words[i];
    }
};

constexpr auto sortKeys = [] {
    std::array<SortKey, std::size(rowNames)> keys;
    for (std::size_t row = 0; row < keys.size(); ++row)
        keys[row] = SortKey(rowNames[row]);
    return keys;
}();

constexpr auto namedRows = std::ranges::count_if(rowNames, [](RowName const& name) { return !name.item.empty(); });

constexpr auto tagsByName = [] {
    std::array<std::uint16_t, static_cast<std::size_t>(namedRows)> tags{};
    std::size_t count = 0;
    for (std::size_t row = 0; row < std::size(rowNames); ++row)
        if (!rowNames[row].item.empty())
            tags[count++] = static_cast<std::uint16_t>(row);
    std::sort(tags.begin(), tags.end(), [](auto left, auto right) { return sortKeys[left] < sortKeys[right]; });
    return tags;
}();
static_assert(std::is_sorted(tagsByName.begin(), tagsByName.end(),
                             [](auto left, auto right) { return rowNames[left] < rowNames[right]; }),
              "names of management differ behind what is compared of them");

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
    auto const* const first = std::ranges::lower_bound(tagsByName, itemName, {}, itemOf);
    return {first, std::find_if(first, tagsByName.end(), [&](auto tag) { return itemOf(tag) != itemName; })};
}

} // namespace Data

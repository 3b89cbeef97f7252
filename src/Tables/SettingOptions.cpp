#include "Tables/SettingOptions.h"

#include "DataItemBuilder/Settings.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>

namespace Data::Tables {

namespace {

using Settings::Setting;

/// How many rows have an option.
constexpr std::size_t count(auto const& option)
{
    return static_cast<std::size_t>(std::ranges::count_if(Settings::all, option));
}

constexpr auto isSecretRow = [](Setting const& row) { return row.isSecret; };
constexpr auto isResetRow = [](Setting const& row) { return row.audioReset != 0; };
constexpr auto isFlagRow = [](Setting const& row) { return row.flagWord != nullptr; };

constexpr auto secretTags = [] {
    std::array<eDataTag, count(isSecretRow)> tags{};
    auto* next = tags.begin();
    for (Setting const& row : Settings::all)
        if (isSecretRow(row))
            *next++ = row.tag;
    return tags;
}();

constexpr auto resetTags = [] {
    std::array<eDataTag, count(isResetRow)> tags{};
    auto* next = tags.begin();
    for (Setting const& row : Settings::all)
        if (isResetRow(row))
            *next++ = row.tag;
    std::ranges::sort(tags, {}, [](eDataTag tag) { return Settings::all[tag].audioReset; });
    return tags;
}();

constexpr auto flagRows = [] {
    std::array<FlagWord, count(isFlagRow)> rows{};
    auto* next = rows.begin();
    for (Setting const& row : Settings::all)
        if (isFlagRow(row))
            *next++ = {row.flagWord, row.tag};
    return rows;
}();

} // namespace

bool isSecret(eDataTag tag)
{
    return std::ranges::binary_search(secretTags, tag);
}

std::span<eDataTag const> audioResetTags()
{
    return resetTags;
}

std::span<FlagWord const> flagWords()
{
    return flagRows;
}

char const* flagWordOf(eDataTag tag)
{
    auto const* const found = std::ranges::find(flagRows, tag, &FlagWord::tag);
    return found == flagRows.end() ? nullptr : found->word;
}

} // namespace Data::Tables

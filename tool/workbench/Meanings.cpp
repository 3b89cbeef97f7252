#include "workbench/Meanings.h"

#include "DataItemBuilder/Settings.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>

namespace Tool {

using namespace Data;

namespace {

/// The first name of a text, which is taken from it. The text "0 off, 1 on" has two.
constexpr NamedNumber takeName(std::string_view& text)
{
    NamedNumber result;
    std::size_t at = 0;
    for (; at < text.size() && text[at] >= '0' && text[at] <= '9'; ++at)
        result.number = result.number * 10 + (text[at] - '0');
    auto const end = std::min(text.find(", "), text.size());
    // Without a number or a blank behind it there is no name, which the law below finds.
    if (at > 0 && at < end && text[at] == ' ')
        result.name = text.substr(at + 1, end - at - 1);
    text.remove_prefix(std::min(end + 2, text.size()));
    return result;
}

struct Meaning {
    char const* help;
    char const* unit;
    char const* names;
};

constexpr auto meanings = [] {
    std::array<Meaning, std::size(Settings::all)> result{};
    std::ranges::transform(Settings::all, result.begin(), [](Settings::Setting const& row) {
        return Meaning{row.help, row.unit, row.names};
    });
    return result;
}();

/// Where each family begins, in its place among the rows; the rows themselves are nothing here.
struct FamilyOrRow {
    std::string_view family = {};
    std::string_view title = {};
};

constexpr FamilyOrRow familiesAndRows[] = {
#define SETTING_FAMILY(name, title) {name, title},
#define SETTING_ROW(number, name, type, ...) {},
#include "Data/settings.def"
};

struct Families {
    std::vector<Family> all;
    std::vector<std::size_t> byTag;

    Families()
    {
        for (auto const& line : familiesAndRows) {
            if (!line.family.empty())
                all.push_back({line.family, line.title});
            else
                byTag.push_back(all.empty() ? 0 : all.size() - 1);
        }
    }
};

Families const& knownFamilies()
{
    static Families const known;
    return known;
}

// Laws

constexpr bool namesFit(Settings::Setting const& row)
{
    auto const& [least, most] = row.valueChain.first.numbers;
    std::string_view text = row.names ? row.names : "";
    for (int last = least - 1; !text.empty();) {
        auto const [number, name] = takeName(text);
        if (name.empty() || number <= last || number > most)
            return false;
        last = number;
    }
    return true;
}

constexpr bool isItem(int number)
{
    return number > eDataTagNone && number < eDataTagEnd;
}

#define SETTING_ROW(number, name, type, ...)                                                                                \
    static_assert(isItem(number) == (Settings::all[number].help != nullptr), "row " #name ": has no help");                 \
    static_assert(eDataItemType##type == eDataItemTypeInt || (!Settings::all[number].unit && !Settings::all[number].names), \
                  "row " #name ": has a unit or names, but no number");                                                     \
    static_assert(namesFit(Settings::all[number]),                                                                          \
                  "row " #name ": its names are not numbers of its range in ascending order, each with a name");
#include "Data/settings.def"

std::string_view orNothing(char const* text)
{
    return text ? text : std::string_view();
}

Meaning const& meaningOf(eDataTag tag)
{
    return meanings.at(static_cast<std::size_t>(tag));
}

} // namespace

std::string_view helpOf(eDataTag tag)
{
    return orNothing(meaningOf(tag).help);
}

Json unitOf(eDataTag tag)
{
    auto const* const unit = meaningOf(tag).unit;
    return unit ? Json(unit) : Json();
}

std::string_view namesOfNumbers(eDataTag tag)
{
    return orNothing(meaningOf(tag).names);
}

std::vector<NamedNumber> namedNumbersOf(eDataTag tag)
{
    std::vector<NamedNumber> result;
    for (auto text = namesOfNumbers(tag); !text.empty();)
        result.push_back(takeName(text));
    return result;
}

Json namesByNumber(eDataTag tag)
{
    Json names;
    for (auto const& [number, name] : namedNumbersOf(tag))
        names[std::to_string(number)] = name;
    return names;
}

Json nameOfValue(eDataTag tag, Json const& value)
{
    for (auto const& [number, name] : namedNumbersOf(tag)) {
        if (value == Json(number))
            return name;
    }
    return {};
}

std::vector<Family> const& families()
{
    return knownFamilies().all;
}

Family const& familyOf(eDataTag tag)
{
    return families().at(knownFamilies().byTag.at(static_cast<std::size_t>(tag)));
}

bool meansSo(eDataTag tag, std::string const& text)
{
    auto const same = [](char a, char b) {
        auto const lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
        return lower(a) == lower(b);
    };
    auto const holds = [&](std::string_view words) {
        return std::search(words.begin(), words.end(), text.begin(), text.end(), same) != words.end();
    };
    return holds(helpOf(tag)) || holds(namesOfNumbers(tag));
}

} // namespace Tool

#include "workbench/Items.h"

#include "Data/DataItemBuilder.h"
#include "Data/DataSourceDB.h"
#include "Data/DataSourceOCMS.h"
#include "Media/MediaDataCache.h"
#include "Tables/Labels.h"

#include <fnmatch.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <iterator>
#include <list>
#include <map>
#include <set>
#include <utility>

namespace Tool {

using namespace Data;

namespace {

constexpr char const* rowNames[]{
#define SETTING_ROW(number, name, ...) #name,
#include "Data/settings.def"
};

struct Names {
    std::vector<std::vector<std::string>> byTag{std::size(rowNames)};
    std::multimap<std::string, eDataTag> byName;
};

std::vector<std::string> collectNames(eDataTag tag)
{
    std::vector<std::string> names;
    auto const& management = DataSourceOCMS::dataOCMSDescriptionTable[tag];
    if (management.item && management.subItem) {
        names.push_back(*management.subItem);
        names.push_back(*management.item + "/" + *management.subItem);
    } else if (management.item) {
        names.push_back(*management.item);
    }
    auto const& database = DataSourceDB::dataDbDescriptionTable[tag];
    if (database.schema && database.element)
        names.push_back(database.element->empty() ? *database.schema : *database.schema + "/" + *database.element);
    if (std::string const row = rowNames[static_cast<std::size_t>(tag)]; names.empty() || names.back() != row)
        names.push_back(row);
    if (auto const* const word = Tables::flagWordOf(tag))
        names.emplace_back(word);
    for (auto const& table : Tables::all) {
        if (table.tag == tag)
            names.emplace_back(Tables::shortNameOf(table));
    }
    return names;
}

Names const& names()
{
    static Names const all = [] {
        Names result;
        for (auto const tag : allTags()) {
            auto& own = result.byTag[static_cast<std::size_t>(tag)] = collectNames(tag);
            for (auto const& name : std::set<std::string>(own.begin(), own.end()))
                result.byName.emplace(name, tag);
        }
        // A name that several items share leads to none of them and is not printed as the name of one.
        for (auto& own : result.byTag)
            std::erase_if(own, [&](std::string const& name) { return result.byName.count(name) > 1; });
        return result;
    }();
    return all;
}

char lower(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

std::string lowerCase(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(), lower);
    return text;
}

/// Never more than the edit distance, and told at once: how many letters one word has that the other has not.
std::size_t leastDistance(std::string const& a, std::string const& b)
{
    std::array<std::size_t, 256> letters{};
    for (char const c : a)
        ++letters[static_cast<unsigned char>(c)];
    std::size_t common = 0;
    for (char const c : b) {
        auto& left = letters[static_cast<unsigned char>(lower(c))];
        common += left > 0;
        left -= left > 0;
    }
    return std::max(a.size(), b.size()) - common;
}

/// The edit distance of two words, or something beyond `limit` when it is larger than that.
std::size_t distance(std::string const& a, std::string const& b, std::size_t limit)
{
    std::vector<std::size_t> row(b.size() + 1);
    for (std::size_t j = 0; j <= b.size(); ++j)
        row[j] = j;
    for (std::size_t i = 1; i <= a.size(); ++i) {
        auto diagonal = std::exchange(row[0], i);
        for (std::size_t j = 1; j <= b.size(); ++j) {
            auto const changed = diagonal + (a[i - 1] == b[j - 1] ? 0U : 1U);
            diagonal = std::exchange(row[j], std::min({row[j] + 1, row[j - 1] + 1, changed}));
        }
        if (*std::min_element(row.begin(), row.end()) > limit)
            return limit + 1;
    }
    return row[b.size()];
}

bool isObserved(eDataTag tag)
{
    static std::set<eDataTag> const observed = [] {
        std::list<eDataTag> tags;
        Media::MediaDataCache::getObservedTags(tags);
        return std::set<eDataTag>(tags.begin(), tags.end());
    }();
    return observed.contains(tag);
}

bool isMediaValue(eDataTag tag)
{
    auto const* const record = DataCache::DataItemBuilder::findDataRecord(tag);
    return record && record->component == eDataComponentMedia && record->value.type != eDataItemTypeComplex;
}

} // namespace

std::vector<eDataTag> const& allTags()
{
    static std::vector<eDataTag> const tags = [] {
        std::vector<eDataTag> result;
        for (int tag = eDataTagNone + 1; tag < eDataTagEnd; ++tag)
            result.push_back(static_cast<eDataTag>(tag));
        return result;
    }();
    return tags;
}

std::vector<std::string> const& namesOf(eDataTag tag)
{
    return names().byTag[static_cast<std::size_t>(tag)];
}

std::string const& nameOf(eDataTag tag)
{
    return namesOf(tag).front();
}

std::optional<eDataTag> findItem(std::string const& name)
{
    int number = 0;
    auto const* const end = name.data() + name.size();
    auto const [stop, error] = std::from_chars(name.data(), end, number);
    if (error == std::errc() && stop == end) {
        if (number > eDataTagNone && number < eDataTagEnd)
            return static_cast<eDataTag>(number);
        return std::nullopt;
    }
    if (names().byName.count(name) != 1)
        return std::nullopt;
    return names().byName.find(name)->second;
}

std::vector<std::string> nearest(std::string const& word, std::vector<std::string> const& candidates)
{
    constexpr std::size_t enough = 3;
    auto const wanted = lowerCase(word);
    auto const farthest = std::max<std::size_t>(2, wanted.size() / 3);
    std::vector<std::pair<std::size_t, std::string>> found;
    for (auto const& candidate : candidates) {
        // Nearly all names are ruled out so: a word of any length is answered at once.
        bool const mayBePart = wanted.size() > 2 && wanted.size() <= candidate.size();
        if (!mayBePart && wanted.size() > candidate.size() + farthest)
            continue;
        auto const least = leastDistance(wanted, candidate);
        if (least > farthest && !(mayBePart && least == candidate.size() - wanted.size()))
            continue;
        auto const name = lowerCase(candidate);
        bool const isPart = mayBePart && name.find(wanted) != std::string::npos;
        auto const away = std::min(distance(wanted, name, farthest), isPart ? std::size_t{2} : std::string::npos);
        if (away <= farthest && away < name.size())
            found.emplace_back(away, candidate);
    }
    std::stable_sort(found.begin(), found.end(), [](auto const& a, auto const& b) { return a.first < b.first; });
    std::vector<std::string> result;
    for (auto const& [away, candidate] : found) {
        if (result.size() < enough)
            result.push_back(candidate);
    }
    return result;
}

std::vector<std::string> namesNear(std::string const& name)
{
    static auto const unique = [] {
        std::vector<std::string> found;
        for (auto const& [candidate, tag] : names().byName) {
            if (names().byName.count(candidate) == 1)
                found.push_back(candidate);
        }
        return found;
    }();
    return nearest(name, unique);
}

std::vector<eDataTag> namedBy(std::string const& name)
{
    auto const tag = findItem(name);
    auto const table = std::ranges::find_if(Tables::all, [&](Tables::Table const& each) {
        return Tables::shortNameOf(each) == name || (tag && each.tag == tag);
    });
    std::vector<eDataTag> tags;
    if (table != Tables::all.end())
        std::ranges::copy_if(allTags(), std::back_inserter(tags),
                             [&](eDataTag each) { return each >= table->first && each <= table->last; });
    else if (tag)
        tags.push_back(*tag);
    return tags;
}

std::vector<eDataTag> matchItems(std::string const& pattern)
{
    if (auto exact = namedBy(pattern); !exact.empty())
        return exact;
    bool const isGlob = pattern.find_first_of("*?") != std::string::npos;
    // Brackets are part of names ("codec[1]/type") and stand for themselves.
    std::string glob;
    for (char const c : pattern)
        glob += c == '[' || c == '\\' ? std::string{'\\', c} : std::string{c};
    auto const part = lowerCase(pattern);
    auto const fits = [&](std::string const& name) {
        return isGlob ? fnmatch(glob.c_str(), name.c_str(), 0) == 0 : lowerCase(name).find(part) != std::string::npos;
    };
    std::vector<eDataTag> result;
    for (auto const tag : allTags()) {
        auto const& own = namesOf(tag);
        if (std::any_of(own.begin(), own.end(), fits))
            result.push_back(tag);
    }
    return result;
}

bool isKept(eDataTag tag)
{
    return isMediaValue(tag) && (DataSourceDB::dataDbDescriptionTable[tag].schema || storedTableOf(tag) != eDataTagNone);
}

bool isFleeting(eDataTag tag)
{
    return isMediaValue(tag) && !isKept(tag) && !Tables::flagWordOf(tag);
}

bool exists(eDataTag tag)
{
    return DataCache::DataItemBuilder::findDataRecord(tag) != nullptr;
}

bool isHeld(eDataTag tag)
{
    auto const* const record = DataCache::DataItemBuilder::findDataRecord(tag);
    return record && (record->component == eDataComponentMedia || isObserved(tag));
}

eDataItemType typeOf(eDataTag tag)
{
    auto const* const record = DataCache::DataItemBuilder::findDataRecord(tag);
    return record ? record->value.type : eDataItemTypeInvalid;
}

char const* typeName(eDataItemType type)
{
    constexpr std::array typeNames{"int", "bool", "string", "complex", "invalid"};
    return typeNames[static_cast<std::size_t>(type)];
}

eDataTag storedTableOf(eDataTag tag)
{
    auto const parent = DataSourceDB::dataDbDescriptionTable[tag].parentTable;
    return parent > eDataTagNone && DataSourceDB::dataDbDescriptionTable[parent].schema ? parent : eDataTagNone;
}

Report unknownItem(std::string const& name)
{
    return failure(exitUnknownItem, name, "no item has this tag number or name", namesNear(name));
}

} // namespace Tool

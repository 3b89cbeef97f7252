// The catalogue's records. The rows of settings.def are checked and condensed while compiling (equal chains become one and
// texts into one, so that nothing is left to relocate) and unfolded into the records when the library loads.
#include "Data/DataItemBuilder.h"

#include "DataItemBuilder/Settings.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <string_view>
#include <utility>

namespace Data {

namespace {

using Builder = DataCache::DataItemBuilder;
using namespace Settings;

/// In the order of `Check`.
constexpr Builder::ValidatorBuilder validatorBuilders[] = {nullptr,
                                                           Builder::dataValidatorIntRange,
                                                           Builder::dataValidatorBasePort,
                                                           Builder::dataValidatorIntRangeNot,
                                                           Builder::dataValidatorStringLength,
                                                           Builder::dataValidatorStringAllDigits,
                                                           Builder::dataValidatorStringNoWhitespace,
                                                           Builder::dataValidatorStringBoolean,
                                                           Builder::dataValidatorStringsAllowed};

// Laws

/// The rows in the order in which they are written.
enum class Position : std::int32_t {
#define SETTING_ROW(number, name, type, ...) name,
#include "Data/settings.def"
};

constexpr bool isDecimalInt(std::string_view text)
{
    bool const negative = text.starts_with('-');
    std::int64_t value = 0;
    for (char const digit : text.substr(negative ? 1 : 0)) {
        value = value * 10 + (digit - '0');
        if (digit < '0' || digit > '9' || value > INT32_MAX)
            return false;
    }
    return text.size() > (negative ? 1U : 0U);
}

constexpr bool defaultFitsType(Setting const& setting)
{
    switch (setting.type) {
    case eDataItemTypeInt:
        return setting.defaultText.empty() || isDecimalInt(setting.defaultText);
    case eDataItemTypeBool:
        return setting.defaultText.empty() || setting.defaultText == "true" || setting.defaultText == "false";
    default:
        return true;
    }
}

/// A name and where it counts; an empty name is none.
struct ScopedName {
    std::string_view scope;
    std::string_view name;
    std::uint64_t hash = 0;

    constexpr ScopedName() = default;
    constexpr ScopedName(std::string_view scopeText, std::string_view nameText) : scope(scopeText), name(nameText)
    {
        for (std::string_view const part : {scope, name})
            for (char const c : part)
                hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211U; // FNV-1a: sorting compares numbers alone
    }
    constexpr bool operator==(ScopedName const& other) const
    {
        return hash == other.hash && scope == other.scope && name == other.name;
    }
};

constexpr std::array<ScopedName, Builder::recordCount> elements{{
#define SETTING_ELEMENT(number, name, schema, text, table) {#schema, text},
#define SETTING_WHOLE_TABLE(number, name, schema) {#schema, "(whole)"},
#define SETTING_NO_ELEMENT(number, name, table) {},
#define SETTING_NO_SCHEMA(number, name) {},
#include "Data/settings.def"
}};

constexpr std::array<ScopedName, Builder::recordCount> items{{
#define SETTING_ITEM(number, name, text) {text, text},
#define SETTING_SUB_ITEM(number, name, table, text) {#table, text},
#define SETTING_NO_ITEM(number, name) {},
#include "Data/settings.def"
}};

using RowSet = std::array<bool, Builder::recordCount>;

constexpr RowSet findRepeated(std::array<ScopedName, Builder::recordCount> const& names)
{
    std::array<std::pair<std::uint64_t, std::size_t>, Builder::recordCount> sorted{};
    for (std::size_t i = 0; i < names.size(); ++i)
        sorted[i] = {names[i].hash, i};
    std::sort(sorted.begin(), sorted.end());
    RowSet repeated{};
    for (std::size_t i = 1; i < sorted.size(); ++i) {
        ScopedName const& name = names[sorted[i].second];
        repeated[sorted[i].second] = !name.name.empty() && name == names[sorted[i - 1].second];
    }
    return repeated;
}

constexpr RowSet repeatedElements = findRepeated(elements);
constexpr RowSet repeatedItems = findRepeated(items);

static_assert(std::size(all) == Builder::recordCount, "the row End does not have the highest number");

#define SETTING_ROW(number, name, type, ...)                                                                                \
    static_assert(static_cast<std::int32_t>(Position::name) == (number), "row " #name ": its place is not its tag");        \
    static_assert(defaultFitsType(all[static_cast<std::size_t>(Position::name)]),                                           \
                  "row " #name ": default does not fit the type");                                                          \
    static_assert(!repeatedItems[static_cast<std::size_t>(Position::name)], "row " #name ": management item used twice");   \
    static_assert(!repeatedElements[static_cast<std::size_t>(Position::name)],                                              \
                  "row " #name ": schema and element used twice");
#include "Data/settings.def"

// Condensed rows

struct Chains {
    std::array<Chain, 64> chains{}; ///< the first one is the empty chain; too many do not compile
    std::size_t count = 1;

    constexpr std::uint8_t find(Chain const& chain) const
    {
        return static_cast<std::uint8_t>(std::find(chains.begin(), chains.begin() + count, chain) - chains.begin());
    }
    constexpr void add(Chain const& chain)
    {
        if (find(chain) == count)
            chains.at(count++) = chain;
    }
};

constexpr Chains foundChains = [] {
    Chains result;
    for (Setting const& setting : all) {
        result.add(setting.valueChain);
        result.add(setting.stringChain);
    }
    return result;
}();

constexpr auto distinctChains = [] {
    std::array<Chain, foundChains.count> result;
    std::copy_n(foundChains.chains.begin(), result.size(), result.begin());
    return result;
}();

/// Of all default texts, each with the zero that ends it.
constexpr std::size_t textsSize = [] {
    std::size_t result = 0;
    for (Setting const& setting : all)
        result += setting.defaultText.size() + 1;
    return result;
}();

struct Row {
    std::uint16_t defaultText = 0; ///< where it begins
    std::uint8_t type = 0;
    std::uint8_t component = 0;
    bool isUserData = false;
    bool secondFlag = false;
    std::uint8_t valueChain = 0;
    std::uint8_t stringChain = 0;
};

struct Rows {
    std::array<Row, Builder::recordCount> rows{};
    std::array<char, textsSize> texts{};
};
static_assert(textsSize <= UINT16_MAX, "the default texts are longer than a row can say");

constexpr Rows condensed = [] {
    Rows result;
    std::size_t end = 0;
    for (std::size_t i = 0; i < result.rows.size(); ++i) {
        Setting const& setting = all[i];
        result.rows[i] = {.defaultText = static_cast<std::uint16_t>(end),
                          .type = static_cast<std::uint8_t>(setting.type),
                          .component = static_cast<std::uint8_t>(setting.component),
                          .isUserData = setting.isUserData,
                          .secondFlag = setting.secondFlag,
                          .valueChain = foundChains.find(setting.valueChain),
                          .stringChain = foundChains.find(setting.stringChain)};
        std::copy(setting.defaultText.begin(), setting.defaultText.end(), &result.texts[end]);
        end += setting.defaultText.size() + 1;
    }
    return result;
}();

// Records

struct Catalogue {
    Builder::ValidatorAndParams chains[distinctChains.size()][2];
    Builder::DataItemRecord records[Builder::recordCount];

    Catalogue()
    {
        for (std::size_t i = 0; i < distinctChains.size(); ++i) {
            fillStep(chains[i][0], distinctChains[i].first);
            fillStep(chains[i][1], distinctChains[i].second);
        }
        for (std::size_t i = 0; i < condensed.rows.size(); ++i)
            fillRecord(records[i], condensed.rows[i], static_cast<eDataTag>(i));
    }

private:
    static void fillStep(Builder::ValidatorAndParams& target, Step const& step)
    {
        target.builder = validatorBuilders[static_cast<std::size_t>(step.check)];
        for (std::size_t i = 0; i < 2; ++i) {
            if (step.parameters == Step::Parameters::numbers)
                target.params[i].text = std::to_string(step.numbers[i]);
            if (step.parameters == Step::Parameters::texts)
                target.params[i] = {eDataItemTypeString, step.texts[i]};
        }
    }

    void fillRecord(Builder::DataItemRecord& record, Row const& row, eDataTag tag) const
    {
        record.tag = tag;
        record.value.type = static_cast<eDataItemType>(row.type);
        if (char const* const text = &condensed.texts[row.defaultText]; *text != '\0') // few have one
            record.value.text = text;
        record.component = static_cast<eDataComponent>(row.component);
        record.isUserData = row.isUserData;
        record.secondFlag = row.secondFlag;
        record.valueChain = chains[row.valueChain];
        record.stringChain = chains[row.stringChain];
    }
};

/// Made before every other static object, so that each of them may use the records.
[[gnu::init_priority(101)]] Catalogue const catalogue;

} // namespace

constinit DataCache::DataItemBuilder::DataItemRecord const (&DataCache::DataItemBuilder::dataItemDefaultTable)[recordCount] =
    catalogue.records;

} // namespace Data

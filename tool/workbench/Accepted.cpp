#include "workbench/Accepted.h"

#include "workbench/Items.h"
#include "workbench/Meanings.h"
#include "workbench/Mobility.h"
#include "workbench/Values.h"

#include "Data/DataSourceDB.h"

#include "ClientUtils.h"
#include "XmlParser.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <sstream>
#include <string_view>

#include <strings.h>

namespace Tool {

using namespace Data;

namespace {

using Builder = DataCache::DataItemBuilder;
using Step = Builder::ValidatorAndParams;

/// Longer ranges are no help to anybody.
constexpr int mostValues = 20;
constexpr std::size_t steps = 2;

/// Of a text that the catalogue sets no limit to, in bytes.
constexpr std::size_t longestText = 16384;

struct NamedBuilder {
    Builder::ValidatorBuilder builder;
    char const* name;
    bool hasParameters;
};

constexpr NamedBuilder builders[]{
    {&Builder::dataValidatorIntRange, "IntRange", true},
    {&Builder::dataValidatorIntRangeNot, "IntRangeNot", true},
    {&Builder::dataValidatorBasePort, "BasePort", true},
    {&Builder::dataValidatorStringLength, "StringLength", true},
    {&Builder::dataValidatorStringsAllowed, "StringsAllowed", true},
    {&Builder::dataValidatorStringAllDigits, "StringAllDigits", false},
    {&Builder::dataValidatorStringNoWhitespace, "StringNoWhitespace", false},
    {&Builder::dataValidatorStringBoolean, "StringBoolean", false},
};

std::string stepName(Step const& step)
{
    for (auto const& known : builders) {
        if (known.builder != step.builder)
            continue;
        if (!known.hasParameters)
            return known.name;
        // A list of allowed texts has commas of its own; its separator comes after a bar.
        auto const* const between = known.builder == &Builder::dataValidatorStringsAllowed ? "|" : ",";
        return fmt::format("{}({}{}{})", known.name, step.params[0].text, between, step.params[1].text);
    }
    return "?";
}

std::vector<std::string> listed(Step const& step)
{
    std::vector<std::string> values;
    std::istringstream list(step.params[0].text);
    for (std::string value; std::getline(list, value, step.params[1].text.front());)
        values.push_back(value);
    return values;
}

/// What one step asks for; empty for steps that add nothing to the item's type and for those that the library skips.
std::string stepText(Step const& step)
{
    auto const& [first, last] = step.params;
    if (step.builder == &Builder::dataValidatorIntRange)
        return fmt::format("{}..{}", first.text, last.text);
    if (step.builder == &Builder::dataValidatorBasePort)
        return fmt::format("an even number {}..{}", first.text, last.text);
    if (step.builder == &Builder::dataValidatorStringLength)
        return fmt::format("a text of {} to {} bytes", first.text, last.text);
    if (step.builder == &Builder::dataValidatorStringsAllowed)
        return fmt::format("{}", fmt::join(listed(step), " | "));
    return step.builder == &Builder::dataValidatorStringNoWhitespace ? "a text without blanks" : "";
}

/// The words for the numbers of a range: with their names and unit, where they have them.
std::string withMeaning(eDataTag tag, std::string const& range)
{
    auto const names = namesOfNumbers(tag);
    if (!names.empty() && namedNumbersOf(tag).size() == legalValues(tag).size())
        return std::string(names);
    auto const unit = unitOf(tag);
    return range + (unit.is_null() ? "" : " " + unit.get<std::string>()) +
           (names.empty() ? "" : fmt::format(" ({})", names));
}

/// The general ringer's file is copied into the rows of the ringing table that have no identifier.
bool isTextOfTable(eDataTag tag)
{
    return tag == eDataTagRingerAudioFile || (typeOf(tag) == eDataItemTypeString && storedTableOf(tag) != eDataTagNone);
}

/// A text with an element of its own. A secret is compared after it was decrypted, too.
bool isTextOfElement(eDataTag tag)
{
    auto const& row = DataSourceDB::dataDbDescriptionTable[tag];
    return typeOf(tag) == eDataItemTypeString && row.schema && !row.isTable;
}

/// What people write for true and false, in any letter case.
constexpr std::array trueWords{"true", "yes", "on", "1"};
constexpr std::array falseWords{"false", "no", "off", "0"};

/// The text comes out of a table's XML as it went in. One that does not would spoil its table or change.
bool survivesXml(std::string text)
{
    // The library writes these as entities, which always come back.
    std::replace_if(
        text.begin(), text.end(), [](char c) { return c == '&' || c == '<' || c == '>'; }, '.');
    std::string read;
    auto const ignore = [](void*, char const*) {};
    XmlParser parser(
        &read, [](void*, char const*, char const**) {}, ignore,
        [](void* to, char const* part, int length) {
            static_cast<std::string*>(to)->append(part, static_cast<std::size_t>(length));
        });
    auto const xml = "<Text>" + text + "</Text>";
    return parser.parseMessage(xml.data(), static_cast<int>(xml.size())) && read == text;
}

} // namespace

std::string chainText(Step const* chain)
{
    std::string text;
    for (std::size_t step = 0; chain && step < steps; ++step) {
        if (chain[step].builder)
            text += (text.empty() ? "" : "+") + stepName(chain[step]);
    }
    return text.empty() ? "-" : text;
}

std::vector<std::string> legalValues(eDataTag tag)
{
    if (typeOf(tag) == eDataItemTypeBool)
        return {"true", "false"};
    Builder::ValidatorAndParams const* const chain = Builder::dataItemDefaultTable[tag].valueChain;
    if (!chain)
        return {};
    std::vector<std::string> values;
    if (chain->builder == &Builder::dataValidatorStringsAllowed)
        return listed(*chain);
    if (chain->builder == &Builder::dataValidatorIntRange) {
        int const first = std::stoi(chain->params[0].text);
        int const last = std::stoi(chain->params[1].text);
        for (int value = first; last - first < mostValues && value <= last; ++value)
            values.push_back(std::to_string(value));
    }
    return values;
}

Limits limitsOf(eDataTag tag)
{
    Limits limits;
    if (typeOf(tag) == eDataItemTypeString)
        limits.longest = static_cast<int>(longestText);
    auto const& record = Builder::dataItemDefaultTable[tag];
    for (Step const* const chain : {record.valueChain, record.stringChain}) {
        for (std::size_t step = 0; chain && step < steps; ++step) {
            auto const& [builder, params] = chain[step];
            if (builder == &Builder::dataValidatorIntRange || builder == &Builder::dataValidatorBasePort) {
                limits.least = std::stoi(params[0].text);
                limits.most = std::stoi(params[1].text);
            } else if (builder == &Builder::dataValidatorStringLength) {
                limits.longest = std::stoi(params[1].text);
            } else if (builder == &Builder::dataValidatorStringsAllowed) {
                limits.words = listed(chain[step]);
            }
        }
    }
    return limits;
}

std::string acceptedText(eDataTag tag)
{
    switch (typeOf(tag)) {
    case eDataItemTypeBool:
        return fmt::format("{} | {}", fmt::join(trueWords, " | "), fmt::join(falseWords, " | "));
    case eDataItemTypeComplex:
        return "nothing: a table is set by its cells";
    case eDataItemTypeInvalid:
        return "nothing: switched off in the catalogue";
    default:
        break;
    }
    if (tag == eDataTagCountry)
        return "two capital letters";
    if (tag == eDataTagMobilityDataUpdate)
        return "all | managed | unmanaged | an empty text";
    std::string text;
    Builder::ValidatorAndParams const* const chain = Builder::dataItemDefaultTable[tag].valueChain;
    for (std::size_t step = 0; chain && step < steps; ++step) {
        auto const words = stepText(chain[step]);
        text += (text.empty() || words.empty() ? "" : ", ") + words;
    }
    if (isTextOfTable(tag))
        text += std::string(text.empty() ? "" : ", ") + "UTF-8 without control characters";
    if (!text.empty())
        return withMeaning(tag, text);
    if (typeOf(tag) == eDataItemTypeInt)
        return "a whole number";
    auto const any = fmt::format("any text of at most {} bytes", longestText);
    return isTextOfElement(tag) ? fmt::format("{} but \"{}\"", any, databaseFailure) : any;
}

std::string whyUnfit(eDataTag tag, std::string const& text)
{
    if (text.find('\0') != std::string::npos)
        return "a text must not hold the character 0";
    if (typeOf(tag) == eDataItemTypeString && text.size() > longestText)
        return fmt::format("a text has at most {} bytes", longestText);
    if (typeOf(tag) == eDataItemTypeBool && !boolNamed(text))
        return "is neither true nor false";
    if (tag == eDataTagMobilityDataUpdate && !findMobilityType(text))
        return "is no mobility type";
    if (isSecret(tag) && text.size() > 2 && text.find_first_not_of('*') == std::string::npos)
        return "stars stand for a secret that is not shown: give the secret itself";
    if (isUnreadable(tag, text))
        return "is the stored form of a secret: give the secret itself";
    int number = 0;
    auto const* const end = text.data() + text.size();
    if (typeOf(tag) == eDataItemTypeInt && std::from_chars(text.data(), end, number).ec == std::errc::result_out_of_range)
        return fmt::format("'{}' is no number of 32 bits", text);
    bool const isCode =
        text.size() == 2 && std::all_of(text.begin(), text.end(), [](char c) { return c >= 'A' && c <= 'Z'; });
    if (tag == eDataTagCountry && !isCode)
        return "is no country code: expected two capital letters";
    if (text == databaseFailure && isTextOfElement(tag))
        return "the database cannot keep it: it is its word for what it does not hold";
    return isTextOfTable(tag) && !survivesXml(text) ? "a table cannot hold it: it must be UTF-8 without control characters"
                                                    : "";
}

std::optional<bool> boolNamed(std::string const& text)
{
    auto const isText = [&](std::string_view word) {
        return text.size() == word.size() && ::strcasecmp(text.c_str(), word.data()) == 0;
    };
    if (std::ranges::any_of(trueWords, isText))
        return true;
    return std::ranges::any_of(falseWords, isText) ? std::optional(false) : std::nullopt;
}

std::string libraryText(eDataTag tag, std::string const& text)
{
    auto const meant = typeOf(tag) == eDataItemTypeBool ? boolNamed(text) : std::nullopt;
    return meant ? ClientUtils::btos(*meant) : text;
}

} // namespace Tool

// The rows of settings.def as they are written there, for those who look at them while compiling.
#pragma once

#include "Data/DataTypes.h"

#include <algorithm>
#include <cstdint>
#include <string_view>

namespace Data::Settings {

/// The validators: numbers, since compilers that check for undefined behaviour do not
/// compare the addresses of functions while compiling.
enum class Check : std::uint8_t {
    none,
    intRange,
    basePort,
    intRangeNot,
    stringLength,
    stringAllDigits,
    stringNoWhitespace,
    stringBoolean,
    stringsAllowed
};

/// A step of a chain; its parameters are numbers or texts, or there are none.
struct Step {
    enum class Parameters : std::uint8_t { none, numbers, texts };

    Check check = Check::none;
    Parameters parameters = Parameters::none;
    int numbers[2] = {0, 0};
    char const* texts[2] = {"", ""};

    constexpr bool operator==(Step const& other) const
    {
        return check == other.check && std::equal(numbers, numbers + 2, other.numbers) &&
               std::equal(texts, texts + 2, other.texts,
                          [](std::string_view own, std::string_view others) { return own == others; });
    }
};

struct Chain {
    Step first;
    Step second;

    bool operator==(Chain const&) const = default;
};

/// A row of settings.def as it is written there.
struct Setting {
    eDataTag tag = eDataTagNone;
    eDataItemType type = eDataItemTypeInt;
    std::string_view defaultText;
    eDataComponent component = eDataComponentMedia;
    bool isUserData = false;
    bool secondFlag = false;
    bool isSecret = false;
    int audioReset = 0;             ///< its place among the audio settings that are reset; 0: not one of them
    char const* flagWord = nullptr; ///< the word of the flag file that sets it
    char const* help = nullptr;     ///< what it means; this and the next two are for people, the library uses none of them
    char const* unit = nullptr;
    char const* names = nullptr; ///< of its numbers, as "0 off, 1 on"
    Chain valueChain;
    Chain stringChain;
};

// What a row may add to its type and default

constexpr auto observed = [](Setting& setting) { setting.component = eDataComponentNone; };
constexpr auto userData = [](Setting& setting) { setting.isUserData = true; };
constexpr auto secondFlag = [](Setting& setting) { setting.secondFlag = true; };
constexpr auto secret = [](Setting& setting) { setting.isSecret = true; };

/// In the order of tags, save for those that are listed before another one.
constexpr auto audioReset = [](Setting& setting) { setting.audioReset = 2 * setting.tag; };

constexpr auto audioResetBefore(eDataTag tag)
{
    return [tag](Setting& setting) { setting.audioReset = 2 * tag - 1; };
}

constexpr auto flag(char const* word)
{
    return [word](Setting& setting) { setting.flagWord = word; };
}

constexpr auto help(char const* text)
{
    return [text](Setting& setting) { setting.help = text; };
}

constexpr auto unit(char const* text)
{
    return [text](Setting& setting) { setting.unit = text; };
}

constexpr auto names(char const* text)
{
    return [text](Setting& setting) { setting.names = text; };
}

constexpr Step numberStep(Check check, int first, int second)
{
    return {check, Step::Parameters::numbers, {first, second}};
}

constexpr auto numberEnteredInDigits(Chain const& valueChain)
{
    return [valueChain](Setting& setting) {
        setting.valueChain = valueChain;
        setting.stringChain.first = Step{.check = Check::stringAllDigits};
    };
}

constexpr auto range(int minimum, int maximum)
{
    return numberEnteredInDigits({numberStep(Check::intRange, minimum, maximum), {}});
}

constexpr auto evenRange(int minimum, int maximum)
{
    return numberEnteredInDigits({numberStep(Check::basePort, minimum, maximum), {}});
}

/// The second step stays without effect, which is required: the chain builder does not accept its validator.
constexpr auto rangeThenNot(int minimum, int maximum, int first, int second)
{
    return numberEnteredInDigits(
        {numberStep(Check::intRange, minimum, maximum), numberStep(Check::intRangeNot, first, second)});
}

constexpr auto length(int minimum, int maximum)
{
    return [=](Setting& setting) { setting.valueChain.first = numberStep(Check::stringLength, minimum, maximum); };
}

constexpr auto oneOf(char const* list, char const* separator)
{
    return [=](Setting& setting) {
        setting.valueChain.first = {Check::stringsAllowed, Step::Parameters::texts, {}, {list, separator}};
    };
}

constexpr auto noWhiteSpace = [](Setting& setting) { setting.valueChain.first = Step{.check = Check::stringNoWhitespace}; };
constexpr auto trueOrFalse = [](Setting& setting) { setting.stringChain.first = Step{.check = Check::stringBoolean}; };

template <class... Options>
constexpr Setting setting(eDataTag tag, eDataItemType type, std::string_view defaultText, Options... options)
{
    Setting result{.tag = tag, .type = type, .defaultText = defaultText, .valueChain = {}, .stringChain = {}};
    (options(result), ...);
    return result;
}

inline constexpr Setting all[] = {
#define SETTING_ROW(number, name, type, ...) setting(eDataTag##name, eDataItemType##type, __VA_ARGS__),
#include "Data/settings.def"
};

} // namespace Data::Settings

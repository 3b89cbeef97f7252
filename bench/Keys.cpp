#include "Keys.h"

#include "Data/DataTypes.h"

#include <algorithm>
#include <random>
#include <sstream>
#include <string_view>

namespace Bench {

namespace {

struct Row {
    int tag;
    char const* name;
    Type type;
    bool own = true;
    int minimum = 0;
    int maximum = 1000000;
    int step = 1;
    std::size_t longest = textLength;
    char const* choices = "";
};

// What a row of the catalogue may add to its type and default

constexpr auto range(int minimum, int maximum)
{
    return [=](Row& row) {
        row.minimum = minimum;
        row.maximum = maximum;
    };
}
constexpr auto evenRange(int minimum, int maximum)
{
    return [=](Row& row) {
        range(minimum, maximum)(row);
        row.step = 2;
    };
}
constexpr auto rangeThenNot(int minimum, int maximum, int, int)
{
    return range(minimum, maximum);
}
constexpr auto length(int, std::size_t maximum)
{
    return [=](Row& row) { row.longest = std::min(textLength, maximum); };
}
constexpr auto oneOf(char const* choices, char const*)
{
    return [=](Row& row) { row.choices = choices; };
}
/// The flags come from a file that is looked at with every read.
constexpr auto flag(char const*)
{
    return [](Row& row) { row.own = false; };
}
constexpr auto observed = [](Row& row) { row.own = false; };
constexpr auto nothing = [](Row&) {};
constexpr auto noWhiteSpace = nothing, trueOrFalse = nothing, userData = nothing, secondFlag = nothing;
constexpr auto secret = nothing, audioReset = nothing;
constexpr auto audioResetBefore(Data::eDataTag)
{
    return nothing;
}
constexpr auto help(char const*)
{
    return nothing;
}
constexpr auto unit = help, names = help;

template <class... Options> constexpr Row row(int tag, char const* name, Type type, char const*, Options... options)
{
    Row result{.tag = tag, .name = name, .type = type};
    (options(result), ...);
    return result;
}

using namespace Data; // the tags that rows name

constexpr Row rows[] = {
#define SETTING_ROW(number, name, type, ...) row(number, #name, Type::type, __VA_ARGS__),
#include "Data/settings.def"
};

constexpr Kept kept[] = {
#define SETTING_ELEMENT(number, name, schema, text, table) #table[0] == 'N' ? Kept::Alone : Kept::InGroup,
#define SETTING_WHOLE_TABLE(number, name, schema) Kept::Elsewhere,
#define SETTING_NO_ELEMENT(number, name, table)                                                                             \
    std::string_view(#table) == "DistinctiveRinging" ? Kept::InTextTable : Kept::Elsewhere,
#define SETTING_NO_SCHEMA(number, name) Kept::Elsewhere,
#include "Data/settings.def"
};

std::vector<std::string> split(std::string const& list)
{
    std::vector<std::string> words;
    std::istringstream stream(list);
    for (std::string word; std::getline(stream, word, ',');)
        words.push_back(word);
    return words;
}

std::string lowerCase(std::string name)
{
    std::transform(name.begin(), name.end(), name.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return "k-" + name;
}

std::vector<Key> makeKeys()
{
    std::vector<Key> keys;
    for (Row const& each : rows)
        if (each.tag > 0 && each.own && each.type != Type::Complex)
            keys.push_back({each.tag, lowerCase(each.name), each.type, kept[each.tag], each.minimum, each.maximum, each.step,
                            each.longest, split(each.choices)});
    std::shuffle(keys.begin(), keys.end(), std::mt19937(42));
    return keys;
}

} // namespace

Key const& firstKey()
{
    static Key const key{10, "k-icegatheringtimeout", Type::Int, Kept::Alone, 100, 65535, 1, textLength, {}};
    return key;
}

std::vector<Key> const& allKeys()
{
    static std::vector<Key> const keys = makeKeys();
    return keys;
}

std::vector<Key> keysOf(Type type, bool stored)
{
    std::vector<Key> keys;
    auto const fits = [=](Key const& key) {
        return !stored || (key.isStored() && key.longest == textLength && key.choices.empty());
    };
    for (Key const& each : allKeys())
        if (each.type == type && fits(each))
            keys.push_back(each);
    return keys;
}

std::vector<Key> keysKept(std::initializer_list<Kept> ways)
{
    std::vector<Key> keys;
    for (Key const& each : allKeys())
        if (std::ranges::find(ways, each.kept) != ways.end())
            keys.push_back(each);
    return keys;
}

} // namespace Bench

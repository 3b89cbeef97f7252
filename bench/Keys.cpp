#include "Keys.h"

#include "Data/DataTypes.h"

#include <algorithm>
#include <random>

namespace Bench {

namespace {

struct Row {
    int tag;
    char const* name;
    Type type;
    bool own = true;
    bool takesText = true; // of 27 characters
    int minimum = 0;
    int maximum = 1000000;
    int step = 1;
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
constexpr auto length(int minimum, int maximum)
{
    return [=](Row& row) { row.takesText = minimum <= 27 && maximum >= 27; };
}
constexpr auto oneOf(char const*, char const*)
{
    return [](Row& row) { row.takesText = false; };
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

template <class... Options> Row row(int tag, char const* name, Type type, char const*, Options... options)
{
    Row result{.tag = tag, .name = name, .type = type};
    (options(result), ...);
    return result;
}

using namespace Data; // the tags that rows name

Row const rows[] = {
#define SETTING_ROW(number, name, type, ...) row(number, #name, Type::type, __VA_ARGS__),
#include "Data/settings.def"
};

constexpr bool storedAlone[] = {
#define SETTING_ELEMENT(number, name, schema, text, table) #table[0] == 'N',
#define SETTING_WHOLE_TABLE(number, name, schema) false,
#define SETTING_NO_ELEMENT(number, name, table) false,
#define SETTING_NO_SCHEMA(number, name) false,
#include "Data/settings.def"
};

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
            keys.push_back({each.tag, lowerCase(each.name), each.type,
                            storedAlone[each.tag] && (each.type != Type::String || each.takesText), each.minimum,
                            each.maximum, each.step});
    std::shuffle(keys.begin(), keys.end(), std::mt19937(42));
    return keys;
}

} // namespace

Key const& firstKey()
{
    static Key const key{10, "k-icegatheringtimeout", Type::Int, true, 100, 65535};
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
    for (Key const& each : allKeys())
        if (each.type == type && (each.stored || !stored))
            keys.push_back(each);
    return keys;
}

} // namespace Bench

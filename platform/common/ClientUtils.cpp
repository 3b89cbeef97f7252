// Text conversions and the list of secret elements, the same on every platform of this repository.
#include "ClientUtils.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>
#include <string_view>

namespace ClientUtils {

namespace {

constexpr std::array<std::string_view, 14> secretElements{
    "IceServerPwd0",   "IceServerPwd1",       "Camera1Password",     "Camera2Password",     "Camera3Password",
    "Camera4Password", "DoorOpener1Password", "DoorOpener2Password", "DoorOpener3Password", "DoorOpener4Password",
    "DoorOpener1Pin",  "DoorOpener2Pin",      "DoorOpener3Pin",      "DoorOpener4Pin"};

/// By their last letters most elements are told to be none of them.
constexpr std::array<bool, 256> secretEnds = [] {
    std::array<bool, 256> ends{};
    for (std::string_view const each : secretElements)
        ends[static_cast<unsigned char>(each.back())] = true;
    return ends;
}();

} // namespace

std::string itos(int value)
{
    return std::to_string(value);
}

int stoi(std::string const& text)
{
    char const* begin = text.data();
    char const* const end = begin + text.size();
    // from_chars knows "-" only, and "+-1" is no number.
    if (begin != end && *begin == '+' && (begin + 1 == end || *(begin + 1) != '-'))
        ++begin;
    int value = 0;
    auto const result = std::from_chars(begin, end, value);
    if (result.ec == std::errc::result_out_of_range)
        return *begin == '-' ? std::numeric_limits<int>::min() : std::numeric_limits<int>::max();
    return value;
}

std::string btos(bool const& value)
{
    return value ? "true" : "false";
}

bool stob(std::string const& text)
{
    constexpr std::string_view yes = "true";
    // Plain ASCII, so that the process's locale has no say in what is true.
    auto const same = [](char a, char b) { return (a >= 'A' && a <= 'Z' ? static_cast<char>(a - 'A' + 'a') : a) == b; };
    return std::equal(text.begin(), text.end(), yes.begin(), yes.end(), same);
}

bool isKnownPasswordDAS(std::string const& element)
{
    return !element.empty() && secretEnds[static_cast<unsigned char>(element.back())] &&
           std::find(secretElements.begin(), secretElements.end(), element) != secretElements.end();
}

} // namespace ClientUtils

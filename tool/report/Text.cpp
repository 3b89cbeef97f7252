#include "report/Text.h"

#include <cstdlib>
#include <fmt/format.h>
#include <sstream>
#include <string_view>
#include <utility>

#include <algorithm>
#include <array>
#include <ctime>

namespace Tool {

std::string cellText(Json const& cell)
{
    if (cell.is_null())
        return "-";
    if (cell.is_string()) {
        auto const& text = cell.get_ref<std::string const&>();
        return text.empty() ? "\"\"" : escaped(text);
    }
    if (cell.is_array()) {
        std::string text;
        for (auto const& element : cell)
            text += (text.empty() ? "" : ", ") + cellText(element);
        return text.empty() ? "-" : text;
    }
    if (cell.is_object()) {
        std::string text;
        for (auto const& [name, element] : cell.items())
            text += (text.empty() ? "" : ", ") + name + ' ' + cellText(element);
        return text;
    }
    return cell.dump();
}

std::string escaped(std::string const& text, std::string_view kept)
{
    std::string line;
    unsigned char previous = 0;
    for (char const c : text) {
        auto const byte = static_cast<unsigned char>(c);
        // Behind 0xc2 stands one of the control characters above 0x7f, which terminals obey as well.
        bool const isControl = byte < 0x20 || byte == 0x7f || (previous == 0xc2 && byte < 0xa0);
        if (!isControl || kept.find(c) != std::string_view::npos)
            line += c;
        else if (c == '\n')
            line += "\\n";
        else if (c == '\t')
            line += "\\t";
        else
            line += fmt::format("\\x{:02x}", byte);
        previous = byte;
    }
    return line;
}

std::size_t width(std::string const& text)
{
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) { return (c & 0xc0) != 0x80; }));
}

std::vector<std::string> wrapped(std::string const& text, std::size_t columns)
{
    std::vector<std::string> lines;
    for (std::size_t at = 0; at <= text.size();) {
        auto const end = std::min(text.find(' ', at), text.size());
        auto const word = text.substr(at, end - at);
        if (lines.empty() || width(lines.back()) + 1 + width(word) > columns)
            lines.push_back(word);
        else
            lines.back() += ' ' + word;
        at = end + 1;
    }
    return lines;
}

std::string isoTime(std::int64_t milliseconds)
{
    auto const seconds = static_cast<std::time_t>(milliseconds / 1000);
    std::tm parts{};
    ::localtime_r(&seconds, &parts);
    std::array<char, 32> time{};
    std::array<char, 8> zone{};
    std::strftime(time.data(), time.size(), "%FT%T", &parts);
    std::strftime(zone.data(), zone.size(), "%z", &parts);
    return fmt::format("{}.{:03}{:.3}:{}", time.data(), milliseconds % 1000, zone.data(), zone.data() + 3);
}

std::string timeText(std::int64_t milliseconds)
{
    auto const seconds = static_cast<std::time_t>(milliseconds / 1000);
    std::tm parts{};
    ::localtime_r(&seconds, &parts);
    std::array<char, 32> text{};
    std::strftime(text.data(), text.size(), "%F %T", &parts);
    return text.data();
}

std::optional<std::int64_t> timeOf(std::string const& text)
{
    constexpr std::array<std::pair<std::string_view, std::int64_t>, 5> units{
        {{"second", 1}, {"minute", 60}, {"hour", 3600}, {"day", 86400}, {"week", 604800}}};
    std::istringstream words(text);
    std::int64_t count = 0;
    std::string unit;
    std::string ago;
    std::string more;
    if (words >> count >> unit >> ago && ago == "ago" && !(words >> more) && count >= 0 && count < 1'000'000) {
        for (auto const& [name, seconds] : units) {
            if (unit == name || unit == std::string(name) + "s")
                return (std::time(nullptr) - count * seconds) * 1000;
        }
    }
    std::tm parts{};
    parts.tm_isdst = -1;
    auto const* rest = ::strptime(text.c_str(), "%Y-%m-%d", &parts);
    if (rest && (*rest == 'T' || *rest == ' ')) {
        auto const* const minute = ::strptime(rest + 1, "%H:%M", &parts);
        rest = minute;
        if (minute && *minute == ':')
            rest = ::strptime(minute + 1, "%S", &parts);
    }
    std::int64_t fraction = 0;
    if (rest && *rest == '.') {
        for (int scale = 100; *++rest >= '0' && *rest <= '9'; scale /= 10)
            fraction += scale * (*rest - '0');
    }
    if (!rest || *rest == '\0')
        return rest ? std::optional(std::mktime(&parts) * 1000 + fraction) : std::nullopt;
    rest = ::strptime(rest, "%z", &parts);
    auto const offset = parts.tm_gmtoff;
    return rest && *rest == '\0' ? std::optional((::timegm(&parts) - offset) * 1000 + fraction) : std::nullopt;
}

} // namespace Tool

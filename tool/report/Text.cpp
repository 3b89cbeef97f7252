#include "report/Text.h"

#include <algorithm>
#include <array>
#include <clocale>
#include <cstdlib>
#include <ctime>
#include <cwchar>
#include <fmt/format.h>
#include <sstream>
#include <string_view>
#include <utility>

namespace Tool {

namespace {

/// The characters of this thread are those of Unicode while it lives.
class InUnicode {
public:
    InUnicode() : m_before(::uselocale(unicode())) {}
    ~InUnicode() { ::uselocale(m_before); }
    InUnicode(InUnicode const&) = delete;
    InUnicode& operator=(InUnicode const&) = delete;

private:
    static locale_t unicode()
    {
        static locale_t const once = ::newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
        return once;
    }

    locale_t m_before;
};

/// What a text begins with: a character in UTF-8 (RFC 3629), or a byte that belongs to none.
struct Character {
    char32_t code;
    std::size_t bytes;
    bool isValid;
};

Character firstOf(std::string_view text)
{
    auto const lead = static_cast<unsigned char>(text.front());
    if (lead < 0x80)
        return {lead, 1, true};
    InUnicode const scope;
    wchar_t wide = 0;
    std::mbstate_t state{};
    auto const bytes = std::mbrtowc(&wide, text.data(), text.size(), &state);
    auto const code = static_cast<char32_t>(wide);
    bool const isValid = bytes <= text.size() && code <= 0x10ffff; // The library goes on to 0x13ffff.
    return isValid ? Character{code, bytes, true} : Character{lead, 1, false};
}

/// Characters that a terminal obeys, or that a reader cannot see: they could make a value look like another one.
bool isUnseen(char32_t code)
{
    constexpr std::array<std::pair<char32_t, char32_t>, 9> ranges{{{0, 0x1f},
                                                                   {0x7f, 0x9f},     // more control characters
                                                                   {0x61c, 0x61c},   // a mark of direction
                                                                   {0x200b, 0x200f}, // without width; marks of direction
                                                                   {0x2028, 0x202e}, // separators; directions
                                                                   {0x2060, 0x206f}, // without width; directions
                                                                   {0xfeff, 0xfeff}, // the byte order mark
                                                                   {0xfff9, 0xfffb}, // annotations
                                                                   {0xe0000, 0xe007f}} /* tags */};
    return std::ranges::any_of(ranges, [=](auto const& range) { return code >= range.first && code <= range.second; });
}

/// What a terminal takes for it: two columns for a wide one, none for an accent behind its letter.
std::size_t columnsOf(Character const& character)
{
    if (character.code < 0x80 || !character.isValid)
        return 1;
    InUnicode const scope;
    int const columns = ::wcwidth(static_cast<wchar_t>(character.code));
    return columns < 0 ? 1 : static_cast<std::size_t>(columns);
}

} // namespace

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
    for (std::string_view rest = text; !rest.empty();) {
        auto const character = firstOf(rest);
        auto const bytes = rest.substr(0, character.bytes);
        rest.remove_prefix(character.bytes);
        if ((character.isValid && !isUnseen(character.code)) || kept.find(bytes) != std::string_view::npos)
            line += bytes;
        else if (bytes == "\n")
            line += "\\n";
        else if (bytes == "\t")
            line += "\\t";
        else if (character.isValid && character.bytes > 1)
            line += fmt::format("\\u{{{:x}}}", std::uint32_t{character.code});
        else
            line += fmt::format("\\x{:02x}", std::uint32_t{character.code});
    }
    return line;
}

std::size_t width(std::string const& text)
{
    std::size_t columns = 0;
    for (std::string_view rest = text; !rest.empty();) {
        auto const character = firstOf(rest);
        columns += columnsOf(character);
        rest.remove_prefix(character.bytes);
    }
    return columns;
}

std::string beginning(std::string const& text, std::size_t columns)
{
    std::string_view rest = text;
    for (std::size_t room = columns; !rest.empty();) {
        auto const character = firstOf(rest);
        auto const wide = columnsOf(character);
        if (wide > room)
            break;
        room -= wide;
        rest.remove_prefix(character.bytes);
    }
    return text.substr(0, text.size() - rest.size());
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
            fraction += std::int64_t{scale} * (*rest - '0');
    }
    if (!rest || *rest == '\0')
        return rest ? std::optional(std::mktime(&parts) * 1000 + fraction) : std::nullopt;
    rest = ::strptime(rest, "%z", &parts);
    auto const offset = parts.tm_gmtoff;
    return rest && *rest == '\0' ? std::optional((::timegm(&parts) - offset) * 1000 + fraction) : std::nullopt;
}

} // namespace Tool

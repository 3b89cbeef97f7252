#include "web/Target.h"

#include <algorithm>
#include <charconv>

namespace Tool::Web {

bool unescape(std::string_view text, std::string& plain, char blank)
{
    plain.clear();
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (text[at] != '%') {
            plain += text[at] == blank ? ' ' : text[at];
            continue;
        }
        unsigned char byte = 0;
        auto const digits = text.substr(at + 1, 2);
        auto const [stop, fault] = std::from_chars(digits.data(), digits.data() + digits.size(), byte, 16);
        if (fault != std::errc() || stop != digits.data() + 2 || byte == 0)
            return false;
        plain += static_cast<char>(byte);
        at += 2;
    }
    return true;
}

namespace {

/// Calls with each part between the separators, as long as it answers true.
template <class Take> bool forEachPart(std::string_view text, char separator, Take const& take)
{
    for (;;) {
        auto const end = text.find(separator);
        if (!take(text.substr(0, end)))
            return false;
        if (end == std::string_view::npos)
            return true;
        text.remove_prefix(end + 1);
    }
}

} // namespace

std::optional<std::string> Target::find(std::string_view name) const
{
    auto const found = std::ranges::find(query, name, &Fields::value_type::first);
    return found == query.end() ? std::nullopt : std::optional(found->second);
}

std::optional<Target> parseTarget(std::string_view text)
{
    auto const path = text.substr(0, text.find('?'));
    if (!path.starts_with('/') || text.find_first_of(std::string_view("#\0", 2)) != std::string_view::npos)
        return std::nullopt;
    Target target{std::string(path), {}, {}};
    bool const isPath = forEachPart(path.substr(1), '/',
                                    [&](std::string_view part) { return unescape(part, target.segments.emplace_back()); });
    bool const isQuery =
        path.size() == text.size() || forEachPart(text.substr(path.size() + 1), '&', [&](std::string_view part) {
            auto const equals = std::min(part.find('='), part.size());
            std::string name;
            std::string value;
            bool const isGood = unescape(part.substr(0, equals), name, '+') &&
                                unescape(part.substr(std::min(equals + 1, part.size())), value, '+');
            if (!name.empty())
                target.query.emplace_back(std::move(name), std::move(value));
            return isGood;
        });
    return isPath && isQuery ? std::optional(std::move(target)) : std::nullopt;
}

} // namespace Tool::Web

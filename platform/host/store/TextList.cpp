#include "store/TextList.h"

#include <array>
#include <charconv>

namespace Host {

namespace {

constexpr std::string_view noText = "-:";

} // namespace

void appendText(std::string& list, std::string_view text)
{
    std::array<char, 24> head;
    char* const end = std::to_chars(head.data(), head.data() + head.size() - 1, text.size()).ptr;
    *end = ':';
    list.append(head.data(), static_cast<std::size_t>(end + 1 - head.data())).append(text);
}

void appendNoText(std::string& list)
{
    list.append(noText);
}

bool takeText(std::string_view& rest, std::optional<std::string_view>& text)
{
    if (rest.starts_with(noText)) {
        text.reset();
        rest.remove_prefix(noText.size());
        return true;
    }
    std::size_t size = 0;
    auto const [end, fault] = std::from_chars(rest.data(), rest.data() + rest.size(), size);
    auto const digits = static_cast<std::size_t>(end - rest.data());
    if (fault != std::errc() || digits == rest.size() || *end != ':' || size > rest.size() - digits - 1)
        return false;
    text = rest.substr(digits + 1, size);
    rest.remove_prefix(digits + 1 + size);
    return true;
}

bool takeText(std::string_view& rest, std::string& text)
{
    std::optional<std::string_view> taken;
    if (!takeText(rest, taken) || !taken)
        return false;
    text = *taken;
    return true;
}

} // namespace Host

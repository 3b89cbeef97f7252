#include "store/JournalRow.h"

#include <algorithm>
#include <charconv>

namespace Host {

namespace {

void append(std::string& target, std::string const& text)
{
    target.append(std::to_string(text.size())).append(":").append(text);
}

/// Takes the next text from the front of the rest.
bool take(std::string_view& rest, std::string& text)
{
    std::size_t size = 0;
    auto const [end, fault] = std::from_chars(rest.data(), rest.data() + rest.size(), size);
    auto const digits = static_cast<std::size_t>(end - rest.data());
    if (fault != std::errc() || digits == rest.size() || *end != ':' || size > rest.size() - digits - 1)
        return false;
    text = rest.substr(digits + 1, size);
    rest.remove_prefix(digits + 1 + size);
    return true;
}

} // namespace

std::size_t operationSize(std::span<JournalEntry const> entries)
{
    auto const isOther = [&](JournalEntry const& each) {
        return each.time != entries.front().time || each.kind != entries.front().kind;
    };
    return static_cast<std::size_t>(std::ranges::find_if(entries, isOther) - entries.begin());
}

std::string furtherEntries(std::span<JournalEntry const> entries)
{
    std::string text;
    for (JournalEntry const& each : entries.subspan(1)) {
        append(text, each.item);
        append(text, each.value);
    }
    return text;
}

bool appendOperation(JournalEntry const& first, std::string_view further, std::vector<JournalEntry>& entries)
{
    auto const before = static_cast<std::ptrdiff_t>(entries.size());
    entries.push_back(first);
    while (!further.empty()) {
        JournalEntry& next = entries.emplace_back(JournalEntry{first.time, first.kind, "", ""});
        if (!take(further, next.item) || !take(further, next.value)) {
            entries.erase(entries.begin() + before, entries.end());
            return false;
        }
    }
    return true;
}

} // namespace Host

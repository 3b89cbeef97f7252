#include "store/JournalRow.h"

#include "store/TextList.h"

#include <algorithm>

namespace Host {

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
        appendText(text, each.item);
        appendText(text, each.value);
    }
    return text;
}

bool appendOperation(JournalEntry const& first, std::string_view further, std::vector<JournalEntry>& entries)
{
    auto const before = static_cast<std::ptrdiff_t>(entries.size());
    entries.push_back(first);
    while (!further.empty()) {
        JournalEntry& next = entries.emplace_back(JournalEntry{first.time, first.kind, "", ""});
        if (!takeText(further, next.item) || !takeText(further, next.value)) {
            entries.erase(entries.begin() + before, entries.end());
            return false;
        }
    }
    return true;
}

} // namespace Host

#include "store/HistoryRow.h"

#include "store/TextList.h"

#include <array>
#include <cstdlib>
#include <numeric>
#include <utility>

namespace Host {

namespace {

constexpr std::string_view rowBegin = "<Entry>";
constexpr std::string_view rowEnd = "</Entry>";
constexpr std::string_view emptyRow = "<Entry/>";

constexpr std::string HistoryEntry::*doer[]{&HistoryEntry::user, &HistoryEntry::process, &HistoryEntry::verb,
                                            &HistoryEntry::door, &HistoryEntry::note};

/// The text up to the next row, and that row; both are taken from the front. Empty when there is no other row.
std::pair<std::string_view, std::string_view> takeRow(std::string_view& rest)
{
    constexpr auto none = std::string_view::npos;
    auto const begin = rest.find(rowBegin);
    auto const end = begin == none ? none : rest.find(rowEnd, begin);
    if (end == none)
        return {};
    auto const size = end + rowEnd.size();
    std::pair const result{rest.substr(0, begin), rest.substr(begin, size - begin)};
    rest.remove_prefix(size);
    return result;
}

} // namespace

HistoryRow::HistoryRow(HistoryEntry const& head) : m_texts(columns)
{
    m_texts[number] = std::to_string(head.number);
    m_texts[time] = std::to_string(head.time);
    for (auto const member : doer)
        appendText(m_texts[who], head.*member);
    for (HistoryChange const& each : head.changes)
        add({each.schema, each.element,
             each.before == notStored ? std::nullopt : std::optional<std::string_view>(each.before), each.after});
}

void HistoryRow::add(ChangedText const& change)
{
    if (hasChanges() && change.schema == m_schema)
        appendNoText(m_texts[schema]);
    else
        appendText(m_texts[schema], m_schema = change.schema);
    appendText(m_texts[element], change.element);
    if (change.before)
        appendText(m_texts[before], *change.before);
    else
        appendNoText(m_texts[before]);
    appendText(m_texts[after], change.after);
}

std::size_t HistoryRow::size() const
{
    return std::accumulate(m_texts.begin(), m_texts.end(), std::size_t{0},
                           [](std::size_t size, std::string const& text) { return size + text.size(); });
}

std::int64_t HistoryRow::numberOf() const
{
    return std::strtoll(m_texts[number].c_str(), nullptr, 10);
}

HistoryRow HistoryRow::withoutChanges() const
{
    return HistoryRow({m_texts[number], m_texts[who], m_texts[time], "", "", "", ""});
}

bool HistoryRow::readChanges(std::vector<ChangedText>& changes) const
{
    std::array<std::string_view, columns> rest;
    std::copy(m_texts.begin(), m_texts.end(), rest.begin());
    std::optional<std::string_view> last;
    while (!rest[schema].empty()) {
        std::array<std::optional<std::string_view>, columns> texts;
        for (auto const column : {schema, element, before, after})
            if (!takeText(rest[column], texts[column]))
                return false;
        last = texts[schema] ? texts[schema] : last;
        if (!last || !texts[element] || !texts[after])
            return false;
        changes.push_back({*last, *texts[element], texts[before], *texts[after]});
    }
    return rest[element].empty() && rest[before].empty() && rest[after].empty();
}

bool HistoryRow::read(HistoryEntry& entry) const
{
    entry = {};
    entry.number = numberOf();
    entry.time = std::strtoll(m_texts[time].c_str(), nullptr, 10);
    std::string_view rest = m_texts[who];
    for (auto const member : doer)
        if (!takeText(rest, entry.*member))
            return false;
    std::vector<ChangedText> changes;
    bool const isWhole = rest.empty() && readChanges(changes);
    for (auto const& [schemaName, elementName, textBefore, textAfter] : changes)
        entry.changes.push_back({std::string(schemaName), std::string(elementName),
                                 std::string(textBefore.value_or(notStored)), std::string(textAfter)});
    return isWhole;
}

void keepDifferentRows(std::string& textBefore, std::string& textAfter)
{
    std::array<std::string, 2> sparse;
    std::array<std::string_view, 2> rest{textBefore, textAfter};
    for (;;) {
        auto const [oldText, oldRow] = takeRow(rest[0]);
        auto const [newText, newRow] = takeRow(rest[1]);
        if (oldText != newText || oldRow.empty() != newRow.empty())
            return;
        if (oldRow.empty())
            break;
        bool const isSame = oldRow == newRow;
        sparse[0].append(oldText).append(isSame ? emptyRow : oldRow);
        sparse[1].append(newText).append(isSame ? emptyRow : newRow);
    }
    textBefore = sparse[0].append(rest[0]);
    textAfter = sparse[1].append(rest[1]);
}

} // namespace Host

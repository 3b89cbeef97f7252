// How an entry of the history lies in its table: one row, in which each column but number and time is a list of texts. The doer's are
// in the column "who", and of the others each has one text for each value that changed: no schema when it is that of the value
// before it, no old text when nothing was stored.
#pragma once

#include "store/HistoryEntry.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Host {

/// A value that changed; the texts are somebody else's.
struct ChangedText {
    std::string_view schema;
    std::string_view element;
    std::optional<std::string_view> before; ///< nothing: it was not stored
    std::string_view after;
};

class HistoryRow {
public:
    enum Column { number, who, time, schema, element, before, after, columns };

    /// One without values, of an entry's number, time and doer.
    explicit HistoryRow(HistoryEntry const& head);

    /// One that was read: all columns.
    explicit HistoryRow(std::vector<std::string> texts) : m_texts(std::move(texts)) {}

    void add(ChangedText const& change);

    /// False when a column is not of this form.
    bool read(HistoryEntry& entry) const;
    /// The same without copies: appends what the row has.
    bool readChanges(std::vector<ChangedText>& changes) const;

    std::vector<std::string> const& texts() const { return m_texts; }
    std::int64_t numberOf() const;
    std::size_t size() const;
    HistoryRow withoutChanges() const;
    bool hasChanges() const { return !m_texts[schema].empty(); }

private:
    std::vector<std::string> m_texts;
    std::string m_schema; ///< of the last value
};

/// Empties the rows of a table that both texts have in common.
void keepDifferentRows(std::string& textBefore, std::string& textAfter);

} // namespace Host

// How entries of the management service's journal lie in its table: one row for each operation. The first entry has columns of its
// own, as every entry once had, and the others follow in one list of texts: name and value of each.
#pragma once

#include "service/JournalEntry.h"

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Host {

/// How many entries from the first on are of one operation, which is told by time and kind. At least one.
std::size_t operationSize(std::span<JournalEntry const> entries);

/// The text of the entries behind an operation's first.
std::string furtherEntries(std::span<JournalEntry const> entries);

/// Appends an operation, of which `first` is the first entry. False, and nothing is appended, when the text is not of this form.
bool appendOperation(JournalEntry const& first, std::string_view further, std::vector<JournalEntry>& entries);

} // namespace Host

// What the catalogue's validators accept, in words and as a list: for completion, describe and refused values; and what a
// value must be besides, so that every file and table can carry it.
#pragma once

#include "Data/DataItemBuilder.h"

#include <optional>
#include <string>
#include <vector>

namespace Tool {

/// "IntRange(1,8)+StringAllDigits", the steps in the record's order; "-" without steps.
std::string chainText(Data::DataCache::DataItemBuilder::ValidatorAndParams const* chain);

/// The legal values when there are few enough to choose from, else none.
std::vector<std::string> legalValues(Data::eDataTag tag);

/// The same for who makes an editor of it; what the catalogue does not limit is missing, but a text has a longest length.
struct Limits {
    std::optional<int> least = {};
    std::optional<int> most = {};
    std::optional<int> longest = {};     ///< in bytes
    std::vector<std::string> words = {}; ///< the only ones
};
Limits limitsOf(Data::eDataTag tag);

/// "1..8", "0 silent, 1 tone", "a text without blanks": what a value of the item must be.
std::string acceptedText(Data::eDataTag tag);

/// Why no value of the item may be this text, whatever the library's validators say; empty when it may.
std::string whyUnfit(Data::eDataTag tag, std::string const& text);

/// What people call true or false in any letter case, yes or 0, say; nothing for any other text.
std::optional<bool> boolNamed(std::string const& text);

/// The text as the library takes it: what people call true or false becomes its word for that. Anything else stays.
std::string libraryText(Data::eDataTag tag, std::string const& text);

} // namespace Tool

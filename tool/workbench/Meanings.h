// What the items mean, as their rows of settings.def say it: a sentence, a unit, the names of their numbers.
#pragma once

#include "Data/DataTypes.h"

#include <string>
#include <string_view>
#include <vector>

namespace Tool {

/// A sentence without its full stop; every item has one.
std::string_view helpOf(Data::eDataTag tag);

/// The unit of a number, empty where there is none or it is not certain.
std::string_view unitOf(Data::eDataTag tag);

struct NamedNumber {
    int number = 0;
    std::string_view name;
};

/// The names of an item's numbers, in ascending order; of some numbers, of all or of none.
std::vector<NamedNumber> namedNumbersOf(Data::eDataTag tag);

/// The name of one number of an item, empty when it has none.
std::string_view nameOfNumber(Data::eDataTag tag, int number);

/// Whether one of the words in which the item's meaning is told holds this text, in any letter case.
bool meansSo(Data::eDataTag tag, std::string const& text);

} // namespace Tool

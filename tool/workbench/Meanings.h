// What the items mean, as settings.def says it: a sentence, a unit, the names of their numbers, the family to which they belong.
#pragma once

#include "report/Report.h"

#include "Data/DataTypes.h"

#include <string>
#include <string_view>
#include <vector>

namespace Tool {

/// A sentence without its full stop; every item has one.
std::string_view helpOf(Data::eDataTag tag);

/// The unit of a number, null where there is none or it is not certain.
Json unitOf(Data::eDataTag tag);

struct NamedNumber {
    int number = 0;
    std::string_view name;
};

/// The names of an item's numbers, in ascending order; of some numbers, of all or of none.
std::vector<NamedNumber> namedNumbersOf(Data::eDataTag tag);

/// The same as an object, by number; null when there are none.
Json namesByNumber(Data::eDataTag tag);

/// The name of one value of an item, null when it has none.
Json nameOfValue(Data::eDataTag tag, Json const& value);

/// "0 silent, 1 tone": the named numbers, empty when there are none.
std::string_view namesOfNumbers(Data::eDataTag tag);

/// Items that belong together by what they are about.
struct Family {
    std::string_view name;
    std::string_view title;
};

std::vector<Family> const& families();
Family const& familyOf(Data::eDataTag tag);

/// Whether the words in which the item's meaning is told hold this text, in any letter case.
bool meansSo(Data::eDataTag tag, std::string const& text);

} // namespace Tool

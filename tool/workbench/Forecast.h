// What a bulk set would make of all values, those included that the rules change besides: the library's rules by which items
// depend on one another, followed on copies of the values. Nothing reaches the library.
#pragma once

#include "workbench/Values.h"

#include <map>

namespace Tool {

class Forecast {
public:
    Forecast();

    /// One bulk set of values that pass their checks, after those that were set before.
    void set(std::map<Data::eDataTag, Json> const& wanted);

    /// The value that an item would have.
    Json valueOf(Data::eDataTag tag) const;

    /// The items that would have another value than they have, with it, in the order of tags.
    std::map<Data::eDataTag, Json> changes() const;

private:
    void pickUp();
    void ring(bool isWritten);
    void openDoors(bool isWritten);
    bool hasNewsOfOpeners();
    void clear(int opener);

    std::map<Data::eDataTag, Json> m_values; ///< what was set so far
    std::map<Data::eDataTag, Json> m_opened; ///< the openers' types, phone numbers and cameras as the library remembers them
    bool m_isStale = false; ///< the openers are checked by the next set again, since the rule itself has changed them
};

} // namespace Tool

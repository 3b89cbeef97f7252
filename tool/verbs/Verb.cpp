#include "verbs/Verb.h"

#include <algorithm>

namespace Tool {

bool Argument::takesValue() const
{
    return isOption() && !std::holds_alternative<bool*>(target) && !std::holds_alternative<Print>(target);
}

bool Verb::runsAt(Place place) const
{
    return std::find(places.begin(), places.end(), place) != places.end();
}

} // namespace Tool

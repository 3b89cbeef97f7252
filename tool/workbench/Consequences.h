// What a set brings along besides what was asked for, foretold or found: what the rules would undo is refused, what they
// change is listed, and what they wipe has to be agreed to.
#pragma once

#include "workbench/Forecast.h"
#include "workbench/Outcomes.h"

#include <functional>
#include <set>
#include <string>
#include <vector>

namespace Tool {

class Snapshot;
class Workbench;

/// What is to become of values that the rules would undo.
enum class Manner {
    Once,     ///< one bulk set: they are refused
    Follow,   ///< one bulk set: they become what the rules make them
    Together, ///< storeTogether(): they are refused when they do not stand in the end
};

/// What storing the outcomes would make of all values.
Forecast forecastOf(std::vector<Outcome> const& outcomes, Manner manner);

/// Settles the outcomes that a rule or the next start would undo; a refusal names the setting that is missing.
void refuseUndone(std::vector<Outcome>& outcomes, Manner manner);

using Tags = std::set<Data::eDataTag>;

/// The items of the outcomes that are stored or stay.
Tags askedFor(std::vector<Outcome> const& outcomes);

/// What is foretold of the items that `counts` takes: item, old, new.
Section foretold(Workbench& workbench, Forecast const& forecast, std::string name,
                 std::function<bool(Data::eDataTag)> const& counts);

/// The sections "changed" and "alsoChanged" of what is foretold.
void addForetold(Workbench& workbench, Report& report, Forecast const& forecast, Tags const& asked);

/// The section "alsoChanged", foretold and found.
Section alsoChanged(Workbench& workbench, Forecast const& forecast, Tags const& asked);
Section alsoChanged(Snapshot const& before, Tags const& asked);

/// The texts that a person has set and that nobody asked to lose.
std::vector<Data::eDataTag> wiped(Forecast const& forecast, Tags const& asked);

/// The section "wouldWipe", added when there is anything of it.
void addWiped(Workbench& workbench, Report& report, std::vector<Data::eDataTag> const& wiped);

/// Makes the report a refusal that can be answered.
void askToWipe(Report& report, std::vector<Data::eDataTag> const& wiped);

} // namespace Tool

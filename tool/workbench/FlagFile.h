// The flag file with the test and field options: `flags`.
#pragma once

#include "report/Report.h"

#include "Data/DataTypes.h"

#include <map>
#include <string>
#include <vector>

namespace Tool {

class Forecast;
class Workbench;

using FlagValues = std::map<std::string, std::string>; ///< by the flag's word

/// The words of the flag file, in the order of their tags.
std::vector<std::string> flagNames();

/// What the flag file says, the last line of a flag counting: words that are not flags left out.
FlagValues flagFileValues();

/// The hardware flags that follow from a file that says this.
std::map<Data::eDataTag, Json> hardwareFlagsBy(FlagValues const& file, Forecast const& forecast);

/// Shows the flags. Each change is FLAG (a line without a value), FLAG=VALUE or FLAG= (the line goes away); the file is
/// replaced as a whole, and removed when no line is left or `clear` is set. Lines that it does not know stay. A dry run says
/// what would change.
Report flags(Workbench& workbench, std::vector<std::string> const& changes, bool clear, bool isDry);

} // namespace Tool

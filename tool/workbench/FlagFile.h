// The flag file with the test and field options: `flags`.
#pragma once

#include "report/Report.h"

#include <map>
#include <string>
#include <vector>

namespace Tool {

class Workbench;

/// The words of the flag file, in the order of their tags.
std::vector<std::string> flagNames();

/// What the flag file says, the last line of a flag counting: words that are not flags left out.
std::map<std::string, std::string> flagFileValues();

/// Shows the flags. Each change is FLAG (a line without a value), FLAG=VALUE or FLAG= (the line goes away); the file is
/// replaced as a whole, and removed when no line is left or `clear` is set. Lines that it does not know stay.
Report flags(Workbench& workbench, std::vector<std::string> const& changes, bool clear);

} // namespace Tool

// Values as they are given, ITEM=VALUE: read, and set in one bulk set.
#pragma once

#include "report/Report.h"

#include "Data/DataTypes.h"

#include <string>
#include <vector>

namespace Tool {

class Workbench;
struct Outcome;

/// One ITEM=VALUE as it was given.
struct Assignment {
    std::string item;
    std::string value;
    std::string place = {}; ///< in a file: its name, line and column
};

/// Cuts at the first "=" after the item; false when there is none or the item is empty.
bool parseAssignment(std::string const& text, Assignment& assignment);

/// Reads ITEM=VALUE lines; blank lines and lines that begin with "#" are skipped, blanks around both sides dropped, and a
/// value in double quotes keeps its blanks. The report holds the lines that are none of these.
Report readAssignments(std::string const& content, std::string const& fileName, std::vector<Assignment>& assignments);

/// The texts as assignments. The report has those that are none, with what may be a secret masked.
Report parseAssignments(std::vector<std::string> const& texts, bool showSecrets, std::vector<Assignment>& assignments);

struct SetOptions {
    bool dryRun = false; ///< checks in the same way and writes nothing
    bool atomic = false; ///< stores nothing when one value is refused
    bool watch = false;  ///< adds what a registered callback heard
    bool follow = false; ///< a value that a rule would undo becomes what the rule makes it, and is not refused
    bool yes = false;    ///< wipes texts that nobody asked to lose; otherwise the report asks first
};

/// All values as one bulk set, each accounted for.
Report set(Workbench& workbench, std::vector<Assignment> const& assignments, SetOptions options);
Report set(Workbench& workbench, std::vector<Outcome> outcomes, SetOptions options);

} // namespace Tool

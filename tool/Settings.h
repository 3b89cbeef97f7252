// The verbs about single settings: list, get, set, describe, reset.
#pragma once

#include "Report.h"

#include "Data/DataTypes.h"

#include <string>
#include <vector>

namespace Tool {

class Session;

/// One ITEM=VALUE as it was given.
struct Assignment {
    std::string item;
    std::string value;
};

/// Cuts at the first "=" after the item; false when there is none or the item is empty.
bool parseAssignment(std::string const& text, Assignment& assignment);

/// Reads ITEM=VALUE lines; blank lines and lines that begin with "#" are skipped, blanks around both sides dropped, and a
/// value in double quotes keeps its blanks. The report holds the lines that are none of these.
Report readAssignments(std::string const& text, std::string const& fileName, std::vector<Assignment>& assignments);

Report list(Session& session, std::string const& pattern);
Report get(Session& session, std::vector<std::string> const& items);
Report describe(Session& session, std::string const& item);

/// All assignments as one bulk set, each accounted for. `dryRun` validates in the same way and writes nothing; `watch` adds
/// what a registered callback heard.
Report set(Session& session, std::vector<Assignment> const& assignments, bool dryRun, bool watch);

/// Resets the user's audio settings and shows what changed.
Report resetAudio(Session& session);

} // namespace Tool

// The verbs that act as the telephone's management service: mgmt, country, mobility.
#pragma once

#include "report/Report.h"
#include "verbs/Settings.h"

#include <optional>
#include <string>
#include <vector>

namespace Tool {

class Workbench;

/// A get request: what the service is told, table rows that the hardware cannot use left out.
Report managementGet(Workbench& workbench, std::vector<std::string> const& items);

/// A set request, with the reject reasons of its items and what it changed.
Report managementSet(Workbench& workbench, std::vector<Assignment> const& assignments);

/// A report that items of other components changed; the service keeps the values.
Report managementChanged(Workbench& workbench, std::vector<Assignment> const& assignments);

/// Orders a reset of the user's settings.
Report managementReset(Workbench& workbench);

/// What the library read, reported and requested.
Report managementJournal(Workbench& workbench);

/// The country and what it means; a code, two capital letters, is reported as the new country first.
Report country(Workbench& workbench, std::optional<std::string> const& code);

/// Announces how the user's data is handled.
Report mobility(Workbench& workbench, std::string const& type);

} // namespace Tool

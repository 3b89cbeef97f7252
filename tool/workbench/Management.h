// The workbench acts as the telephone's management service.
#pragma once

#include "report/Report.h"
#include "workbench/Assignment.h"
#include "workbench/Values.h"

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

/// Hands values of other components to the service, which keeps them and tells the library. False when it could not keep them.
bool changeService(Workbench& workbench, TagTexts const& values);

/// The service holds these no longer, and the library what is in force without them.
bool withdrawFromService(Workbench& workbench, TagTexts const& values);

/// The library's reset of the user's data. False when there is no library.
bool resetUserData(Workbench& workbench);

/// Orders a reset of the user's settings.
Report managementReset(Workbench& workbench);

/// What the library read, reported and requested.
Report managementJournal(Workbench& workbench);

} // namespace Tool

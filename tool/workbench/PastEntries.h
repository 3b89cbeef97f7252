// The history as people see it: what is in the database and in the history's files, with items by their names and cells in
// the place of tables.
#pragma once

#include "report/Report.h"

#include "Data/DataTypes.h"

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace Tool {

class Workbench;

struct PastChange {
    std::string item;
    std::optional<Data::eDataTag> tag;
    Json before; ///< secrets masked
    Json after;
    std::string result; ///< stored, refused or not stored
    Json reason;
    std::string cause; ///< asked, rule, hardware or other

    // As the database had it; no schema: it did not.
    std::string schema = {};
    std::string element = {};
    std::string textBefore = {}; ///< of a cell its own
    std::string textAfter = {};
};

/// What one run of a verb, or one transaction of an application, changed.
struct PastEntry {
    std::int64_t number = 0; ///< 0: nothing was stored
    std::int64_t time = 0;
    std::string user;
    std::string process;
    std::string verb;
    std::string door;
    std::string note;
    bool isInDatabase = false;
    std::set<std::int64_t> numbers = {}; ///< all that it has, of which `number` is the first
    std::set<std::int64_t> undoes = {};
    std::vector<PastChange> changes = {};
};

/// Oldest first, those with numbers behind `behind`. `error` says what could not be read.
std::vector<PastEntry> pastEntries(Workbench& workbench, std::string& error, std::int64_t behind = 0);

/// Wipes what the history knows of these items; without any item everything. Unless `yes` the report asks first; otherwise it says
/// what could not be done.
Report forget(Workbench& workbench, std::optional<std::string> const& item, bool yes);

} // namespace Tool

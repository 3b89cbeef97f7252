// What becomes of the values of a set, an import or a reset: checked by the library's own validators and table checks, stored
// in one bulk set, and accounted for one by one.
#pragma once

#include "report/Result.h"
#include "workbench/Values.h"

#include <string>
#include <vector>

namespace Tool {

class Workbench;

/// One value and what becomes of it.
struct Outcome {
    Data::eDataTag tag;
    std::string text; ///< as given
    Json before;
    Json wanted; ///< null when the text was refused
    Result result = Result::Refused;
    std::string reason = {};
    Json placed = {}; ///< what orderByRank() stores in its place; null: what is wanted

    Json const& toStore() const { return placed.is_null() ? wanted : placed; }

    /// What was given, in the item's type when it has one.
    Json given() const { return wanted.is_null() ? Json(text) : wanted; }
};

/// Checks one value, more strictly than the library where it takes what would be lost; nothing is stored.
Outcome check(Data::eDataTag tag, std::string const& text, ServiceValues const& others);

/// Runs the library's checks of whole tables on copies of the tables with the wanted cells in them, as they are made now and
/// at the next start, and refuses the cells of tables that do not pass; nothing is stored. `hardware` stands in the place of
/// hardware flags as they are.
void checkTables(Workbench& workbench, std::vector<Outcome>& outcomes, Data::DataTagValue_t const& hardware = {});

/// Codecs are kept in the order of their rows, whatever their ranks say: where ranks are named, the cells get what the library's
/// own order of rows makes of them, and those that were not named but change by it are added. For tables that checkTables() let pass.
void orderByRank(Workbench& workbench, std::vector<Outcome>& outcomes);

/// How long a value lasts when that is not for good; empty otherwise.
std::string limitOf(Outcome const& outcome);

/// Stores what would be stored, in one bulk set, and says what the library made of it.
void store(Workbench& workbench, std::vector<Outcome>& outcomes);

/// Stores in as many bulk sets as it takes until the rules by which items depend on one another leave all values standing,
/// storingPasses at most: for values that were read from a telephone and therefore stand together.
inline constexpr int storingPasses = 3;
void storeTogether(Workbench& workbench, std::vector<Outcome>& outcomes);

/// Sets all held items back to what they were (Snapshot::values()).
void putBack(Workbench& workbench, std::vector<Json> const& earlier);

/// For all or nothing: when one value was refused, true, and what would be stored is held back.
bool holdBack(std::vector<Outcome>& outcomes);

/// Holds back what would be stored.
void holdGoodBack(std::vector<Outcome>& outcomes);

/// Tells the history of what was refused.
void noteRefusals(Workbench& workbench, std::vector<Outcome> const& outcomes);

/// What the library made of a value that passed its checks: stored, taken, failed or refused.
void settle(Outcome& outcome, bool taken, bool tableStored);

/// The columns of accountRow().
std::vector<std::string> accountColumns();
std::vector<Json> accountRow(Outcome const& outcome, bool showSecrets);

/// All outcomes as the section "items", and the exit code that follows.
Report account(std::vector<Outcome> const& outcomes, bool showSecrets);

} // namespace Tool

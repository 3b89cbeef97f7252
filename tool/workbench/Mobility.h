// The user's data comes and goes with the user: `mobility`.
#pragma once

#include "report/Report.h"

#include <span>
#include <string>

namespace Tool {

class Workbench;
struct Document;

/// What the management service may announce.
struct MobilityType {
    char const* text;
    bool reads; ///< the user's data is read from the database again
    char const* meaning;
};

std::span<MobilityType const> mobilityTypes();

/// Null for a text that is none.
MobilityType const* findMobilityType(std::string const& text);

/// The last announcement, what each type means, and what waits for being pushed to the management service.
Report mobility();

/// Announces a type, and shows what changed; a dry run what would change.
Report announce(Workbench& workbench, MobilityType const& type, bool isDry);

/// The user's settings of the document go into the database, past the library, as those of a user who arrives; then a type is
/// announced that reads them. When one is refused, unknown or not stored, nothing is announced.
Report arrive(Workbench& workbench, Document const& document, MobilityType const& type);

} // namespace Tool

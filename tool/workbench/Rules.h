// The library's rules by which items depend on one another, asked in the tool's values: what door openers write into cameras, the
// ringers without identifier, and the verdicts of the hardware rules on the rows of ranked tables.
#pragma once

#include "report/Report.h"

#include "Data/DataTypes.h"

#include <functional>
#include <map>
#include <optional>
#include <string>

namespace Tool {

class Workbench;

using ValueOf = std::function<Json(Data::eDataTag)>;

/// The cameras' door opener and phone number as the door openers have them.
std::map<Data::eDataTag, Json> linkedCameras(ValueOf const& valueOf);

/// The same, which the rule writes when an opener's phone number or camera changes; nothing while all openers have neither,
/// since the rule then does not run.
std::map<Data::eDataTag, Json> cameraLinks(ValueOf const& valueOf);

/// What a cell of the ringing table follows while its row has no alert identifier.
struct RingerRule {
    Data::eDataTag identifier; ///< of the row
    Data::eDataTag general;    ///< the setting of the general ringer; 0: always as at the start
    Json atStart;              ///< while it starts, the library does not know the general ringer yet
};

/// Nothing for other items and for identifiers.
std::optional<RingerRule> ringerRuleOf(Data::eDataTag cell);

/// A row of a ranked table as the management service sees it.
struct Verdict {
    bool allowed = true;
    std::string reason = {}; ///< why it is hidden
};

/// The verdicts of the library's hardware rules, by the table's hardware flag. Nothing is kept, unlike after a management get.
std::map<Data::eDataTag, Verdict> hardwareVerdicts(Workbench& workbench);

/// The hardware flag that decides on the row of a ranked table's cell; 0 for other items. Codecs go by type.
Data::eDataTag hardwareFlagOf(Data::eDataTag cell, ValueOf const& valueOf);

} // namespace Tool

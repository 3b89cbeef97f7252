// The items by the names people use for them: tag number, management item, schema/element, the catalogue's row name, the word of
// a flag, and for a table its short name.
#pragma once

#include "report/Report.h"

#include "Data/DataTypes.h"
#include "Tables/SettingOptions.h"

#include <optional>
#include <string>
#include <vector>

namespace Tool {

/// All tags but 0 and the end.
std::vector<Data::eDataTag> const& allTags();

/// What an item is called in output: the management (sub-)item, else schema/element, else the row name.
std::string const& nameOf(Data::eDataTag tag);

/// Every name that finds the item, the tag number left out.
std::vector<std::string> const& namesOf(Data::eDataTag tag);

/// Exact look-up over all naming forms; nothing for a name that no item or more than one item has.
std::optional<Data::eDataTag> findItem(std::string const& name);

/// The item of that name, or of a table or group its cells; none for a name that nothing has.
std::vector<Data::eDataTag> namedBy(std::string const& name);

/// The candidates closest to a word, nearest first.
std::vector<std::string> nearest(std::string const& word, std::vector<std::string> const& candidates);

/// Names of items close to one that was not found, nearest first.
std::vector<std::string> namesNear(std::string const& name);

/// The items of which one name matches: a glob when the pattern has * or ?, else a part of a name in any letter case.
/// A pattern that is exactly an item's name finds that item alone, and a table's name its cells.
std::vector<Data::eDataTag> matchItems(std::string const& pattern);

/// Passwords and PINs.
using Data::Tables::isSecret;

/// The cache keeps the item; the others are asked from the management service.
bool isHeld(Data::eDataTag tag);

/// The database keeps the item over a restart and its value is nobody else's consequence.
bool isKept(Data::eDataTag tag);

/// Media's own, but kept by nothing over a restart: orders to the management service and the hardware's verdicts.
bool isFleeting(Data::eDataTag tag);

/// False for catalogue rows that are switched off.
bool exists(Data::eDataTag tag);

Data::eDataItemType typeOf(Data::eDataTag tag);
char const* typeName(Data::eDataItemType type);

/// The table whose check guards the cell and which is stored whole; 0 when there is none.
Data::eDataTag storedTableOf(Data::eDataTag tag);

/// The answer to a name that finds nothing.
Report unknownItem(std::string const& name);

} // namespace Tool

// The values of items: read out of the running library and the management service, checked by the library's validators, and
// how they are shown.
#pragma once

#include "report/Report.h"

#include "Data/DataTypes.h"

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Host {
class Platform;
}

namespace Tool {

class Workbench;

/// Values as texts, in the order in which they were given.
using TagTexts = std::vector<std::pair<Data::eDataTag, std::string>>;

/// The value of a secret that cannot be decrypted. No item takes it, nothing stores it and no other value is equal to it; it is
/// shown as a word, as is the cipher text that the library has for such a secret.
inline std::string const unreadable{"\0unreadable", 11};
bool isUnreadable(Data::eDataTag tag, Json const& value);

inline constexpr char const* unreadableWord = "unreadable";

/// What to do about it.
inline constexpr char const* unreadableReason =
    "cannot be decrypted: set it again, or bring the secret.key back under which it was stored";

/// The current value by the item's own type; nothing when it cannot be read. Reading a flag of the flag file applies the file.
std::optional<Json> readValue(Data::eDataTag tag);

/// What the management service holds, by name. Taken as a whole: reading one by one would fill the service's journal.
using ServiceValues = std::map<std::string, std::string>;
ServiceValues serviceValues(Workbench& workbench);

/// The current value without asking the service; null when there is none.
Json knownValue(Data::eDataTag tag, ServiceValues const& others);

/// What the database answers for an element that it does not hold.
inline constexpr char const* databaseFailure = "failure";

/// What lies in the database for an item that has an element of its own, or a whole table's text, secrets decrypted or
/// unreadable; nothing when nothing was stored.
std::optional<std::string> storedText(Host::Platform& platform, Data::eDataTag tag);

/// The library's own check of a text, on an item of its own making; the typed value when it passes, else null.
Json validate(Data::eDataTag tag, std::string const& text, std::string& reason);

/// The text as a value of the item, or as it is when it is none.
Json typedValue(Data::eDataTag tag, std::string const& text);

/// The same for what an account calls flags/FLAG or an item; null stays.
Json typedValue(std::string const& name, Json const& text);

/// The catalogue's default as a value; null for items that are switched off.
Json defaultOf(Data::eDataTag tag);

/// The value as the library reads and writes it.
std::string textOf(Json const& value);

/// The value, or stars in the place of a secret that is not to be shown. The empty secret is no secret, and one that cannot be
/// decrypted is said to be unreadable.
Json shown(Data::eDataTag tag, Json value, bool showSecrets);

} // namespace Tool

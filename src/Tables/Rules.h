// The rules by which items depend on one another, as functions of values: the group-pickup tone type, the cameras of door
// openers, the ringers without identifier, and what the hardware can use of ranked tables.
#pragma once

#include "Tables/Tables.h"

#include <array>
#include <cstddef>
#include <optional>
#include <span>
#include <string>

namespace Data::Tables {

// Group pickup

struct PickupFlags {
    bool asRinger;
    bool toneAllowed;
    bool operator==(PickupFlags const&) const = default;
};

/// The tone type that goes with the flags.
int toneTypeOf(PickupFlags const& flags);

/// The flags that go with a tone type; nothing for other numbers.
std::optional<PickupFlags> pickupFlagsOf(int toneType);

// Door openers

/// What a camera knows of the door opener that shows it.
struct CameraLink {
    int opener = 0; ///< counted from 1; 0: none shows it
    std::string phone;
};
using CameraLinks = std::array<CameraLink, static_cast<std::size_t>(cameras.rows)>;

/// By camera, from the cameras and phone numbers of the openers; of several openers of one camera the last one wins.
CameraLinks linkCameras(DataTagValue_t const& openers);

// Ringers

/// What a cell of the ringing table is while its row has no identifier.
struct RingerRule {
    eDataTag identifier;   ///< of the row
    eDataTag general;      ///< the setting of the general ringer that the cell follows; None: `otherwise` always
    char const* otherwise; ///< while there is no general ringer
};

/// Nothing for identifiers and other items.
std::optional<RingerRule> ringerRuleOf(eDataTag cell);

// Hardware

/// What the rules ask of the device, each only where it decides.
struct Device {
    bool (*isEntryModel)();
    bool (*isTopModel)();
    bool (*hasUsb)();
};

/// The software type whose servers know every codec and every encryption method.
inline constexpr char const* fullServer = "Norvane SIP";

/// With the server's or the flag's leave alone: see canUse.
bool isLimitedMethod(int method);

/// The items that the rule of a ranked table reads.
std::span<eDataTag const> factsOf(Table const& table);

/// Whether the device, and the server that it works with, can use a choice of a ranked table.
bool canUse(Table const& table, int choice, DataTagValue_t const& facts, Device const& device);

/// The flag that decides on a row of a ranked table in which `choice` stands.
eDataTag hardwareFlagOf(Table const& table, int row, int choice);

/// The flags that follow from the flag file without the device being asked: what the file says, and the encryption methods as
/// they stand.
DataTagValue_t hardwareFlagsByFile(DataTagValue_t const& file, DataTagValue_t const& methods);

} // namespace Data::Tables

// The rule between the group-pickup tone type and its two flags.
#include "DataSourceDBTables/DataTableGroupPickupDependentTags.h"

#include "ClientUtils.h"
#include "DataSourceDBTables/TableCells.h"

#include <algorithm>
#include <array>

namespace Data {

using GroupPickupTable = DataSourceDB::DataTableHandler::DataTableGroupPickupDependentTags;

namespace {

struct Flags {
    bool asRinger;
    bool toneAllowed;
    bool operator==(Flags const&) const = default;
};

/// By tone type.
constexpr std::array<Flags, 4> toneTypes{{{false, false}, {false, true}, {true, true}, {true, false}}};

bool flagOr(DataTagValue_t const& values, eDataTag tag, bool fallback)
{
    auto const flag = values.find(tag);
    return flag == values.end() ? fallback : ClientUtils::stob(flag->second);
}

} // namespace

GroupPickupTable::DataTableGroupPickupDependentTags() : DataTable(eDataTagGroupPickup, eDataTagGroupPickupToneType) {}

void GroupPickupTable::getGroupPickupToneType(bool asRinger, bool toneAllowed, std::string& toneType)
{
    auto const* const found = std::find(toneTypes.begin(), toneTypes.end(), Flags{asRinger, toneAllowed});
    toneType = ClientUtils::itos(static_cast<int>(found - toneTypes.begin()));
}

bool GroupPickupTable::processReadData(DataTagValue_t& values, bool /*clearFiles*/)
{
    // The type as stored counts as consistent, so that the stored flags decide.
    values[eDataTagGroupPickup] = values[eDataTagGroupPickupToneType];
    return checkTableData(values, values) != 0;
}

int GroupPickupTable::checkTableData(DataTagValue_t& values, DataTagValue_t& /*toStore*/)
{
    std::string const parent = cellText(values, eDataTagGroupPickup);
    std::string toneType = cellText(values, eDataTagGroupPickupToneType);
    Flags const flags{flagOr(values, eDataTagGroupPickupAsRinger, true),
                      flagOr(values, eDataTagGroupPickupToneAllowed, true)};
    if (toneType != parent) {
        int const type = ClientUtils::stoi(toneType);
        // Flags that match already leave the table tag behind: the next check sees the type as changed again.
        if (type < 0 || type >= static_cast<int>(toneTypes.size()) || toneTypes[static_cast<std::size_t>(type)] == flags)
            return eTableValid;
        values[eDataTagGroupPickupAsRinger] = ClientUtils::btos(toneTypes[static_cast<std::size_t>(type)].asRinger);
        values[eDataTagGroupPickupToneAllowed] = ClientUtils::btos(toneTypes[static_cast<std::size_t>(type)].toneAllowed);
    } else {
        getGroupPickupToneType(flags.asRinger, flags.toneAllowed, toneType);
        if (toneType == parent)
            return eTableValid;
        values[eDataTagGroupPickupToneType] = toneType;
    }
    values[eDataTagGroupPickup] = toneType;
    return eTableStoreCells;
}

} // namespace Data

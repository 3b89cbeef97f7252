// Keeps the group-pickup tone type and its two flags consistent.
#include "Data/DataTableGroupPickupDependentTags.h"

#include "ClientUtils.h"
#include "Tables/Rules.h"
#include "Tables/Tables.h"

namespace Data {

using GroupPickupTable = DataSourceDB::DataTableHandler::DataTableGroupPickupDependentTags;

namespace {

bool flagOr(DataTagValue_t const& values, eDataTag tag, bool fallback)
{
    auto const flag = values.find(tag);
    return flag == values.end() ? fallback : ClientUtils::stob(flag->second);
}

} // namespace

GroupPickupTable::DataTableGroupPickupDependentTags() : DataTable(Tables::groupPickup.tag, Tables::groupPickup.last) {}

void GroupPickupTable::getGroupPickupToneType(bool asRinger, bool toneAllowed, std::string& toneType)
{
    toneType = ClientUtils::itos(Tables::toneTypeOf({asRinger, toneAllowed}));
}

bool GroupPickupTable::processReadData(DataTagValue_t& values, bool /*clearFiles*/)
{
    // The type as stored counts as consistent, so that the stored flags decide.
    values[eDataTagGroupPickup] = values[eDataTagGroupPickupToneType];
    return checkTableData(values, values) != 0;
}

int GroupPickupTable::checkTableData(DataTagValue_t& values, DataTagValue_t& /*toStore*/)
{
    std::string const parent = Tables::cellText(values, eDataTagGroupPickup);
    std::string toneType = Tables::cellText(values, eDataTagGroupPickupToneType);
    Tables::PickupFlags const flags{flagOr(values, eDataTagGroupPickupAsRinger, true),
                                    flagOr(values, eDataTagGroupPickupToneAllowed, true)};
    if (toneType != parent) {
        auto const wanted = Tables::pickupFlagsOf(ClientUtils::stoi(toneType));
        // Flags that match already leave the table tag behind: the next check sees the type as changed again.
        if (!wanted || *wanted == flags)
            return eTableValid;
        values[eDataTagGroupPickupAsRinger] = ClientUtils::btos(wanted->asRinger);
        values[eDataTagGroupPickupToneAllowed] = ClientUtils::btos(wanted->toneAllowed);
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

#include "workbench/Forecast.h"

#include "workbench/Items.h"
#include "workbench/Mobility.h"
#include "workbench/Rules.h"

#include "Tables/Rules.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace Tool {

using namespace Data;
using Tables::doorOpeners;

namespace {

/// What the rule about the openers looks at, in the order in which it does.
constexpr eDataTag remembered[]{eDataTagDoorOpener1Type, eDataTagDoorOpener1PhoneNumber, eDataTagDoorOpener1DirectVideo};

constexpr eDataTag pickupMembers[]{eDataTagGroupPickupAsRinger, eDataTagGroupPickupToneAllowed, eDataTagGroupPickupToneType};

} // namespace

Forecast::Forecast()
{
    for (auto const first : remembered) {
        for (int opener = 0; opener < doorOpeners.rows; ++opener) {
            auto const tag = doorOpeners.cell(first, opener);
            m_opened[tag] = valueOf(tag);
        }
    }
}

Json Forecast::valueOf(eDataTag tag) const
{
    auto const found = m_values.find(tag);
    return found == m_values.end() ? readValue(tag).value_or(Json()) : found->second;
}

std::map<eDataTag, Json> Forecast::changes() const
{
    auto changes = m_values;
    std::erase_if(changes, [](auto const& each) {
        return typeOf(each.first) == eDataItemTypeComplex || !isHeld(each.first) || readValue(each.first) == each.second;
    });
    return changes;
}

void Forecast::set(std::map<eDataTag, Json> const& wanted)
{
    bool rings = false;
    bool opens = std::exchange(m_isStale, false);
    for (auto const& [tag, value] : wanted) {
        if (isHeld(tag) && valueOf(tag) == value) // Reading another one asks the service.
            continue;
        m_values[tag] = value;
        auto const* const mobility = tag == eDataTagMobilityDataUpdate ? findMobilityType(textOf(value)) : nullptr;
        rings = rings || Tables::ringing.holds(tag) || (mobility && mobility->reads); // which reads the table anew
        opens = opens || doorOpeners.holds(tag);
    }
    pickUp();
    ring(rings);
    openDoors(opens);
}

/// The tone type decides when it is another one than the group remembers, otherwise the flags do.
void Forecast::pickUp()
{
    if (std::ranges::none_of(pickupMembers, [&](auto tag) { return m_values.contains(tag); }))
        return;
    auto const type = valueOf(eDataTagGroupPickupToneType);
    Tables::PickupFlags const flags{valueOf(eDataTagGroupPickupAsRinger) == Json(true),
                                    valueOf(eDataTagGroupPickupToneAllowed) == Json(true)};
    bool const isNewType = textOf(type) != textOf(valueOf(eDataTagGroupPickup));
    if (auto const wanted = Tables::pickupFlagsOf(type.get<int>()); isNewType && wanted) {
        m_values[eDataTagGroupPickupAsRinger] = wanted->asRinger;
        m_values[eDataTagGroupPickupToneAllowed] = wanted->toneAllowed;
        m_values[eDataTagGroupPickup] = textOf(type);
    } else if (!isNewType) {
        m_values[eDataTagGroupPickupToneType] = Tables::toneTypeOf(flags);
        m_values[eDataTagGroupPickup] = textOf(m_values[eDataTagGroupPickupToneType]);
    }
}

/// Rows without an identifier follow the general ringer when the table is written, where they can have its value.
void Forecast::ring(bool isWritten)
{
    for (auto cell = Tables::ringing.first; isWritten && cell <= Tables::ringing.last; cell = Tables::cellTag(cell, 1)) {
        auto const rule = ringerRuleOf(cell);
        if (!rule || valueOf(rule->identifier) != Json(""))
            continue;
        std::string ignored;
        auto const value = rule->general == eDataTagNone ? rule->atStart : valueOf(rule->general);
        if (!validate(cell, textOf(value), ignored).is_null())
            m_values[cell] = value;
    }
}

/// The cameras are linked anew when there is something new of the openers.
void Forecast::openDoors(bool isWritten)
{
    if (!isWritten || !hasNewsOfOpeners())
        return;
    for (auto const& [tag, value] : linkedCameras([this](eDataTag each) { return valueOf(each); }))
        m_values[tag] = value;
}

/// Compares the openers with what is remembered of them, in the library's order; one that got type 0 loses all other values.
bool Forecast::hasNewsOfOpeners()
{
    bool isNew = false;
    auto const isReplaced = [this](eDataTag tag, Json const& value) { return std::exchange(m_opened[tag], value) != value; };
    std::vector<int> cleared;
    for (int opener = 0; opener < doorOpeners.rows; ++opener) {
        for (auto const first : remembered) {
            auto const tag = doorOpeners.cell(first, opener);
            auto const value = valueOf(tag);
            bool const isOther = isReplaced(tag, value);
            if (first != eDataTagDoorOpener1Type)
                isNew = isNew || isOther;
            else if (isOther && value == Json(0))
                cleared.push_back(opener);
            // The library takes the third opener's camera for the fourth's, too, until it comes to that one.
            if (tag == eDataTagDoorOpener3DirectVideo && isReplaced(eDataTagDoorOpener4DirectVideo, value))
                isNew = true;
        }
    }
    for (int const opener : cleared)
        clear(opener);
    return isNew || !cleared.empty();
}

void Forecast::clear(int opener)
{
    for (auto const& column : doorOpeners.columns) {
        auto const tag = doorOpeners.cell(column.first, opener);
        auto const value = column.first == eDataTagDoorOpener1Path ? Json("") : defaultOf(tag);
        if (column.first == eDataTagDoorOpener1Type || valueOf(tag) == value)
            continue;
        m_values[tag] = value;
        m_isStale = true;
    }
}

} // namespace Tool

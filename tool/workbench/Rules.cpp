#include "workbench/Rules.h"

#include "workbench/Items.h"
#include "workbench/Values.h"
#include "workbench/Workbench.h"

#include "Tables/Rules.h"

#include "ClientUtils.h"
#include "HardwareVersion.h"

namespace Tool {

using namespace Data;

namespace {

constexpr Tables::Device thisDevice{HardwareVersion::is_TL20, HardwareVersion::is_TL70, HardwareVersion::is_USBSupported};

/// The one thing that is missing. The rules themselves are the library's.
std::string whyHidden(Tables::Table const& table, int choice, bool isEntryModel)
{
    switch (table.tag) {
    case eDataTagCodecSettings:
        if (isEntryModel)
            return choice == 3 ? "entry model: codec 3 needs the flag opus_test"
                               : "entry model: no codec " + std::to_string(choice);
        return "codec 3 needs the flag opus_test, a full server or system identifier 2";
    case eDataTagSRTPEncryptionSettings:
        return "method " + std::to_string(choice) + " needs the flag aes256_test or a full server";
    default:
        return choice == 1 ? "the device has no USB" : "only the top model has headset type 2";
    }
}

} // namespace

std::map<eDataTag, Json> linkedCameras(ValueOf const& valueOf)
{
    DataTagValue_t openers;
    for (int opener = 0; opener < Tables::doorOpeners.rows; ++opener) {
        for (auto const first : {eDataTagDoorOpener1PhoneNumber, eDataTagDoorOpener1DirectVideo}) {
            auto const tag = Tables::doorOpeners.cell(first, opener);
            openers[tag] = textOf(valueOf(tag));
        }
    }
    std::map<eDataTag, Json> links;
    int row = 0;
    for (auto const& [opener, phone] : Tables::linkCameras(openers)) {
        links[Tables::cameras.cell(eDataTagCamera1DoorOpener, row)] = opener;
        links[Tables::cameras.cell(eDataTagCamera1PhoneNumber, row)] = phone;
        ++row;
    }
    return links;
}

std::map<eDataTag, Json> cameraLinks(ValueOf const& valueOf)
{
    for (int opener = 0; opener < Tables::doorOpeners.rows; ++opener) {
        if (valueOf(Tables::doorOpeners.cell(eDataTagDoorOpener1PhoneNumber, opener)) != Json("") ||
            valueOf(Tables::doorOpeners.cell(eDataTagDoorOpener1DirectVideo, opener)) != Json(0))
            return linkedCameras(valueOf);
    }
    return {};
}

std::optional<RingerRule> ringerRuleOf(eDataTag cell)
{
    auto const rule = Tables::ringerRuleOf(cell);
    if (!rule)
        return std::nullopt;
    bool const isNumber = Tables::columnOf(cell)->type == eDataItemTypeInt;
    return RingerRule{rule->identifier, rule->general,
                      isNumber ? Json(ClientUtils::stoi(rule->otherwise)) : Json(rule->otherwise)};
}

std::map<eDataTag, Verdict> hardwareVerdicts(Workbench& workbench)
{
    auto const service = serviceValues(workbench);
    bool const isEntryModel = thisDevice.isEntryModel();
    std::map<eDataTag, Verdict> result;
    for (auto const& table : Tables::all) {
        if (table.kind != Tables::Kind::ranked)
            continue;
        DataTagValue_t facts;
        for (auto const fact : Tables::factsOf(table))
            facts[fact] = textOf(knownValue(fact, service));
        for (int index = 0; index < table.rows; ++index) {
            auto const cell = table.cell(table.column(Tables::Role::choice), index);
            auto const choice =
                table.find(Tables::Role::flag)->isByChoice ? index : readValue(cell).value_or(Json(0)).get<int>();
            bool const allowed = Tables::canUse(table, choice, facts, thisDevice);
            result[Tables::hardwareFlagOf(table, index, choice)] = {allowed,
                                                                    allowed ? "" : whyHidden(table, choice, isEntryModel)};
        }
    }
    return result;
}

eDataTag hardwareFlagOf(eDataTag cell, ValueOf const& valueOf)
{
    auto const* const table = Tables::holderOf(cell);
    if (!table || table->kind != Tables::Kind::ranked || cell > table->last)
        return eDataTagNone;
    int const row = table->rowOf(cell);
    bool const isByChoice = table->find(Tables::Role::flag)->isByChoice;
    int const choice = isByChoice ? valueOf(table->cell(table->column(Tables::Role::choice), row)).get<int>() : 0;
    return Tables::hardwareFlagOf(*table, row, choice);
}

} // namespace Tool

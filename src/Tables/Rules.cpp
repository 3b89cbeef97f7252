#include "Tables/Rules.h"

#include "ClientUtils.h"

#include <algorithm>

namespace Data::Tables {

namespace {

/// By tone type.
constexpr std::array<PickupFlags, 4> toneTypes{{{false, false}, {false, true}, {true, true}, {true, false}}};

/// The codecs and types of headsets that not every device has.
constexpr int codecOfLargerModels = 1;
constexpr int opusCodec = 3;
constexpr int usbHeadset = 1;
constexpr int topModelHeadset = 2;

constexpr char const* systemWithOpus = "2";

constexpr std::array codecFacts{eDataTagServerType, eDataTagSystemIdentifier, eDataTagSoftwareType, eDataTagOpusTest};
constexpr std::array encryptionFacts{eDataTagSoftwareType, eDataTagAes256Test};

bool says(DataTagValue_t const& values, eDataTag tag, char const* text)
{
    auto const found = values.find(tag);
    return found != values.end() && found->second == text;
}

bool canUseCodec(int codec, DataTagValue_t const& facts, Device const& device)
{
    switch (codec) {
    case opusCodec:
        return says(facts, eDataTagOpusTest, "true") ||
               (!device.isEntryModel() &&
                (says(facts, eDataTagSoftwareType, fullServer) || says(facts, eDataTagSystemIdentifier, systemWithOpus)));
    case codecOfLargerModels:
        return !device.isEntryModel();
    default:
        return true;
    }
}

bool canUseMethod(int method, DataTagValue_t const& facts)
{
    return !isLimitedMethod(method) || says(facts, eDataTagSoftwareType, fullServer) ||
           says(facts, eDataTagAes256Test, "true");
}

bool canUseHeadset(int type, Device const& device)
{
    switch (type) {
    case usbHeadset:
        return device.hasUsb();
    case topModelHeadset:
        return device.isTopModel();
    default:
        return true;
    }
}

} // namespace

int toneTypeOf(PickupFlags const& flags)
{
    return static_cast<int>(std::ranges::find(toneTypes, flags) - toneTypes.begin());
}

std::optional<PickupFlags> pickupFlagsOf(int toneType)
{
    if (toneType < 0 || toneType >= static_cast<int>(toneTypes.size()))
        return std::nullopt;
    return toneTypes[static_cast<std::size_t>(toneType)];
}

CameraLinks linkCameras(DataTagValue_t const& openers)
{
    CameraLinks links;
    for (int opener = 0; opener < doorOpeners.rows; ++opener) {
        int const camera = ClientUtils::stoi(cellText(openers, doorOpeners.cell(eDataTagDoorOpener1DirectVideo, opener)));
        if (camera >= 1 && camera <= cameras.rows)
            links[static_cast<std::size_t>(camera) - 1] = {
                opener + 1, cellText(openers, doorOpeners.cell(eDataTagDoorOpener1PhoneNumber, opener))};
    }
    return links;
}

std::optional<RingerRule> ringerRuleOf(eDataTag cell)
{
    if (!ringing.holds(cell))
        return std::nullopt;
    Column const* const column = ringing.find(ringing.columnOf(cell));
    if (!column->unnamed)
        return std::nullopt;
    return RingerRule{ringing.cell(ringing.column(Role::identifier), ringing.rowOf(cell)), column->general, column->unnamed};
}

bool isLimitedMethod(int method)
{
    return method >= 2 && method <= 4;
}

std::span<eDataTag const> factsOf(Table const& table)
{
    switch (table.tag) {
    case eDataTagCodecSettings:
        return codecFacts;
    case eDataTagSRTPEncryptionSettings:
        return encryptionFacts;
    default:
        return {};
    }
}

bool canUse(Table const& table, int choice, DataTagValue_t const& facts, Device const& device)
{
    switch (table.tag) {
    case eDataTagCodecSettings:
        return canUseCodec(choice, facts, device);
    case eDataTagSRTPEncryptionSettings:
        return canUseMethod(choice, facts);
    default:
        return canUseHeadset(choice, device);
    }
}

eDataTag hardwareFlagOf(Table const& table, int row, int choice)
{
    Column const& flag = *table.find(Role::flag);
    return table.cell(flag.first, flag.isByChoice ? choice : row);
}

DataTagValue_t hardwareFlagsByFile(DataTagValue_t const& file, DataTagValue_t const& methods)
{
    DataTagValue_t flags;
    flags[hardwareFlagOf(codecs, 0, opusCodec)] = ClientUtils::btos(!says(file, eDataTagOpusTest, "false"));
    for (int row = 0; row < encryptions.rows; ++row) {
        std::string const method = cellText(methods, encryptions.cell(encryptions.column(Role::choice), row));
        if (isLimitedMethod(ClientUtils::stoi(method)))
            flags[hardwareFlagOf(encryptions, row, 0)] = ClientUtils::btos(says(file, eDataTagAes256Test, "true"));
    }
    return flags;
}

} // namespace Data::Tables

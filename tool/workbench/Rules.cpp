#include "workbench/Rules.h"

#include "workbench/Items.h"
#include "workbench/Values.h"
#include "workbench/Workbench.h"

#include "Data/DataOCMSCallback.h"
#include "DataSourceOCMS/DataSourceOCMS.h"

#include "HostPlatform.h"
#include "ManageableData.h"

#include <list>
#include <utility>

namespace Tool {

using namespace Data;

namespace {

constexpr int openers = 4;
constexpr int openerStride = eDataTagDoorOpener2Type - eDataTagDoorOpener1Type;
constexpr int cameraStride = eDataTagCamera2Name - eDataTagCamera1Name;

eDataTag offset(eDataTag first, int distance)
{
    return static_cast<eDataTag>(first + distance);
}

/// A ranked table: its choices and hardware flags, one run of tags each.
struct Ranked {
    eDataTag table, firstCell, lastCell, choice, flag;
    int rows;
};

constexpr Ranked rankedTables[]{
    {eDataTagCodecSettings, eDataTagCodecType1, eDataTagCodecPacketSize4, eDataTagCodecType1, eDataTagCodecHardwareAllowed0,
     4},
    {eDataTagSRTPEncryptionSettings, eDataTagSRTPEncryptionMethod1, eDataTagSRTPEncryptionAllowed5,
     eDataTagSRTPEncryptionMethod1, eDataTagSRTPEncryptionHardwareAllowed1, 5},
    {eDataTagHeadsetPriorities, eDataTagHeadsetType1, eDataTagHeadsetAllowed3, eDataTagHeadsetType1,
     eDataTagHeadsetHardwareAllowed1, 3},
};

/// The telephone as the management source sees it; the verdicts that it wants to keep are caught here.
class Observer : public DataOCMSCallback {
public:
    explicit Observer(ServiceValues const& service) : m_service(service) {}

    void ocmsCBGetDataValues(DataTagValue_t& values) override
    {
        for (auto& [tag, text] : values) {
            text = textOf(knownValue(tag, m_service));
            // The catalogue's placeholder would make the source ask the service, which keeps a journal of being asked.
            if (tag == eDataTagSoftwareType && text == "software-type")
                text.clear();
        }
    }

    bool ocmsCBSetDataValues(DataTagValue_t const& values, DataTagValue_t&) override
    {
        verdicts.insert(values.begin(), values.end());
        return true;
    }

    void ocmsCBResetToDefault() override {}

    DataTagValue_t verdicts;

private:
    ServiceValues const& m_service;
};

/// The one thing that is missing. The rules themselves are the library's.
std::string whyHidden(Ranked const& table, int choice, bool isEntryModel)
{
    switch (table.table) {
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

std::map<eDataTag, Json> cameraLinks(ValueOf const& valueOf)
{
    bool runs = false;
    std::map<int, std::pair<int, Json>> shownBy; // by camera: opener and its phone number; the highest opener wins
    for (int opener = 1; opener <= openers; ++opener) {
        int const first = (opener - 1) * openerStride;
        auto const phone = valueOf(offset(eDataTagDoorOpener1PhoneNumber, first));
        auto const camera = valueOf(offset(eDataTagDoorOpener1DirectVideo, first));
        if (!phone.is_string() || !camera.is_number_integer())
            continue;
        runs = runs || phone != Json("") || camera != Json(0);
        shownBy[camera.get<int>()] = {opener, phone};
    }
    std::map<eDataTag, Json> links;
    for (int camera = 1; runs && camera <= openers; ++camera) {
        int const first = (camera - 1) * cameraStride;
        auto const shown = shownBy.find(camera);
        links[offset(eDataTagCamera1DoorOpener, first)] = shown == shownBy.end() ? Json(0) : Json(shown->second.first);
        links[offset(eDataTagCamera1PhoneNumber, first)] = shown == shownBy.end() ? Json("") : shown->second.second;
    }
    return links;
}

int toneType(bool asRinger, bool toneAllowed)
{
    return asRinger ? (toneAllowed ? 2 : 3) : (toneAllowed ? 1 : 0);
}

std::optional<RingerRule> ringerRuleOf(eDataTag cell)
{
    static std::map<eDataTag, std::pair<eDataTag, Json>> const columns{
        {eDataTagAlertType0, {eDataTagNone, 0}},
        {eDataTagAlertDuration0, {eDataTagNone, 60}},
        {eDataTagRingerMelody0, {eDataTagRingerMelody, 2}},
        {eDataTagRingerTone0, {eDataTagRingerToneSequence, 2}},
        {eDataTagRingerFile0, {eDataTagRingerAudioFile, ""}}};
    constexpr int rows = eDataTagAlertIdentifier14 - eDataTagAlertIdentifier0 + 1;
    int const row = (cell - eDataTagAlertIdentifier0) % rows;
    auto const column = columns.find(offset(cell, -row));
    if (cell < eDataTagAlertIdentifier0 || column == columns.end())
        return std::nullopt;
    return RingerRule{offset(eDataTagAlertIdentifier0, row), column->second.first, column->second.second};
}

std::map<eDataTag, Verdict> hardwareVerdicts(Workbench& workbench)
{
    auto const service = serviceValues(workbench);
    Observer observer(service);
    NoServices none;
    DataSourceOCMS source(none, eDataComponentMedia, {}, {allTags().begin(), allTags().end()}, &observer, nullptr);
    ManageableData asked;
    for (auto const tag : allTags()) {
        auto const& row = DataSourceOCMS::dataOCMSDescriptionTable[tag];
        if (row.item && row.subItem)
            asked.populate(*row.item, *row.subItem);
    }
    workbench.quietly([&] { return source.getData(asked); });
    bool const isEntryModel = workbench.platform().deviceProfile().model == Host::DeviceProfile::Model::entry;
    std::map<eDataTag, Verdict> result;
    for (auto const& table : rankedTables) {
        for (int index = 0; index < table.rows; ++index) {
            auto const flag = offset(table.flag, index);
            auto const verdict = observer.verdicts.find(flag);
            auto const choice = table.table == eDataTagCodecSettings
                                    ? index
                                    : readValue(offset(table.choice, index)).value_or(Json(0)).get<int>();
            if (verdict != observer.verdicts.end() && verdict->second != "true")
                result[flag] = {false, whyHidden(table, choice, isEntryModel)};
            else
                result[flag] = {};
        }
    }
    return result;
}

eDataTag hardwareFlagOf(eDataTag cell, ValueOf const& valueOf)
{
    for (auto const& table : rankedTables) {
        if (cell < table.firstCell || cell > table.lastCell)
            continue;
        int const row = (cell - table.firstCell) % table.rows;
        return offset(table.flag,
                      table.table == eDataTagCodecSettings ? valueOf(offset(table.choice, row)).get<int>() : row);
    }
    return eDataTagNone;
}

} // namespace Tool

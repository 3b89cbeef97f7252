// The rules between the items of the door openers and those of the cameras.
#include "DataSourceDBTables/DataTableDoorOpenerTypeDependentTags.h"

#include "ClientUtils.h"
#include "DataSourceDBTables/TableCells.h"
#include "Media/MediaDataCache.h"

#include <utility>

namespace Data {

using DoorOpenerTable = DataSourceDB::DataTableHandler::DataTableDoorOpenerTypeDependentTags;

namespace {

constexpr int itemsPerOpener = eDataTagDoorOpener2Type - eDataTagDoorOpener1Type;
constexpr int itemsPerCamera = eDataTagCamera2Name - eDataTagCamera1Name;

/// An item of opener or camera `number`, counted from 0, given that of the first.
constexpr eDataTag openerTag(eDataTag first, std::size_t number)
{
    return cellTag(first, static_cast<int>(number) * itemsPerOpener);
}

constexpr eDataTag cameraTag(eDataTag first, std::size_t number)
{
    return cellTag(first, static_cast<int>(number) * itemsPerCamera);
}

/// What an opener that is switched off returns to, save its name. The emptied path is required, although the catalogue's
/// default is "0".
constexpr std::array<std::pair<eDataTag, char const*>, 12> neutralTexts{{{eDataTagDoorOpener1Method, "1"},
                                                                         {eDataTagDoorOpener1PhoneNumber, ""},
                                                                         {eDataTagDoorOpener1Address, ""},
                                                                         {eDataTagDoorOpener1Port, "0"},
                                                                         {eDataTagDoorOpener1Username, ""},
                                                                         {eDataTagDoorOpener1Password, ""},
                                                                         {eDataTagDoorOpener1Path, ""},
                                                                         {eDataTagDoorOpener1UrlParameters, ""},
                                                                         {eDataTagDoorOpener1Pin, ""},
                                                                         {eDataTagDoorOpener1FpkConfirmation, "true"},
                                                                         {eDataTagDoorOpener1DirectVideo, "0"},
                                                                         {eDataTagDoorOpener1AutomaticVideo, "false"}}};

/// The record of number i serves as opener i's and as camera i's.
struct DoorOpenerCamera {
    int doorOpener = 0;      ///< camera: the opener that shows it, 0 for none
    int camera = 0;          ///< opener: the camera that it shows, 0 for none
    std::string openerPhone; ///< opener: its phone number
    std::string cameraPhone; ///< camera: the phone number of the opener that shows it
};

template <class T, std::size_t count> void readOpeners(std::array<T, count>& remembered, eDataTag first)
{
    for (std::size_t opener = 0; opener < count; ++opener)
        Media::MediaDataCache::getData(openerTag(first, opener), remembered[opener]);
}

/// True when `value` is news.
template <class T> bool replace(T& remembered, T value)
{
    return std::exchange(remembered, value) != value;
}

} // namespace

DoorOpenerTable::DataTableDoorOpenerTypeDependentTags() : DataTable(eDataTagDoorOpeners, eDataTagDoorOpener4AutomaticVideo)
{
    readOpeners(m_directVideo, eDataTagDoorOpener1DirectVideo);
    readOpeners(m_type, eDataTagDoorOpener1Type);
    readOpeners(m_phoneNumber, eDataTagDoorOpener1PhoneNumber);
}

bool DoorOpenerTable::processReadData(DataTagValue_t& values, bool /*clearFiles*/)
{
    return checkTableData(values, values) != 0;
}

int DoorOpenerTable::checkTableData(DataTagValue_t& values, DataTagValue_t& /*toStore*/)
{
    std::array<bool, openerCount> cleared{};
    bool const changed = remember(values, cleared);
    for (std::size_t opener = 0; opener < openerCount; ++opener)
        if (cleared[opener])
            clearOpener(values, opener);
    if (changed)
        updateDirectVideoTags(values);
    return eTableStoreCells;
}

bool DoorOpenerTable::remember(DataTagValue_t const& values, std::array<bool, openerCount>& cleared)
{
    bool changed = false;
    auto const end = values.lower_bound(eDataTagDoorOpener4AutomaticVideo);
    for (auto entry = values.lower_bound(eDataTagDoorOpener1Type); entry != end; ++entry) {
        auto const& [tag, text] = *entry;
        auto const opener = static_cast<std::size_t>((tag - eDataTagDoorOpener1Type) / itemsPerOpener);
        switch (cellTag(tag, -static_cast<int>(opener) * itemsPerOpener)) {
        case eDataTagDoorOpener1Type:
            if (replace(m_type[opener], ClientUtils::stoi(text)) && m_type[opener] == 0) {
                cleared[opener] = true;
                changed = true;
            }
            break;
        case eDataTagDoorOpener1PhoneNumber:
            changed |= replace(m_phoneNumber[opener], text);
            break;
        case eDataTagDoorOpener1DirectVideo:
            changed |= replace(m_directVideo[opener], ClientUtils::stoi(text));
            // The carry-over of opener 3's camera into what is remembered of opener 4 is required.
            if (opener == 2)
                changed |= replace(m_directVideo[3], ClientUtils::stoi(text));
            break;
        default:
            break;
        }
    }
    return changed;
}

void DoorOpenerTable::clearOpener(DataTagValue_t& values, std::size_t opener)
{
    values[openerTag(eDataTagDoorOpener1Name, opener)] = "DoorOpener " + ClientUtils::itos(static_cast<int>(opener) + 1);
    for (auto const& [first, text] : neutralTexts)
        values[openerTag(first, opener)] = text;
}

void DoorOpenerTable::updateDirectVideoTags(DataTagValue_t const& values)
{
    std::array<DoorOpenerCamera, openerCount> records;
    for (std::size_t opener = 0; opener < openerCount; ++opener) {
        auto& record = records[opener];
        record.openerPhone = cellText(values, openerTag(eDataTagDoorOpener1PhoneNumber, opener));
        record.camera = ClientUtils::stoi(cellText(values, openerTag(eDataTagDoorOpener1DirectVideo, opener)));
    }
    // Ascending, so that the highest of several openers of one camera wins.
    for (std::size_t opener = 0; opener < openerCount; ++opener) {
        auto const& record = records[opener];
        if (record.camera < 1 || record.camera > static_cast<int>(openerCount))
            continue;
        auto& camera = records[static_cast<std::size_t>(record.camera) - 1];
        camera.doorOpener = static_cast<int>(opener) + 1;
        camera.cameraPhone = record.openerPhone;
    }
    for (std::size_t camera = 0; camera < openerCount; ++camera)
        Media::MediaDataCache::setData(cameraTag(eDataTagCamera1DoorOpener, camera), records[camera].doorOpener, false);
    for (std::size_t camera = 0; camera < openerCount; ++camera)
        Media::MediaDataCache::setData(cameraTag(eDataTagCamera1PhoneNumber, camera), records[camera].cameraPhone, false);
}

} // namespace Data

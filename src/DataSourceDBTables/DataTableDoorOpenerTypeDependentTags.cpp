// The rules between the items of the door openers and those of the cameras.
#include "Data/DataTableDoorOpenerTypeDependentTags.h"

#include "ClientUtils.h"
#include "Data/DataItemBuilder.h"
#include "Media/MediaDataCache.h"
#include "Tables/Rules.h"
#include "Tables/Tables.h"

#include <utility>

namespace Data {

using DoorOpenerTable = DataSourceDB::DataTableHandler::DataTableDoorOpenerTypeDependentTags;

using Tables::cameras;
using Tables::doorOpeners;

namespace {

constexpr eDataTag openerTag(eDataTag first, std::size_t opener)
{
    return doorOpeners.cell(first, opener);
}

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

DoorOpenerTable::DataTableDoorOpenerTypeDependentTags() : DataTable(doorOpeners.tag, doorOpeners.last)
{
    static_assert(openerCount == doorOpeners.rows, "openerCount is not the number of door openers");
    readOpeners(m_memory.directVideo, eDataTagDoorOpener1DirectVideo);
    readOpeners(m_memory.type, eDataTagDoorOpener1Type);
    readOpeners(m_memory.phoneNumber, eDataTagDoorOpener1PhoneNumber);
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
    if (std::exchange(m_hasStaleLinks, false) || changed)
        updateDirectVideoTags(values);
    return eTableStoreCells;
}

bool DoorOpenerTable::remember(DataTagValue_t const& values, std::array<bool, openerCount>& cleared)
{
    bool changed = false;
    auto const end = values.upper_bound(doorOpeners.last);
    for (auto entry = values.lower_bound(doorOpeners.first); entry != end; ++entry) {
        auto const& [tag, text] = *entry;
        auto const opener = static_cast<std::size_t>(doorOpeners.rowOf(tag));
        switch (doorOpeners.columnOf(tag)) {
        case eDataTagDoorOpener1Type:
            if (replace(m_memory.type[opener], ClientUtils::stoi(text)) && m_memory.type[opener] == 0) {
                cleared[opener] = true;
                changed = true;
            }
            break;
        case eDataTagDoorOpener1PhoneNumber:
            changed |= replace(m_memory.phoneNumber[opener], text);
            break;
        case eDataTagDoorOpener1DirectVideo:
            changed |= replace(m_memory.directVideo[opener], ClientUtils::stoi(text));
            // The carry-over of opener 3's camera into what is remembered of opener 4 is required.
            if (opener == 2)
                changed |= replace(m_memory.directVideo[3], ClientUtils::stoi(text));
            break;
        default:
            break;
        }
    }
    return changed;
}

void DoorOpenerTable::clearOpener(DataTagValue_t& values, std::size_t opener)
{
    for (Tables::Column const& column : doorOpeners.columns) {
        if (column.first == eDataTagDoorOpener1Type)
            continue;
        eDataTag const tag = openerTag(column.first, opener);
        // The emptied path is required, although the catalogue's default is "0".
        values[tag] =
            column.first == eDataTagDoorOpener1Path ? "" : DataCache::DataItemBuilder::dataItemDefaultTable[tag].value.text;
    }
}

void DoorOpenerTable::updateDirectVideoTags(DataTagValue_t const& values)
{
    Tables::CameraLinks const links = Tables::linkCameras(values);
    for (std::size_t camera = 0; camera < links.size(); ++camera)
        Media::MediaDataCache::setData(cameras.cell(eDataTagCamera1DoorOpener, camera), links[camera].opener, false);
    for (std::size_t camera = 0; camera < links.size(); ++camera)
        Media::MediaDataCache::setData(cameras.cell(eDataTagCamera1PhoneNumber, camera), links[camera].phone, false);
}

} // namespace Data

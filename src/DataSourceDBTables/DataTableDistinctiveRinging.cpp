// The distinctive ringing table: its data, and how it keeps in step with the general ringer settings.
#include "DataSourceDBTables/DataTableDistinctiveRinging.h"

#include "ClientUtils.h"
#include "DataItemBuilder/NameTable.h"
#include "DataSourceDBTables/TableCells.h"
#include "Media/MediaDataCache.h"

#include <array>
#include <iostream>
#include <utility>

namespace Data {

using RingingTable = DataSourceDB::DataTableHandler::DataTableDistinctiveRinging;

namespace {

constexpr int lastRow = 14;

constexpr std::array columns{
    XmlColumn{addressOf(Name::dasDistinctiveRingerIndex), eDataTagNone, CellForm::rowIndex},
    XmlColumn{addressOf(Name::dasDistinctiveAlertIdentifier), eDataTagAlertIdentifier0, CellForm::escaped},
    XmlColumn{addressOf(Name::dasDistinctiveAlertType), eDataTagAlertType0},
    XmlColumn{addressOf(Name::dasDistinctiveRingerMelody), eDataTagRingerMelody0},
    XmlColumn{addressOf(Name::dasDistinctiveRingerTone), eDataTagRingerTone0},
    XmlColumn{addressOf(Name::dasDistinctiveAlertRingerFile), eDataTagRingerFile0, CellForm::escaped},
    XmlColumn{addressOf(Name::dasDistinctiveAlertDuration), eDataTagAlertDuration0},
};

// Rows name themselves, and no element stands around them.
constexpr XmlLayout layout{.schema = nullptr, .columns = columns, .entryBeginsRow = false};

template <class T> T ringerSetting(eDataTag tag, T const& fallback)
{
    T value = fallback;
    return Media::MediaDataCache::getData(tag, value) ? value : fallback;
}

} // namespace

RingingTable::DataTableDistinctiveRinging()
    : XmlTable(eDataTagDistinctiveRinging, cellTag(eDataTagRingerFile0, lastRow), layout)
{}

void RingingTable::initializeIndexMax()
{
    m_indexMax = lastRow;
}

bool RingingTable::processReadData(DataTagValue_t& values, bool clearFiles)
{
    xmlToTableItems(values, clearFiles);
    return true;
}

void RingingTable::xmlToTableItems(DataTagValue_t& values, bool clearFiles)
{
    if (!values.contains(m_firstTag))
        return;
    if (clearFiles)
        for (auto cell = values.lower_bound(eDataTagRingerFile0); cell != values.end() && cell->first <= m_lastTag; ++cell)
            cell->second.clear();
    parse(values);
}

bool RingingTable::updateDefaultValues(DataTagValue_t& values)
{
    std::string const melody = ClientUtils::itos(ringerSetting(eDataTagRingerMelody, 2));
    std::string const file = ringerSetting(eDataTagRingerAudioFile, std::string());
    std::string const tone = ClientUtils::itos(ringerSetting(eDataTagRingerToneSequence, 2));
    std::array<std::pair<eDataTag, std::string>, 5> const general{{{eDataTagAlertType0, "0"},
                                                                   {eDataTagRingerMelody0, melody},
                                                                   {eDataTagRingerTone0, tone},
                                                                   {eDataTagRingerFile0, file},
                                                                   {eDataTagAlertDuration0, "60"}}};
    bool changed = false;
    for (int row = 0; row <= lastRow; ++row) {
        if (!values[cellTag(eDataTagAlertIdentifier0, row)].empty())
            continue;
        for (auto const& [column, text] : general) {
            std::string& cell = values[cellTag(column, row)];
            if (cell != text) {
                cell = text;
                changed = true;
            }
        }
    }
    return changed;
}

int RingingTable::checkTableData(DataTagValue_t& values, DataTagValue_t& toStore)
{
    bool const changed = updateDefaultValues(values);
    tableItemsToXml(values);
    moveText(values, toStore);
    return changed ? eTableCorrected : eTableValid;
}

bool RingingTable::tableItemsToXml(DataTagValue_t& values)
{
    if (m_indexMax == 0) {
        std::cout << "; ERR distinctive ringing table doesn't have properly indexed items?" << std::endl;
        return false;
    }
    return buildText(values);
}

} // namespace Data

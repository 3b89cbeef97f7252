// The ranked tables on their way between the management service and the cache. On the way in, a table that was sent in part
// is completed and brought into rank order; on the way out, the rows that this telephone cannot use are hidden. What differs
// between the three tables are their descriptions and three rows of words.
#include "Data/DataSourceOCMS.h"

#include "Data/DataNames.h"
#include "Data/RankedTables.h"
#include "Log.h"
#include "Tables/Rules.h"

#include "ClientUtils.h"
#include "HardwareVersion.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace Data {

namespace {

constexpr char const* unit = "./src/DataSourceOCMS";

using Tables::cellTag;
using Tables::cellText;
using Tables::Role;
using HardwareRule = bool (*)(unsigned int type, unsigned int index, DataTagValue_t& side);

constexpr Tables::Device thisDevice{HardwareVersion::is_TL20, HardwareVersion::is_TL70, HardwareVersion::is_USBSupported};

bool keepVerdict(Tables::Table const& table, unsigned int choice, unsigned int row, DataTagValue_t& side)
{
    bool const allowed = Tables::canUse(table, static_cast<int>(choice), side, thisDevice);
    side[Tables::hardwareFlagOf(table, static_cast<int>(row), static_cast<int>(choice))] = ClientUtils::btos(allowed);
    return allowed;
}

bool codecAllowed(unsigned int type, unsigned int index, DataTagValue_t& side)
{
    return keepVerdict(Tables::codecs, type, index, side);
}

bool encryptionAllowed(unsigned int method, unsigned int index, DataTagValue_t& side)
{
    bool const allowed = keepVerdict(Tables::encryptions, method, index, side);
    // The server type was not fetched for this table and therefore shows as empty.
    LOG_AT(unit, 5, "SRTP method: %d, index %d, software type %s, server type %s, hw allowed: %d", static_cast<int>(method),
           static_cast<int>(index), cellText(side, eDataTagSoftwareType).c_str(), cellText(side, eDataTagServerType).c_str(),
           static_cast<int>(allowed));
    return allowed;
}

bool headsetAllowed(unsigned int type, unsigned int index, DataTagValue_t& side)
{
    bool const allowed = keepVerdict(Tables::headsets, type, index, side);
    LOG_AT(unit, 5, "Headset type: %d, index %d, hw allowed: %d", static_cast<int>(type), static_cast<int>(index),
           static_cast<int>(allowed));
    return allowed;
}

/// The columns of a table by their first tags. Exchanging rows moves a type with its allowed flag only.
struct Columns {
    eDataTag type;
    eDataTag rank;
    eDataTag allowed;
    eDataTag extra; ///< None: no further column

    template <class Action> void forEach(std::size_t row, Action action) const
    {
        for (eDataTag const column : {type, rank, allowed, extra}) {
            if (column != eDataTagNone)
                action(cellTag(column, row));
        }
    }

    void addEmptyRow(DataTagValue_t& values, std::size_t row) const
    {
        forEach(row, [&values](eDataTag tag) { values.try_emplace(tag); });
    }

    void removeRow(DataTagValue_t& values, std::size_t row) const
    {
        forEach(row, [&values](eDataTag tag) { values.erase(tag); });
    }

    /// Exchanges with the texts also which of the two rows has the cell at all, so that no empty text is invented.
    void exchange(DataTagValue_t& values, std::size_t a, std::size_t b) const
    {
        for (eDataTag const column : {type, allowed}) {
            auto first = values.extract(cellTag(column, a));
            auto second = values.extract(cellTag(column, b));
            if (first) {
                first.key() = cellTag(column, b);
                values.insert(std::move(first));
            }
            if (second) {
                second.key() = cellTag(column, a);
                values.insert(std::move(second));
            }
        }
    }
};

} // namespace

struct ManagedTable {
    Tables::Table const& table;
    char const* setOperation;
    char const* getOperation;
    char const* name;
    void (*sortByRank)(DataTagValue_t&, int);
    HardwareRule rule;
    bool readsSoftwareTypeLive; ///< asks the service while the cache has only the placeholder
};

namespace {

constexpr ManagedTable codecs{
    Tables::codecs, "processRequestToSetCodecs", "processRequestToGetCodecs", "codec", Utils::sortCodecsByRank, codecAllowed,
    false,
};

constexpr ManagedTable encryptions{
    Tables::encryptions,
    "processRequestToSetEncryption",
    "processRequestToGetEncryption",
    "SRTP encryption method",
    Utils::sortSRTPEncryptionsByRank,
    encryptionAllowed,
    true,
};

constexpr ManagedTable headsets{
    Tables::headsets,
    "processRequestToSetHeadsetPriority",
    "processRequestToGetHeadsetPriority",
    "headset type",
    Utils::sortHeadsetsByRank,
    headsetAllowed,
    false,
};

/// The column of which management sets one value for all rows; None where there is none.
eDataTag extraColumn(Tables::Table const& table)
{
    auto const found = std::ranges::find(table.columns, true, &Tables::Column::isOneForAll);
    return found == table.columns.end() ? eDataTagNone : found->first;
}

/// The sort trusts its callers to have checked the ranks. With a bad one the rows stay as sent, so that the cell's own
/// validator can refuse it by name.
bool canBeSorted(DataTagValue_t const& values, eDataTag rankTag, std::size_t count)
{
    for (std::size_t row = 0; row < count; ++row) {
        auto const rank = values.find(cellTag(rankTag, row));
        if (rank == values.end())
            continue;
        int const number = ClientUtils::stoi(rank->second);
        if (number < 1 || static_cast<std::size_t>(number) > count)
            return false;
    }
    return true;
}

/// For each row of the cache's table whether a requested type may take it: the types left out hold theirs.
std::vector<bool> findFreeRows(char const* name, DataTagValue_t const& current, eDataTag typeTag,
                               std::vector<bool> const& requested)
{
    std::size_t const count = requested.size();
    std::vector<bool> isFree(count, true);
    for (std::size_t type = 0; type < count; ++type) {
        if (requested[type])
            continue;
        std::string const text = ClientUtils::itos(static_cast<int>(type));
        for (std::size_t row = 0; row < count; ++row) {
            if (cellText(current, cellTag(typeTag, row)) != text)
                continue;
            isFree[row] = false;
            LOG_AT(unit, 6, "%s %u (normally at index %zu) is not present in data for set", name,
                   static_cast<unsigned int>(type), row);
            break;
        }
    }
    return isFree;
}

/// The requested rows stand at the top, `present` of them in rank order: moves them down into the free rows, last one first.
void spreadRows(char const* name, DataTagValue_t& values, Columns const& columns, std::vector<bool> const& isFree,
                std::size_t present)
{
    std::size_t source = present;
    for (std::size_t row = isFree.size(); row-- > 0 && source > 0;) {
        if (!isFree[row])
            continue;
        --source;
        if (row == source)
            continue;
        columns.exchange(values, row, source);
        values[cellTag(columns.rank, row)] = ClientUtils::itos(static_cast<int>(row + 1));
        values[cellTag(columns.rank, source)] = ClientUtils::itos(static_cast<int>(source + 1));
        // The texts as they stand after the exchange.
        LOG_AT(unit, 6, "processTableForSet: swapping %s '%s' and '%s' at indices %u and %u", name,
               cellText(values, cellTag(columns.type, row)).c_str(), cellText(values, cellTag(columns.type, source)).c_str(),
               static_cast<unsigned int>(row), static_cast<unsigned int>(source));
    }
}

} // namespace

void DataSourceOCMS::processTableForSet(DataTagValue_t& values, char const* name, void (*sortByRank)(DataTagValue_t&, int),
                                        std::size_t count, eDataTag typeTag, eDataTag rankTag, eDataTag allowedTag, eDataTag,
                                        eDataTag extraTag)
{
    LOG_AT(unit, 6,
           "void Data::DataSourceOCMS::processTableForSet(Data::DataTagValue_t&, const char*, "
           "void (*)(Data::DataTagValue_t&, int), size_t, Data::eDataTag, Data::eDataTag, Data::eDataTag, "
           "Data::eDataTag, Data::eDataTag)");
    Columns const columns{typeTag, rankTag, allowedTag, extraTag};
    if (canBeSorted(values, rankTag, count))
        sortByRank(values, static_cast<int>(count));

    DataTagValue_t current;
    std::vector<bool> requested(count, false);
    std::size_t present = 0;
    for (std::size_t row = 0; row < count; ++row) {
        columns.addEmptyRow(current, row);
        auto const sent = values.find(cellTag(typeTag, row));
        if (sent == values.end()) {
            columns.addEmptyRow(values, row);
            continue;
        }
        ++present;
        // The cell's validator refuses a type that no table has; here it only must not reach beyond the flags.
        if (int const type = ClientUtils::stoi(sent->second); type >= 0 && static_cast<std::size_t>(type) < count)
            requested[static_cast<std::size_t>(type)] = true;
    }
    m_cache->ocmsCBGetDataValues(current);

    spreadRows(name, values, columns, findFreeRows(name, current, typeTag, requested), present);
    for (std::size_t row = 0; row < count; ++row) {
        if (!cellText(values, cellTag(typeTag, row)).empty())
            continue;
        for (eDataTag const column : {typeTag, rankTag, allowedTag})
            values[cellTag(column, row)] = current[cellTag(column, row)];
    }
}

void DataSourceOCMS::processTableForGet(DataTagValue_t& values, char const* name,
                                        bool (*hardwareAllowed)(unsigned int type, unsigned int index, DataTagValue_t& side),
                                        DataTagValue_t& side, std::size_t count, eDataTag typeTag, eDataTag rankTag,
                                        eDataTag allowedTag, eDataTag hardwareTag, eDataTag extraTag)
{
    Columns const columns{typeTag, rankTag, allowedTag, extraTag};
    std::vector<bool> isMissing(count, false);
    std::size_t kept = 0;
    for (std::size_t row = 0; row < count; ++row) {
        auto const sent = values.find(cellTag(typeTag, row));
        isMissing[row] = sent == values.end();
        if (isMissing[row]) {
            LOG_ERROR(unit, "Couldn't find %s %zu", name, row);
            continue;
        }
        auto const type = static_cast<unsigned int>(ClientUtils::stoi(sent->second)); // a negative one becomes large
        if (type >= count) {
            LOG_ERROR(unit, "Invalid %s %u at index %zu", name, type, row);
            continue;
        }
        if (!hardwareAllowed(type, static_cast<unsigned int>(row), side)) {
            sent->second.clear();
            continue;
        }
        while (isMissing[kept]) // a row without a type is left alone
            ++kept;
        if (row != kept)
            columns.exchange(values, kept, row);
        ++kept;
    }

    std::erase_if(
        side, [=](auto const& entry) { return entry.first < hardwareTag || entry.first >= cellTag(hardwareTag, count); });
    DataTagValue_t ignored;
    m_cache->ocmsCBSetDataValues(side, ignored);

    for (std::size_t row = 0; row < count; ++row) {
        std::string const type = cellText(values, cellTag(typeTag, row));
        if (!type.empty())
            LOG_AT(unit, 6, "processTableForGet: %s %s, index %zu, rank %s, allowed %s", name, type.c_str(), row,
                   cellText(values, cellTag(rankTag, row)).c_str(), cellText(values, cellTag(allowedTag, row)).c_str());
        else if (!isMissing[row])
            columns.removeRow(values, row);
    }
}

void DataSourceOCMS::completeTable(ManagedTable const& managed, DataTagValue_t& values)
{
    Tables::Table const& table = managed.table;
    eDataTag const typeTag = table.column(Role::choice);
    eDataTag const extraTag = extraColumn(table);
    if (m_cache == nullptr || !values.contains(typeTag))
        return;
    LOG_AT(unit, 6, "void Data::DataSourceOCMS::%s(Data::DataTagValue_t&)", managed.setOperation);

    auto const count = static_cast<std::size_t>(table.rows);
    auto const first = values.lower_bound(extraTag);
    bool const isExtra = first != values.end() && first->first < cellTag(extraTag, count);
    std::string const extra = isExtra ? first->second : std::string();
    processTableForSet(values, managed.name, managed.sortByRank, count, typeTag, table.column(Role::rank),
                       table.column(Role::allowed), table.column(Role::flag), extraTag);
    if (extraTag == eDataTagNone || extra.empty())
        return;
    // One packet size, the first one sent, serves all rows.
    for (std::size_t row = 0; row < count; ++row)
        values[cellTag(extraTag, row)] = extra;
}

void DataSourceOCMS::dropAddedPacketSizes(DataTagValue_t& values, DataTagValue_t const& sent)
{
    std::erase_if(values, [&sent](auto const& entry) {
        auto const& [tag, text] = entry;
        return text.empty() && !sent.contains(tag) && tag >= eDataTagCodecPacketSize1 &&
               tag < cellTag(eDataTagCodecPacketSize1, Tables::codecs.rows);
    });
}

void DataSourceOCMS::hideTableRows(ManagedTable const& managed, DataTagValue_t& values)
{
    Tables::Table const& table = managed.table;
    eDataTag const typeTag = table.column(Role::choice);
    eDataTag const hardwareTag = table.column(Role::flag);
    if (m_cache == nullptr || !values.contains(typeTag))
        return;
    LOG_AT(unit, 6, "void Data::DataSourceOCMS::%s(Data::DataTagValue_t&)", managed.getOperation);

    DataTagValue_t side;
    auto const count = static_cast<std::size_t>(table.rows);
    for (std::size_t row = 0; row < count; ++row)
        side.try_emplace(cellTag(hardwareTag, row));
    for (eDataTag const fact : Tables::factsOf(table))
        side.try_emplace(fact);
    m_cache->ocmsCBGetDataValues(side);
    // The placeholder is the item's own name.
    if (managed.readsSoftwareTypeLive && side[eDataTagSoftwareType] == ocmsSoftwareType) {
        if (std::string live; getData(eDataTagSoftwareType, live))
            side[eDataTagSoftwareType] = live;
    }
    processTableForGet(values, managed.name, managed.rule, side, count, typeTag, table.column(Role::rank),
                       table.column(Role::allowed), hardwareTag, extraColumn(table));
}

void DataSourceOCMS::processRequestToSetCodecs(DataTagValue_t& values)
{
    completeTable(codecs, values);
}

void DataSourceOCMS::processRequestToSetEncryption(DataTagValue_t& values)
{
    completeTable(encryptions, values);
}

void DataSourceOCMS::processRequestToSetHeadsetPriority(DataTagValue_t& values)
{
    completeTable(headsets, values);
}

void DataSourceOCMS::processRequestToGetCodecs(DataTagValue_t& values)
{
    hideTableRows(codecs, values);
}

void DataSourceOCMS::processRequestToGetEncryption(DataTagValue_t& values)
{
    hideTableRows(encryptions, values);
}

void DataSourceOCMS::processRequestToGetHeadsetPriority(DataTagValue_t& values)
{
    hideTableRows(headsets, values);
}

} // namespace Data

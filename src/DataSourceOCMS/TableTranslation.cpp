// The ranked tables on their way between the management service and the cache. On the way in, a table that was sent in part
// is completed and brought into rank order; on the way out, the rows that this telephone cannot use are hidden. What differs
// between the three tables stands in three rows of data, with the hardware rules above them.
#include "DataSourceOCMS/DataSourceOCMS.h"

#include "Data/DataNames.h"
#include "Data/RankedTables.h"
#include "Log.h"

#include "ClientUtils.h"
#include "HardwareVersion.h"

#include <span>
#include <utility>
#include <vector>

namespace Data {

namespace {

constexpr char const* unit = "./src/DataSourceOCMS";

/// The software type whose servers know every codec and every encryption method.
constexpr char const* fullServer = "Norvane SIP";

using HardwareRule = bool (*)(unsigned int type, unsigned int index, DataTagValue_t& side);

eDataTag cell(eDataTag column, std::size_t row)
{
    return static_cast<eDataTag>(static_cast<std::size_t>(column) + row);
}

std::string textOf(DataTagValue_t const& values, eDataTag tag)
{
    auto const found = values.find(tag);
    return found == values.end() ? std::string() : found->second;
}

bool codecVerdict(unsigned int type, DataTagValue_t& side)
{
    switch (type) {
    case 3:
        if (side[eDataTagOpusTest] == "true")
            return true;
        return !HardwareVersion::is_TL20() &&
               (side[eDataTagSoftwareType] == fullServer || side[eDataTagSystemIdentifier] == "2");
    case 1:
        return !HardwareVersion::is_TL20();
    default:
        return true;
    }
}

/// The verdict belongs to the codec, not to its row: the other two tables keep theirs by row.
bool codecAllowed(unsigned int type, unsigned int, DataTagValue_t& side)
{
    bool const allowed = codecVerdict(type, side);
    side[cell(eDataTagCodecHardwareAllowed0, type)] = ClientUtils::btos(allowed);
    return allowed;
}

bool encryptionAllowed(unsigned int method, unsigned int index, DataTagValue_t& side)
{
    bool const isLimited = method >= 2 && method <= 4 && side[eDataTagSoftwareType] != fullServer;
    bool const allowed = !isLimited || side[eDataTagAes256Test] == "true";
    // The server type was not fetched for this table and therefore shows as empty.
    LOG_AT(unit, 5, "SRTP method: %d, index %d, software type %s, server type %s, hw allowed: %d", static_cast<int>(method),
           static_cast<int>(index), side[eDataTagSoftwareType].c_str(), side[eDataTagServerType].c_str(),
           static_cast<int>(allowed));
    side[cell(eDataTagSRTPEncryptionHardwareAllowed1, index)] = ClientUtils::btos(allowed);
    return allowed;
}

bool headsetAllowed(unsigned int type, unsigned int index, DataTagValue_t& side)
{
    bool const allowed = type == 1 ? HardwareVersion::is_USBSupported() : type != 2 || HardwareVersion::is_TL70();
    LOG_AT(unit, 5, "Headset type: %d, index %d, hw allowed: %d", static_cast<int>(type), static_cast<int>(index),
           static_cast<int>(allowed));
    side[cell(eDataTagHeadsetHardwareAllowed1, index)] = ClientUtils::btos(allowed);
    return allowed;
}

constexpr eDataTag codecFacts[] = {eDataTagServerType, eDataTagSystemIdentifier, eDataTagSoftwareType, eDataTagOpusTest};
constexpr eDataTag encryptionFacts[] = {eDataTagSoftwareType, eDataTagAes256Test};

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
                action(cell(column, row));
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
            auto first = values.extract(cell(column, a));
            auto second = values.extract(cell(column, b));
            if (first) {
                first.key() = cell(column, b);
                values.insert(std::move(first));
            }
            if (second) {
                second.key() = cell(column, a);
                values.insert(std::move(second));
            }
        }
    }
};

} // namespace

struct ManagedTable {
    char const* setOperation;
    char const* getOperation;
    char const* name;
    void (*sortByRank)(DataTagValue_t&, int);
    std::size_t count;
    Columns columns;
    eDataTag hardware;
    HardwareRule rule;
    std::span<eDataTag const> facts; ///< what the rule reads beside the hardware column
    bool readsSoftwareTypeLive;      ///< asks the service while the cache has only the placeholder
};

namespace {

constexpr ManagedTable codecs{
    "processRequestToSetCodecs",
    "processRequestToGetCodecs",
    "codec",
    Utils::sortCodecsByRank,
    4,
    {eDataTagCodecType1, eDataTagCodecRank1, eDataTagCodecAllowed1, eDataTagCodecPacketSize1},
    eDataTagCodecHardwareAllowed0,
    codecAllowed,
    codecFacts,
    false,
};

constexpr ManagedTable encryptions{
    "processRequestToSetEncryption",
    "processRequestToGetEncryption",
    "SRTP encryption method",
    Utils::sortSRTPEncryptionsByRank,
    5,
    {eDataTagSRTPEncryptionMethod1, eDataTagSRTPEncryptionRank1, eDataTagSRTPEncryptionAllowed1, eDataTagNone},
    eDataTagSRTPEncryptionHardwareAllowed1,
    encryptionAllowed,
    encryptionFacts,
    true,
};

constexpr ManagedTable headsets{
    "processRequestToSetHeadsetPriority",
    "processRequestToGetHeadsetPriority",
    "headset type",
    Utils::sortHeadsetsByRank,
    3,
    {eDataTagHeadsetType1, eDataTagHeadsetRank1, eDataTagHeadsetAllowed1, eDataTagNone},
    eDataTagHeadsetHardwareAllowed1,
    headsetAllowed,
    {},
    false,
};

/// The sort trusts its callers to have checked the ranks. With a bad one the rows stay as sent, so that the cell's own
/// validator can refuse it by name.
bool canBeSorted(DataTagValue_t const& values, eDataTag rankTag, std::size_t count)
{
    for (std::size_t row = 0; row < count; ++row) {
        auto const rank = values.find(cell(rankTag, row));
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
            if (textOf(current, cell(typeTag, row)) != text)
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
        values[cell(columns.rank, row)] = ClientUtils::itos(static_cast<int>(row + 1));
        values[cell(columns.rank, source)] = ClientUtils::itos(static_cast<int>(source + 1));
        // The texts as they stand after the exchange.
        LOG_AT(unit, 6, "processTableForSet: swapping %s '%s' and '%s' at indices %u and %u", name,
               textOf(values, cell(columns.type, row)).c_str(), textOf(values, cell(columns.type, source)).c_str(),
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
        auto const sent = values.find(cell(typeTag, row));
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
        if (!textOf(values, cell(typeTag, row)).empty())
            continue;
        for (eDataTag const column : {typeTag, rankTag, allowedTag})
            values[cell(column, row)] = current[cell(column, row)];
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
        auto const sent = values.find(cell(typeTag, row));
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

    std::erase_if(side,
                  [=](auto const& entry) { return entry.first < hardwareTag || entry.first >= cell(hardwareTag, count); });
    DataTagValue_t ignored;
    m_cache->ocmsCBSetDataValues(side, ignored);

    for (std::size_t row = 0; row < count; ++row) {
        std::string const type = textOf(values, cell(typeTag, row));
        if (!type.empty())
            LOG_AT(unit, 6, "processTableForGet: %s %s, index %zu, rank %s, allowed %s", name, type.c_str(), row,
                   textOf(values, cell(rankTag, row)).c_str(), textOf(values, cell(allowedTag, row)).c_str());
        else if (!isMissing[row])
            columns.removeRow(values, row);
    }
}

void DataSourceOCMS::completeTable(ManagedTable const& table, DataTagValue_t& values)
{
    auto const& [typeTag, rankTag, allowedTag, extraTag] = table.columns;
    if (!values.contains(typeTag))
        return;
    LOG_AT(unit, 6, "void Data::DataSourceOCMS::%s(Data::DataTagValue_t&)", table.setOperation);

    DataTagValue_t const sent = values;
    processTableForSet(values, table.name, table.sortByRank, table.count, typeTag, rankTag, allowedTag, table.hardware,
                       extraTag);
    if (extraTag == eDataTagNone)
        return;

    // One packet size, the first one sent, serves all rows. Without one the rows left out keep theirs.
    auto const first = sent.lower_bound(extraTag);
    bool const isExtra = first != sent.end() && first->first < cell(extraTag, table.count);
    std::string const extra = isExtra ? first->second : std::string();
    for (std::size_t row = 0; row < table.count; ++row) {
        eDataTag const tag = cell(extraTag, row);
        if (!extra.empty())
            values[tag] = extra;
        else if (!sent.contains(tag))
            values.erase(tag);
    }
}

void DataSourceOCMS::hideTableRows(ManagedTable const& table, DataTagValue_t& values)
{
    auto const& [typeTag, rankTag, allowedTag, extraTag] = table.columns;
    if (!values.contains(typeTag))
        return;
    LOG_AT(unit, 6, "void Data::DataSourceOCMS::%s(Data::DataTagValue_t&)", table.getOperation);

    DataTagValue_t side;
    for (std::size_t row = 0; row < table.count; ++row)
        side.try_emplace(cell(table.hardware, row));
    for (eDataTag const fact : table.facts)
        side.try_emplace(fact);
    m_cache->ocmsCBGetDataValues(side);
    // The placeholder is the item's own name.
    if (table.readsSoftwareTypeLive && side[eDataTagSoftwareType] == ocmsSoftwareType) {
        if (std::string live; getData(eDataTagSoftwareType, live))
            side[eDataTagSoftwareType] = live;
    }
    processTableForGet(values, table.name, table.rule, side, table.count, typeTag, rankTag, allowedTag, table.hardware,
                       extraTag);
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

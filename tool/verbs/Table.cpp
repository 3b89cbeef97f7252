#include "verbs/Table.h"

#include "workbench/Items.h"
#include "workbench/Rules.h"
#include "workbench/Workbench.h"

#include <algorithm>
#include <utility>

namespace Tool {

using namespace Data;

namespace {

constexpr char const* ringing = "ringing";

/// A column of a table: consecutive tags, one per row.
struct Column {
    char const* name;
    eDataTag first;
};

/// A table of rows by rank. The hardware verdict belongs to the type for codecs and to the row for the others.
struct RankedTable {
    char const* name;
    int rows;
    char const* typeName;
    eDataTag rank, type, allowed, hardware;
    bool hardwareByType;
    eDataTag packetSize; ///< 0: the table has no such column
};

constexpr RankedTable rankedTables[]{
    {"codec", 4, "type", eDataTagCodecRank1, eDataTagCodecType1, eDataTagCodecAllowed1, eDataTagCodecHardwareAllowed0, true,
     eDataTagCodecPacketSize1},
    {"srtp", 5, "method", eDataTagSRTPEncryptionRank1, eDataTagSRTPEncryptionMethod1, eDataTagSRTPEncryptionAllowed1,
     eDataTagSRTPEncryptionHardwareAllowed1, false, eDataTagNone},
    {"headset", 3, "type", eDataTagHeadsetRank1, eDataTagHeadsetType1, eDataTagHeadsetAllowed1,
     eDataTagHeadsetHardwareAllowed1, false, eDataTagNone},
};

/// Things of which the telephone has several, each a run of tags: field f of thing n is tag first + n * stride + f, or, for
/// fields that stand in columns, column + n.
struct Group {
    char const* name;
    char const* key;
    int firstNumber;
    int count;
    Layout layout;
    int stride; ///< 1: the tags below are the columns' first tags
    std::vector<Column> fields;
};

std::vector<Column> consecutive(eDataTag first, std::vector<char const*> const& names)
{
    std::vector<Column> columns;
    columns.reserve(names.size());
    for (auto const* const name : names)
        columns.push_back({name, static_cast<eDataTag>(first + static_cast<int>(columns.size()))});
    return columns;
}

std::vector<Group> const& groups()
{
    static std::vector<Group> const all{
        {ringing,
         "row",
         0,
         15,
         Layout::Table,
         1,
         {{"identifier", eDataTagAlertIdentifier0},
          {"type", eDataTagAlertType0},
          {"melody", eDataTagRingerMelody0},
          {"tone", eDataTagRingerTone0},
          {"duration", eDataTagAlertDuration0},
          {"file", eDataTagRingerFile0}}},
        {"door-openers", "door opener", 1, 4, Layout::Beside, eDataTagDoorOpener2Type - eDataTagDoorOpener1Type,
         consecutive(eDataTagDoorOpener1Type,
                     {"type", "name", "method", "phone number", "address", "port", "user name", "password", "path",
                      "URL parameters", "PIN", "key confirmation", "direct video", "automatic video"})},
        {"cameras", "camera", 1, 4, Layout::Beside, eDataTagCamera2Name - eDataTagCamera1Name,
         consecutive(eDataTagCamera1Name, {"name", "protocol", "address", "url", "port", "user name", "password",
                                           "door opener", "phone number"})},
    };
    return all;
}

eDataTag offset(eDataTag tag, int distance)
{
    return static_cast<eDataTag>(tag + distance);
}

Json value(Workbench& workbench, eDataTag tag)
{
    return shown(tag, readValue(tag).value_or(Json()), workbench.options().showSecrets);
}

Section ranked(Workbench& workbench, RankedTable const& table)
{
    Section section{table.name, Layout::Table, {"rank", table.typeName, "allowed", "hardware", "packet size", "row"}, {}};
    auto const verdicts = hardwareVerdicts(workbench);
    for (int row = 0; row < table.rows; ++row) {
        auto const type = value(workbench, offset(table.type, row));
        auto const verdict = verdicts.find(offset(table.hardware, table.hardwareByType ? type.get<int>() : row));
        section.rows.push_back({value(workbench, offset(table.rank, row)), type,
                                value(workbench, offset(table.allowed, row)),
                                verdict == verdicts.end() || verdict->second.allowed,
                                table.packetSize ? value(workbench, offset(table.packetSize, row)) : Json(), row + 1});
    }
    std::stable_sort(section.rows.begin(), section.rows.end(),
                     [](auto const& a, auto const& b) { return a.front() < b.front(); });
    return section;
}

Section grouped(Workbench& workbench, Group const& group)
{
    Section section{group.name, group.layout, {group.key}, {}};
    for (auto const& field : group.fields)
        section.columns.emplace_back(field.name);
    for (int thing = 0; thing < group.count; ++thing) {
        auto& row = section.rows.emplace_back();
        row.emplace_back(group.firstNumber + thing);
        for (auto const& field : group.fields)
            row.push_back(value(workbench, offset(field.first, thing * group.stride)));
    }
    return section;
}

/// Beside each door opener the name of the camera that it shows.
void addCameraNames(Workbench& workbench, Section& openers)
{
    auto const shows = std::find(openers.columns.begin(), openers.columns.end(), "direct video") - openers.columns.begin();
    constexpr int stride = eDataTagCamera2Name - eDataTagCamera1Name;
    openers.columns.emplace_back("camera");
    for (auto& row : openers.rows) {
        auto const camera = row[static_cast<std::size_t>(shows)].get<int>();
        row.push_back(camera > 0 ? value(workbench, offset(eDataTagCamera1Name, (camera - 1) * stride)) : Json());
    }
}

Section groupPickup(Workbench& workbench)
{
    return {"group-pickup",
            Layout::Pairs,
            {"as ringer", "tone allowed", "tone type", "tone interval", "settled tone type"},
            {{value(workbench, eDataTagGroupPickupAsRinger), value(workbench, eDataTagGroupPickupToneAllowed),
              value(workbench, eDataTagGroupPickupToneType), value(workbench, eDataTagGroupPickupToneInterval),
              value(workbench, eDataTagGroupPickup)}}};
}

} // namespace

std::vector<std::string> tableNames()
{
    std::vector<std::string> names;
    for (auto const& table : rankedTables)
        names.emplace_back(table.name);
    for (auto const& group : groups())
        names.emplace_back(group.name);
    names.emplace_back("group-pickup");
    return names;
}

Report table(Workbench& workbench, std::string const& name, std::string const& alert)
{
    if (!alert.empty() && name != ringing)
        return failure(exitUsage, name, "has no alert identifiers");
    for (auto const& table : rankedTables) {
        if (name == table.name)
            return {exitOk, {ranked(workbench, table)}};
    }
    for (auto const& group : groups()) {
        if (name != group.name)
            continue;
        auto section = grouped(workbench, group);
        if (name == "door-openers")
            addCameraNames(workbench, section);
        if (!alert.empty())
            std::erase_if(section.rows, [&](auto const& row) { return row[1] != Json(alert); });
        if (section.rows.empty())
            return failure(exitUnknownItem, alert, "no row of the ringing table has this alert identifier");
        return {exitOk, {std::move(section)}};
    }
    return {exitOk, {groupPickup(workbench)}};
}

} // namespace Tool

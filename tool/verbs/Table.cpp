// The table-valued settings as people read them: `table codec` and its like.
#include "verbs/Verbs.h"

#include "workbench/Items.h"
#include "workbench/Meanings.h"
#include "workbench/Rules.h"
#include "workbench/Workbench.h"

#include "Tables/Labels.h"
#include "Tables/Rules.h"

#include <algorithm>
#include <utility>

namespace Tool::Verbs {

using namespace Data;

namespace {

struct TableOptions {
    std::string name;
    std::string alert; ///< of the ringing table: only the row that a call with this alert identifier rings by
};

using Tables::Role;

/// How a table without ranks is shown.
struct Listing {
    Tables::Table const& table;
    char const* key;
    int firstNumber;
    Layout layout;
    std::vector<eDataTag> columns = {}; ///< by their first cells; empty: as they are described
};

std::vector<Listing> const& listings()
{
    static std::vector<Listing> const all{
        {Tables::ringing,
         "row",
         0,
         Layout::Table,
         {eDataTagAlertIdentifier0, eDataTagAlertType0, eDataTagRingerMelody0, eDataTagRingerTone0, eDataTagAlertDuration0,
          eDataTagRingerFile0}},
        {Tables::doorOpeners, "door opener", 1, Layout::Beside},
        {Tables::cameras, "camera", 1, Layout::Beside},
    };
    return all;
}

Json value(Workbench& workbench, eDataTag tag)
{
    return shown(tag, readValue(tag).value_or(Json()), workbench.options().showSecrets);
}

bool hasNames(eDataTag column)
{
    return !namesOfNumbers(column).empty();
}

Section ranked(Workbench& workbench, Tables::Table const& table)
{
    auto const& choices = *table.find(Role::choice);
    auto const sizes = std::ranges::find(table.columns, true, &Tables::Column::isOneForAll);
    Section section{Tables::shortNameOf(table),
                    Layout::Table,
                    {"rank", Tables::labelOf(choices), "means", "allowed", "hardware", "packet size", "row"},
                    {}};
    auto const verdicts = hardwareVerdicts(workbench);
    for (int row = 0; row < table.rows; ++row) {
        auto const at = [&](eDataTag column) { return value(workbench, table.cell(column, row)); };
        auto const choice = at(choices.first);
        auto const verdict = verdicts.find(Tables::hardwareFlagOf(table, row, choice.get<int>()));
        section.rows.push_back({at(table.column(Role::rank)), choice, nameOfValue(choices.first, choice),
                                at(table.column(Role::allowed)), verdict == verdicts.end() || verdict->second.allowed,
                                sizes != table.columns.end() ? at(sizes->first) : Json(), row + 1});
    }
    std::stable_sort(section.rows.begin(), section.rows.end(),
                     [](auto const& a, auto const& b) { return a.front() < b.front(); });
    return section;
}

Section listed(Workbench& workbench, Listing const& listing)
{
    auto columns = listing.columns;
    for (auto const& column : listing.table.columns) {
        if (listing.columns.empty())
            columns.push_back(column.first);
    }
    Section section{Tables::shortNameOf(listing.table), listing.layout, {listing.key}, {}};
    for (auto const column : columns) {
        auto const* const label = Tables::labelOf(*listing.table.find(column));
        section.columns.emplace_back(label);
        if (hasNames(column))
            section.columns.push_back(std::string(label) + " means");
    }
    for (int row = 0; row < listing.table.rows; ++row) {
        auto& cells = section.rows.emplace_back();
        cells.emplace_back(listing.firstNumber + row);
        for (auto const column : columns) {
            cells.push_back(value(workbench, listing.table.cell(column, row)));
            if (hasNames(column))
                cells.push_back(nameOfValue(column, cells.back()));
        }
    }
    return section;
}

/// Beside each door opener the name of the camera that it shows.
void addCameraNames(Workbench& workbench, Section& openers)
{
    openers.columns.emplace_back("camera");
    for (std::size_t opener = 0; opener < openers.rows.size(); ++opener) {
        auto const camera =
            readValue(Tables::doorOpeners.cell(eDataTagDoorOpener1DirectVideo, opener)).value_or(Json(0)).get<int>();
        openers.rows[opener].push_back(camera > 0 ? value(workbench, Tables::cameras.cell(eDataTagCamera1Name, camera - 1))
                                                  : Json());
    }
}

Section groupPickup(Workbench& workbench)
{
    Section section{Tables::shortNameOf(Tables::groupPickup), Layout::Pairs, {}, {{}}};
    auto const add = [&](std::string const& label, eDataTag tag) {
        section.columns.push_back(label);
        section.rows.front().push_back(value(workbench, tag));
        if (hasNames(tag)) {
            section.columns.push_back(label + " means");
            section.rows.front().push_back(nameOfValue(tag, section.rows.front().back()));
        }
    };
    for (auto const& column : Tables::groupPickup.columns)
        add(Tables::labelOf(column), column.first);
    add("tone interval", eDataTagGroupPickupToneInterval);
    add("settled tone type", Tables::groupPickup.tag);
    return section;
}

std::vector<std::string> tableNames()
{
    std::vector<std::string> names;
    for (auto const& table : Tables::all) {
        if (table.kind == Tables::Kind::ranked)
            names.emplace_back(Tables::shortNameOf(table));
    }
    for (auto const& listing : listings())
        names.emplace_back(Tables::shortNameOf(listing.table));
    names.emplace_back(Tables::shortNameOf(Tables::groupPickup));
    return names;
}

Report table(TableOptions const& options, Workbench& workbench)
{
    auto const& name = options.name;
    auto const& alert = options.alert;
    if (!alert.empty() && name != Tables::shortNameOf(Tables::ringing))
        return failure(exitUsage, name, "has no alert identifiers");
    for (auto const& table : Tables::all) {
        if (table.kind == Tables::Kind::ranked && name == Tables::shortNameOf(table))
            return {exitOk, {ranked(workbench, table)}};
    }
    for (auto const& listing : listings()) {
        if (name != Tables::shortNameOf(listing.table))
            continue;
        auto section = listed(workbench, listing);
        if (&listing.table == &Tables::doorOpeners)
            addCameraNames(workbench, section);
        if (!alert.empty())
            std::erase_if(section.rows, [&](auto const& row) { return row[1] != Json(alert); });
        if (section.rows.empty())
            return failure(exitUnknownItem, alert, "no row of the ringing table has this alert identifier");
        return {exitOk, {std::move(section)}};
    }
    return {exitOk, {groupPickup(workbench)}};
}

/// One table or, without a name, all of them one below the other.
Report run(TableOptions const& options, Workbench& workbench)
{
    if (!options.name.empty() || !options.alert.empty())
        return table(options, workbench);
    Report all;
    for (auto const& name : tableNames()) {
        auto section = table({name, {}}, workbench).sections.front();
        section.title = (all.sections.empty() ? "" : "\n") + name + ":";
        all.sections.push_back(std::move(section));
    }
    return all;
}

} // namespace

Verb tableVerb()
{
    auto const options = std::make_shared<TableOptions>();
    return {
        .name = "table",
        .help = "Show tables as people read them",
        .arguments = {{.name = "TABLE",
                       .target = &options->name,
                       .help =
                           "A table or group: codec, srtp, headset, ringing, door-openers, cameras or group-pickup; all of "
                           "them without it",
                       .choices = tableNames()},
                      {.name = "--alert",
                       .target = &options->alert,
                       .help = "Of the ringing table, the row of this alert identifier",
                       .value = "IDENTIFIER"}},
        .action = onWorkbench(options)};
}

} // namespace Tool::Verbs

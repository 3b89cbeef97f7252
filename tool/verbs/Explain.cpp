// Where an item's value comes from: `explain`.
#include "verbs/Verbs.h"

#include "report/Result.h"
#include "report/Text.h"
#include "verbs/Arguments.h"
#include "workbench/FlagFile.h"
#include "workbench/Items.h"
#include "workbench/Journal.h"
#include "workbench/Meanings.h"
#include "workbench/PastEntries.h"
#include "workbench/Rehearsal.h"
#include "workbench/Rules.h"
#include "workbench/Values.h"
#include "workbench/Workbench.h"

#include "Data/DataItemBuilder.h"
#include "Data/DataSourceDB.h"
#include "Data/DataSourceOCMS.h"
#include "Tables/Rules.h"
#include "Tables/SettingOptions.h"

#include "HostPlatform.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

namespace Tool::Verbs {

using namespace Data;

namespace {

/// One source of a value. The last layer that counts wins.
struct Layer {
    char const* name;
    Json holds;
    std::string says;
    bool counts;
    std::vector<eDataTag> causes = {}; ///< the settings out of which a rule made it
};

using Description = DataSourceDB::DbDescription;

Description const& rowOf(eDataTag tag)
{
    return DataSourceDB::dataDbDescriptionTable[tag];
}

/// Everything about one item, gathered layer by layer.
class Explanation {
public:
    Explanation(Workbench& workbench, eDataTag tag)
        : m_workbench(workbench), m_tag(tag), m_service(serviceValues(workbench)), m_value(knownValue(tag, m_service))
    {
        if (!exists(tag))
            return;
        if (isHeld(tag))
            addDefault();
        if (rowOf(tag).schema)
            addDatabase();
        else if (storedTableOf(tag) != eDataTagNone)
            addTable();
        addService();
        addFlagFile();
        addHardware();
        addRule();
        addProcess();
    }

    Report report() const;

private:
    Layer const* winner() const
    {
        Layer const* last = nullptr;
        for (auto const& layer : m_layers)
            last = layer.counts ? &layer : last;
        return last;
    }

    /// Out of what the value was made: by the layer that won, or earlier by a rule, so that it was stored.
    std::vector<eDataTag> causesOf(Layer const* won, Json const& lastChange) const
    {
        if (!won || !won->causes.empty() || lastChange.is_null() || lastChange["who"] != Json(Journal::ruleName))
            return won ? won->causes : std::vector<eDataTag>();
        auto const rule = std::ranges::find_if(m_layers, [&](Layer const& layer) { return !layer.causes.empty(); });
        return rule == m_layers.end() ? won->causes : rule->causes;
    }

    void add(char const* name, Json holds, std::string says, bool counts, std::vector<eDataTag> causes = {})
    {
        m_layers.push_back({name, std::move(holds), std::move(says), counts, std::move(causes)});
    }

    void addText(char const* name, std::string const& text, std::string const& says)
    {
        std::string reason;
        auto value = validate(m_tag, text, reason);
        bool const taken = !value.is_null();
        add(name, taken ? std::move(value) : Json(text), taken ? says : "is not taken: " + reason, taken);
    }

    void addDefault() { add("catalogue", defaultOf(m_tag), "the default", true); }

    void addDatabase()
    {
        auto const& row = rowOf(m_tag);
        auto const place = row.isTable ? *row.schema : *row.schema + "/" + *row.element;
        auto const text = storedText(m_workbench.platform(), m_tag);
        if (text && isUnreadable(m_tag, *text))
            add("database", *text, "stored as " + place + ", " + unreadableReason, true);
        else if (text)
            addText("database", *text, "stored as " + place);
        else
            add("database", {}, "nothing is stored as " + place, false);
    }

    /// A cell of a table that is stored as one text: what a start reads out of it.
    void addTable()
    {
        auto const table = storedTableOf(m_tag);
        auto const& row = rowOf(table);
        auto const text = storedText(m_workbench.platform(), table);
        if (!text) {
            add("database", {}, "nothing is stored as " + *row.schema, false);
            return;
        }
        auto const cells = m_workbench.quietly([&] { return Rehearsal().read({{table, *text}}); });
        if (auto const cell = cells.find(m_tag); cell != cells.end())
            addText("database", cell->second, "stored in the table " + *row.schema);
    }

    void addService()
    {
        auto const told = m_service.find(nameOf(m_tag));
        bool const isOurs =
            isHeld(m_tag) && DataCache::DataItemBuilder::findDataRecord(m_tag)->component != eDataComponentNone;
        if (DataSourceOCMS::dataOCMSDescriptionTable[m_tag].item == nullptr)
            add("management", {}, "the service has no item for it", false);
        else if (isOurs)
            add("management", {}, "keeps nothing: the media component owns it", false);
        else if (told != m_service.end())
            addText("management", told->second, "what the service holds for another component");
        else
            add("management", {}, "the service has no value", false);
    }

    void addFlagFile()
    {
        auto const flags = flagFileValues();
        auto const says = [&](eDataTag flag) {
            auto const line = flags.find(Tables::flagWordOf(flag));
            return line == flags.end() ? std::string() : line->second;
        };
        if (auto const* const word = Tables::flagWordOf(m_tag)) {
            if (flags.contains(word))
                addText("flag file", says(m_tag), std::string("the line ") + word);
            else
                add("flag file", {}, std::string("has no line ") + word, false);
            return;
        }
        bool const isMethod = Tables::isHardwareFlag(m_tag) && Tables::encryptions.holds(m_tag);
        if (!isMethod && m_tag != eDataTagCodecHardwareAllowed3)
            return;
        std::error_code ignored;
        if (!std::filesystem::exists(m_workbench.platform().pathOf("/data/database/media_config"), ignored)) {
            add("flag file", {}, "there is none", false);
            return;
        }
        if (!isMethod) {
            add("flag file", says(eDataTagOpusTest) != "false", "true unless it says opus_test false", true,
                {eDataTagOpusTest});
            return;
        }
        auto const method =
            readValue(Tables::encryptions.cell(eDataTagSRTPEncryptionMethod1, Tables::encryptions.rowOf(m_tag)));
        bool const isLimited = method && Tables::isLimitedMethod(method->get<int>());
        add("flag file", isLimited ? Json(says(eDataTagAes256Test) == "true") : Json(),
            "follows aes256_test for rows with the methods 2 to 4", isLimited, {eDataTagAes256Test});
    }

    void addHardware()
    {
        auto const flag = hardwareFlagOf(m_tag, [](eDataTag tag) { return readValue(tag).value_or(Json(0)); });
        auto const verdicts = hardwareVerdicts(m_workbench);
        auto const own = verdicts.find(m_tag);
        if (own != verdicts.end()) {
            // Kept by the last management get of this process, if there was one.
            add("hardware rule", own->second.allowed, own->second.allowed ? "the device can use it" : own->second.reason,
                m_value == Json(own->second.allowed) && (!winner() || winner()->holds != m_value));
        } else if (auto const row = verdicts.find(flag); row != verdicts.end()) {
            if (!row->second.allowed)
                m_hidden = row->second.reason;
            add("hardware rule", {}, row->second.allowed ? "the device can use this row" : row->second.reason, false);
        }
    }

    void addRule()
    {
        if (rowOf(m_tag).parentTable == eDataTagGroupPickup || m_tag == eDataTagGroupPickup)
            addGroupPickup();
        auto const links = cameraLinks([](eDataTag tag) { return readValue(tag).value_or(Json()); });
        if (auto const link = links.find(m_tag); link != links.end())
            add("dependent rule", link->second, "the door opener that shows this camera wrote it", link->second == m_value,
                openersOfCamera());
        if (auto const rule = ringerRuleOf(m_tag))
            addRinging(*rule);
        if (m_tag == eDataTagDistinctiveRinging)
            addRingingTable();
    }

    /// The settings of the door opener that shows this camera; when none does, those that could name it.
    std::vector<eDataTag> openersOfCamera() const
    {
        int const camera = Tables::cameras.rowOf(m_tag) + 1;
        bool const isPhone = m_tag == Tables::cameras.cell(eDataTagCamera1PhoneNumber, camera - 1);
        std::vector<eDataTag> causes;
        for (int opener = 0; opener < Tables::doorOpeners.rows; ++opener) {
            auto const shows = Tables::doorOpeners.cell(eDataTagDoorOpener1DirectVideo, opener);
            if (readValue(shows) != Json(camera))
                continue;
            causes = {shows};
            if (isPhone)
                causes.push_back(Tables::doorOpeners.cell(eDataTagDoorOpener1PhoneNumber, opener));
        }
        return causes;
    }

    void addRingingTable()
    {
        for (int row = 0; row < Tables::ringing.rows; ++row) {
            if (readValue(Tables::ringing.cell(eDataTagAlertIdentifier0, row)) == Json("")) {
                add("dependent rule", m_value, "rows without an alert identifier follow the general ringer",
                    !winner() || winner()->holds != m_value);
                return;
            }
        }
    }

    /// After a start the flags decide on the type; later whichever was set decides on the other.
    void addGroupPickup()
    {
        auto const isOn = [](eDataTag tag) { return readValue(tag) == Json(true); };
        auto const type = Tables::toneTypeOf({isOn(eDataTagGroupPickupAsRinger), isOn(eDataTagGroupPickupToneAllowed)});
        if (m_tag == eDataTagGroupPickup)
            add("dependent rule", std::to_string(type), "remembers the settled tone type", true);
        else if (m_tag == eDataTagGroupPickupToneType)
            add("dependent rule", type, "the type that goes with the two flags", !winner() || winner()->holds != m_value,
                {eDataTagGroupPickupAsRinger, eDataTagGroupPickupToneAllowed});
        else
            add("dependent rule", m_value, "the flag that goes with the tone type", !winner() || winner()->holds != m_value,
                {eDataTagGroupPickupToneType});
    }

    void addRinging(RingerRule const& rule)
    {
        if (readValue(rule.identifier) != Json("")) {
            add("dependent rule", {}, "none: the row has an alert identifier", false);
            return;
        }
        auto const later = rule.general == eDataTagNone ? rule.atStart : readValue(rule.general).value_or(Json());
        std::vector<eDataTag> causes{rule.identifier};
        if (rule.general != eDataTagNone)
            causes.push_back(rule.general);
        add("dependent rule", m_value == later ? later : rule.atStart, "no alert identifier: follows the general ringer",
            m_value == later || m_value == rule.atStart, std::move(causes));
    }

    void addProcess()
    {
        auto const* const last = winner();
        if (isHeld(m_tag) && (!last || last->holds != m_value))
            add("this process", m_value, "set since the start and kept nowhere", true);
    }

    Json whereKept() const
    {
        auto const& row = rowOf(m_tag);
        if (row.schema)
            return "database " + *row.schema + (row.element->empty() ? "" : "/" + *row.element);
        if (storedTableOf(m_tag) != eDataTagNone)
            return "database, in the table " + *rowOf(storedTableOf(m_tag)).schema;
        if (Tables::flagWordOf(m_tag))
            return "flag file";
        if (exists(m_tag) && DataCache::DataItemBuilder::findDataRecord(m_tag)->component != eDataComponentMedia)
            return "management service";
        return "nowhere: a start begins with the default";
    }

    Workbench& m_workbench;
    eDataTag m_tag;
    ServiceValues m_service;
    Json m_value;
    Json m_hidden;
    std::vector<Layer> m_layers;
};

/// The newest change of one of these items that the history knows; null when it knows none.
Json lastChange(Workbench& workbench, std::vector<eDataTag> const& tags)
{
    std::string ignored;
    auto entries = pastEntries(workbench, ignored);
    std::ranges::reverse(entries);
    for (auto const& entry : entries) {
        for (auto const& change : entry.changes) {
            auto const isOne = [&](eDataTag tag) { return change.item == nameOf(tag); };
            if (change.result != wordOf(Result::Stored) || std::ranges::none_of(tags, isOne))
                continue;
            auto const who = change.cause == "rule" ? Journal::ruleName : !entry.verb.empty() ? entry.verb : entry.door;
            return {{"item", change.item}, {"time", isoTime(entry.time)}, {"who", who}};
        }
    }
    return {};
}

/// A sentence about lastChange().
std::string told(Json const& change, eDataTag tag)
{
    auto const text = [&](char const* key) { return change[key].get<std::string>(); };
    auto const who = text("who") == Journal::ruleName ? "a rule" : text("who");
    return fmt::format("{} changed {} at {}", who, text("item") == nameOf(tag) ? "it" : text("item"),
                       timeText(timeOf(text("time")).value_or(0)));
}

Report Explanation::report() const
{
    bool const secrets = m_workbench.options().showSecrets;
    auto const* const won = winner();
    Json why = won ? Json(won->says) : Json("nobody has a value for it");
    if (!exists(m_tag))
        why = "the catalogue has this item switched off";
    auto change = lastChange(m_workbench, {m_tag});
    auto const causes = causesOf(won, change);
    Json causedBy;
    for (auto const cause : causes)
        causedBy.push_back(nameOf(cause));
    if (!causes.empty())
        change = lastChange(m_workbench, causes);
    Section item{"item",
                 Layout::Pairs,
                 {"item", "tag", "help", "value", "means", "from", "why", "caused by", "last change", "kept in", "hidden"},
                 {{}}};
    if (!change.is_null())
        item.said["last change"] = told(change, m_tag);
    item.rows.front() = {nameOf(m_tag),
                         static_cast<int>(m_tag),
                         helpOf(m_tag),
                         shown(m_tag, m_value, secrets),
                         nameOfValue(m_tag, m_value),
                         won ? Json(won->name) : Json(),
                         std::move(why),
                         std::move(causedBy),
                         std::move(change),
                         exists(m_tag) ? whereKept() : Json(),
                         m_hidden};
    Section layers{"layers", Layout::Table, {"wins", "layer", "holds", "reason"}, {}, "\nLayers, the strongest one first:"};
    std::for_each(m_layers.rbegin(), m_layers.rend(), [&](Layer const& layer) {
        layers.rows.push_back({&layer == won, layer.name, shown(m_tag, layer.holds, secrets), layer.says});
    });
    return {exitOk, {std::move(item), std::move(layers)}};
}

/// Every layer that could give the item its value, what it holds and says, which one won, and why a table's row is hidden from
/// the management service. Asks without changing anything.
Report explain(Workbench& workbench, eDataTag tag)
{
    // Reading a flag applies the flag file.
    readValue(eDataTagOpusTest);
    return Explanation(workbench, tag).report();
}

} // namespace

Verb explainVerb()
{
    return itemVerb("explain", "Show where an item's value comes from, layer by layer", explain);
}

} // namespace Tool::Verbs

#include "workbench/PastEntries.h"

#include "workbench/Items.h"
#include "workbench/Journal.h"
#include "workbench/Values.h"
#include "workbench/Workbench.h"

#include "Data/DataSourceDB.h"
#include "Tables/SettingOptions.h"
#include "Tables/Tables.h"

#include "DasCrypt.h"
#include "HostPlatform.h"
#include "ManagementService.h"
#include "XmlParser.h"
#include "secrets/SecretBox.h"
#include "store/Database.h"

#include <algorithm>
#include <map>
#include <sstream>
#include <utility>

namespace Tool {

using namespace Data;

namespace {

constexpr std::string_view serviceSchema = "@management/";

using Names = std::pair<std::string, std::string>; ///< schema and element

std::map<Names, eDataTag> const& tagsByNames()
{
    static auto const tags = [] {
        std::map<Names, eDataTag> result;
        for (auto const tag : allTags()) {
            if (auto const& row = DataSourceDB::dataDbDescriptionTable[tag]; row.schema)
                result[{*row.schema, *row.element}] = tag;
        }
        return result;
    }();
    return tags;
}

/// The cells that a table's text has.
class Cells {
public:
    explicit Cells(Tables::Table const& table) : m_table(table) {}

    DataTagValue_t of(std::string const& text)
    {
        XmlParser parser(this, onStart, onEnd, onText);
        m_row = -1;
        m_cells.clear();
        parser.parseMessage(text.data(), static_cast<int>(text.size()));
        return std::move(m_cells);
    }

private:
    static void onStart(void* self, char const* name, char const**)
    {
        auto& my = *static_cast<Cells*>(self);
        my.m_element = name;
        my.m_row += my.m_element == "Entry";
    }
    static void onEnd(void*, char const*) {}
    static void onText(void* self, char const* text, int length)
    {
        auto& my = *static_cast<Cells*>(self);
        auto const column = std::ranges::find(my.m_table.columns, my.m_element, &Tables::Column::element);
        if (my.m_row >= 0 && my.m_row < my.m_table.rows && column != my.m_table.columns.end())
            my.m_cells[my.m_table.cell(column->first, my.m_row)].assign(text, static_cast<std::size_t>(length));
    }

    Tables::Table const& m_table;
    int m_row = -1;
    std::string m_element;
    DataTagValue_t m_cells;
};

/// What history shows of a stored text.
Json shownText(std::optional<eDataTag> tag, bool isSecretText, std::string const& text)
{
    if (!tag && (text == "true" || text == "false"))
        return text == "true";
    if (text == Host::notStored)
        return tag ? shown(*tag, defaultOf(*tag), false) : Json();
    std::string plain;
    if (isSecretText && Host::SecretBox::isEncrypted(text) && !DasCrypt::fromEncryptedText(text, plain))
        return unreadableWord;
    if (isSecretText)
        return text.empty() ? Json("") : Json(masked);
    std::string ignored;
    auto value = tag && exists(*tag) ? validate(*tag, text, ignored) : Json();
    return value.is_null() ? Json(text) : value;
}

class Naming {
public:
    Naming(PastEntry& entry, std::set<std::int64_t> asked) : m_entry(entry), m_asked(std::move(asked)) {}

    void add(Host::HistoryChange const& change)
    {
        auto const& [schema, element, before, after] = change;
        auto const found = tagsByNames().find({schema, element});
        auto const* const table = found == tagsByNames().end() ? nullptr : Tables::find(found->second);
        if (table && !table->schema.empty())
            addCells(change, *table);
        else if (found != tagsByNames().end())
            add(nameOf(found->second), found->second, isSecret(found->second), change);
        else if (schema.starts_with(serviceSchema))
            addNamed(element, Host::isSecretItem(element), change);
        else if (schema == "@flags")
            add(flagItem(element), std::nullopt, false, change);
        else if (schema == "@unkept")
            addNamed(element, false, change);
        else
            add(schema == "@device" ? "device/" + element : schema + "/" + element, std::nullopt, false, change);
    }

private:
    static std::string flagItem(std::string const& word)
    {
        auto const known = Tables::flagWords();
        auto const found = std::ranges::find_if(known, [&](auto const& each) { return each.word == word; });
        return found == known.end() ? "flags/" + word : nameOf(found->tag);
    }

    void addNamed(std::string const& name, bool isSecretText, Host::HistoryChange const& change)
    {
        auto const tag = findItem(name);
        add(tag ? nameOf(*tag) : name, tag, isSecretText || (tag && isSecret(*tag)), change);
    }

    void addCells(Host::HistoryChange const& change, Tables::Table const& table)
    {
        auto const before = Cells(table).of(change.before == Host::notStored ? "" : change.before);
        for (auto const& [cell, text] : Cells(table).of(change.after)) {
            auto const old = before.find(cell);
            auto const oldText = old == before.end() ? textOf(defaultOf(cell)) : old->second;
            if (oldText != text)
                add(nameOf(cell), cell, false, {change.schema, change.element, oldText, text});
        }
    }

    void add(std::string const& item, std::optional<eDataTag> tag, bool isSecretText, Host::HistoryChange const& change)
    {
        auto const named = findItem(item);
        auto const isAsked = named && m_asked.contains(*named);
        auto const* const cause = isAsked                                   ? "asked"
                                  : named && Tables::isHardwareFlag(*named) ? "hardware"
                                  : m_entry.verb.empty()                    ? "other"
                                  : tag                                     ? "rule"
                                                                            : "asked"; // what has no tag follows no rule
        auto const isSame = [&](PastChange const& each) {
            return each.item == item && each.schema == change.schema && each.element == change.element;
        };
        auto const earlier = std::ranges::find_if(m_entry.changes, isSame);
        if (earlier == m_entry.changes.end()) {
            m_entry.changes.push_back({item, tag, shownText(tag, isSecretText, change.before),
                                       shownText(tag, isSecretText, change.after), std::string(wordOf(Result::Stored)),
                                       Json(), cause, change.schema, change.element, change.before, change.after});
        } else {
            earlier->textAfter = change.after;
            earlier->after = shownText(tag, isSecretText, change.after);
            if (earlier->textBefore == earlier->textAfter)
                m_entry.changes.erase(earlier);
        }
    }

    PastEntry& m_entry;
    std::set<std::int64_t> m_asked;
};

/// The value behind "NAME=" in a note.
std::string noted(std::string const& note, std::string const& name)
{
    std::istringstream words(note);
    for (std::string word; words >> word;) {
        if (word.starts_with(name + "="))
            return word.substr(name.size() + 1);
    }
    return {};
}

/// A line of the file as entry; what is of other kinds than it should be counts as missing.
struct Line {
    Host::HistoryEntry entry;
    Json refused = Json::array();
};

std::string textIn(Json const& object, char const* name)
{
    auto const found = object.find(name);
    return found != object.end() && found->is_string() ? found->get<std::string>() : std::string();
}

/// The lines nest three deep: one that nests more, at worst without end, is none of ours.
bool isFlat(int depth, Json::parse_event_t event, Json&)
{
    return depth < 3 || (event != Json::parse_event_t::object_start && event != Json::parse_event_t::array_start);
}

bool hasDiscarded(Json const& value)
{
    return value.is_discarded() || (value.is_structured() && std::any_of(value.begin(), value.end(), hasDiscarded));
}

Json valueIn(Json const& object, char const* name)
{
    auto const found = object.find(name);
    return found != object.end() ? *found : Json();
}

Json objectsIn(Json const& object, char const* name)
{
    auto const found = object.find(name);
    Json objects = Json::array();
    if (found != object.end() && found->is_array())
        std::copy_if(found->begin(), found->end(), std::back_inserter(objects),
                     [](Json const& each) { return each.is_object(); });
    return objects;
}

std::optional<Line> lineOf(std::string const& text)
{
    auto const json = Json::parse(text, isFlat, false);
    auto const numberIn = [&](char const* name) {
        auto const found = json.find(name);
        return found != json.end() && found->is_number_integer() ? found->get<std::int64_t>() : 0;
    };
    if (!json.is_object() || hasDiscarded(json) || numberIn("time") == 0 || valueIn(json, "old").is_structured())
        return std::nullopt;
    Line line{{numberIn("number"),
               numberIn("time"),
               textIn(json, "user"),
               textIn(json, "process"),
               textIn(json, "verb"),
               textIn(json, "door"),
               textIn(json, "note"),
               {}},
              objectsIn(json, "refused")};
    for (auto const& each : objectsIn(json, "changes"))
        line.entry.changes.push_back(
            {textIn(each, "schema"), textIn(each, "element"), textIn(each, "old"), textIn(each, "new")});
    if (auto const item = textIn(json, "item"); !item.empty()) { // Once each change had a line of its own.
        line.entry.verb = textIn(json, "who");
        line.refused.push_back(json);
    }
    return line;
}

PastEntry headOf(Host::HistoryEntry const& entry)
{
    return {.number = entry.number,
            .time = entry.time,
            .user = entry.user,
            .process = entry.process,
            .verb = entry.verb,
            .door = entry.door,
            .note = entry.note,
            .undoes = numbersOf(noted(entry.note, "undoes"))};
}

/// The entry of the same run of a verb, or a new one.
PastEntry& entryFor(std::vector<PastEntry>& entries, Host::HistoryEntry const& entry)
{
    auto const run = noted(entry.note, "run");
    auto const isSameRun = [&](PastEntry const& each) {
        return !run.empty() && noted(each.note, "run") == run && each.user == entry.user && each.verb == entry.verb;
    };
    auto const found = std::find_if(entries.rbegin(), entries.rend(), isSameRun);
    return found == entries.rend() ? entries.emplace_back(headOf(entry)) : *found;
}

void addStored(std::vector<PastEntry>& entries, Host::HistoryEntry const& stored, bool isInDatabase)
{
    auto& entry = entryFor(entries, stored);
    entry.isInDatabase = isInDatabase && (entry.numbers.empty() || entry.isInDatabase);
    entry.number = entry.number == 0 ? stored.number : entry.number;
    entry.numbers.insert(stored.number);
    Naming naming(entry, numbersOf(noted(stored.note, "asked")));
    for (auto const& each : stored.changes)
        naming.add(each);
}

void addRefused(std::vector<PastEntry>& entries, Line const& line)
{
    auto& entry = entryFor(entries, line.entry);
    for (auto const& each : line.refused) {
        auto const value = [&](char const* name) { return each.contains(name) ? each[name] : Json(); };
        entry.changes.push_back({textIn(each, "item"), findItem(textIn(each, "item")), value("old"), value("new"),
                                 textIn(each, "result"), value("reason"), "asked"});
    }
}

/// A table's text without what it says of a cell.
void dropCell(std::string& text, int row, std::string_view element)
{
    auto begin = text.find("<Entry");
    for (; row > 0 && begin != std::string::npos; --row)
        begin = text.find("<Entry", begin + 1);
    auto const next = begin == std::string::npos ? std::string::npos : text.find("<Entry", begin + 1);
    auto const from = text.find('<' + std::string(element) + '>', begin);
    auto const to = text.find("</" + std::string(element) + '>', from);
    if (to != std::string::npos && to < next)
        text.erase(from, to + element.size() + 3 - from);
}

/// What is forgotten.
class Forgotten {
public:
    explicit Forgotten(std::vector<eDataTag> const& tags)
    {
        for (auto const tag : tags) {
            m_items.insert(nameOf(tag));
            auto const stored = storedTableOf(tag) != eDataTagNone ? storedTableOf(tag) : tag;
            auto const& row = DataSourceDB::dataDbDescriptionTable[stored];
            if (!row.schema)
                continue;
            auto const* const column = stored == tag ? nullptr : Tables::columnOf(tag);
            if (stored == tag)
                m_values.insert({*row.schema, *row.element});
            else if (column)
                m_cells.emplace(Names{*row.schema, *row.element},
                                std::pair{Tables::find(stored)->rowOf(tag), column->element});
        }
    }

    bool isEmpty() const { return m_items.empty(); }
    bool hasItem(std::string const& name) const { return m_items.contains(name); }

    /// Takes cells out of a table's texts. True when nothing is left of the change.
    bool takeFrom(Host::HistoryChange& change) const
    {
        auto const [first, last] = m_cells.equal_range({change.schema, change.element});
        for (auto each = first; each != last; ++each)
            for (auto* const text : {&change.before, &change.after})
                dropCell(*text, each->second.first, each->second.second);
        return (first != last && change.before == change.after) || m_values.contains({change.schema, change.element}) ||
               (change.schema.starts_with('@') && m_items.contains(change.element));
    }

private:
    std::set<Names> m_values;
    std::multimap<Names, std::pair<int, std::string_view>> m_cells; ///< row and element, by table
    std::set<std::string> m_items;
};

/// The lines of the history's files without it.
std::string linesWithout(Forgotten const& forgotten, std::string const& lines)
{
    auto const isGone = [&](Json& each) {
        Host::HistoryChange change{textIn(each, "schema"), textIn(each, "element"), textIn(each, "old"),
                                   textIn(each, "new")};
        bool const isWhole = forgotten.takeFrom(change) || forgotten.hasItem(textIn(each, "item"));
        if (!change.schema.empty() && each.contains("old")) {
            each["old"] = change.before;
            each["new"] = change.after;
        }
        return isWhole;
    };
    std::string kept;
    std::istringstream texts(lines);
    for (std::string text; std::getline(texts, text);) {
        auto json = Json::parse(text, isFlat, false);
        if (!lineOf(text) || forgotten.hasItem(textIn(json, "item")))
            continue;
        for (auto const* const list : {"changes", "refused"})
            if (json.contains(list) && json[list].is_array())
                json[list].erase(std::remove_if(json[list].begin(), json[list].end(), isGone), json[list].end());
        kept += json.dump() + "\n";
    }
    return kept;
}

} // namespace

std::vector<PastEntry> pastEntries(Workbench& workbench, std::string& error, std::int64_t behind)
{
    auto& database = workbench.platform().database();
    auto stored = database.history();
    if (!stored) {
        error = "the database's part of the history cannot be read";
        stored.emplace();
    }
    // Who knows the entry before the database's first, or a later one, misses nothing that is in the file.
    bool const needsFile = behind == 0 || stored->empty() || stored->front().number > behind + 1;
    std::erase_if(*stored, [=](auto const& each) { return each.number <= behind; });
    std::vector<Line> lines;
    std::set<std::int64_t> known;
    for (auto const& each : *stored)
        known.insert(each.changes.empty() ? 0 : each.number);
    std::vector<PastEntry> entries;
    std::istringstream texts(needsFile ? database.historyFile().read(error) : "");
    for (std::string text; std::getline(texts, text);) {
        auto line = lineOf(text);
        // An entry that was just being moved is in both places.
        if (line && line->refused.empty() && line->entry.number > behind && known.insert(line->entry.number).second)
            addStored(entries, line->entry, false);
        else if (line && !line->refused.empty())
            lines.push_back(*std::move(line));
    }
    for (auto const& each : *stored)
        addStored(entries, each, true);
    for (auto const& line : lines)
        addRefused(entries, line);
    std::ranges::stable_sort(entries, {}, &PastEntry::time);
    return entries;
}

Report forget(Workbench& workbench, std::optional<std::string> const& item, bool yes)
{
    auto& database = workbench.platform().database();
    Forgotten const forgotten(item ? matchItems(*item) : std::vector<eDataTag>());
    if (item && forgotten.isEmpty())
        return unknownItem(*item);
    if (!yes) {
        auto const what = "what the history knows" + (item ? " of " + *item : std::string());
        auto report = failure(exitRefused, "", "would wipe " + what + "; --yes does it, nothing was wiped");
        report.question = "wipes " + what + ": go on?";
        return report;
    }
    auto entries = database.history();
    if (!entries)
        return failure(exitStorage, "", "the history cannot be read");
    auto const last = entries->empty() ? 0 : entries->back().number;
    for (auto& each : *entries)
        std::erase_if(each.changes, [&](auto& change) { return forgotten.takeFrom(change); });
    std::string error;
    auto const kept = item ? linesWithout(forgotten, database.historyFile().read(error)) : std::string();
    bool const isDone = database.replaceHistory(
        item ? std::span<Host::HistoryEntry const>(*entries) : std::span<Host::HistoryEntry const>(), last);
    if (!isDone)
        return failure(exitStorage, "", "the database did not wipe its history");
    if (!error.empty() || !database.historyFile().replace(kept, error))
        return failure(exitStorage, "", error);
    Report report;
    report.notes.emplace_back(item ? "What the history knew of " + *item + " was wiped." : "The history was wiped.");
    return report;
}

} // namespace Tool

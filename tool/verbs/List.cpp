// Items with their values: `list`.
#include "verbs/Verbs.h"

#include "verbs/Arguments.h"
#include "workbench/Accepted.h"
#include "workbench/Items.h"
#include "workbench/Meanings.h"
#include "workbench/Outcomes.h"
#include "workbench/Workbench.h"

#include "Tables/Labels.h"
#include "Tables/SettingOptions.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace Tool::Verbs {

using namespace Data;

namespace {

struct ListOptions {
    std::string pattern; ///< a glob, a part of a name, or of what items mean; empty: all items
    std::string family;  ///< only this one's items; empty: every one's
    bool changedOnly = false;
    bool isLong = false;
    bool isDetailed = false; ///< more than that, for who makes an editor of it
    bool byFamily = false;   ///< no items, but how many each family has
};

struct Found {
    std::vector<eDataTag> tags;
    bool isByMeaning = false; ///< no name has the pattern in it
};

Found find(ListOptions const& options)
{
    Found found{options.pattern.empty() ? allTags() : matchItems(options.pattern)};
    found.isByMeaning = found.tags.empty();
    if (found.isByMeaning)
        std::ranges::copy_if(allTags(), std::back_inserter(found.tags),
                             [&](eDataTag tag) { return meansSo(tag, options.pattern); });
    if (!options.family.empty())
        std::erase_if(found.tags, [&](eDataTag tag) { return familyOf(tag).name != options.family; });
    return found;
}

Section counted(std::vector<eDataTag> const& tags)
{
    Section section{"families", Layout::Table, {"family", "items", "title"}, {}};
    for (auto const& family : families()) {
        auto const isOfFamily = [&](eDataTag tag) { return familyOf(tag).name == family.name; };
        if (auto const count = std::ranges::count_if(tags, isOfFamily); count != 0)
            section.rows.push_back({family.name, count, family.title});
    }
    return section;
}

/// Which verb sets it; null when none does.
Json setterOf(eDataTag tag)
{
    bool const isNone = !exists(tag) || typeOf(tag) == eDataItemTypeComplex;
    return isNone ? Json() : Json(Tables::flagWordOf(tag) ? "flags" : "set");
}

void addDetails(eDataTag tag, std::vector<Json>& row)
{
    auto const orNull = [](std::optional<int> const& number) { return number ? Json(*number) : Json(); };
    auto const limits = limitsOf(tag);
    auto const table = storedTableOf(tag);
    row.insert(row.end(), {namesByNumber(tag), acceptedText(tag), orNull(limits.least), orNull(limits.most),
                           orNull(limits.longest), limits.words.empty() ? Json() : Json(limits.words), isSecret(tag),
                           setterOf(tag), table == eDataTagNone ? Json() : Json(Tables::shortNameOf(*Tables::find(table)))});
}

Section listed(Found const& found, ServiceValues const& others, ListOptions const& options, bool showSecrets)
{
    Section section{"items", Layout::Table, {"tag", "item", "type", "value"}, {}};
    bool const hasHelp = options.isLong || found.isByMeaning;
    if (options.isLong)
        section.columns.insert(section.columns.end(), {"means", "default", "unit", "family"});
    if (hasHelp)
        section.columns.emplace_back("help");
    else
        section.columns.insert(section.columns.end(), {"default", "family"});
    section.spare = hasHelp ? 0 : 2;
    if (options.isDetailed)
        section.columns.insert(section.columns.end(),
                               {"names", "accepted", "least", "most", "longest", "words", "secret", "set by", "table"});
    for (auto const tag : found.tags) {
        auto const value = knownValue(tag, others);
        auto& row = section.rows.emplace_back(
            std::vector<Json>{static_cast<int>(tag), nameOf(tag), typeName(typeOf(tag)), shown(tag, value, showSecrets)});
        if (options.isLong)
            row.insert(row.end(), {nameOfValue(tag, value), defaultOf(tag), unitOf(tag), familyOf(tag).name});
        if (hasHelp)
            row.emplace_back(helpOf(tag));
        else
            row.insert(row.end(), {defaultOf(tag), familyOf(tag).name});
        if (options.isDetailed)
            addDetails(tag, row);
    }
    return section;
}

Report run(ListOptions options, Workbench& workbench)
{
    options.isLong = options.isLong || options.isDetailed;
    auto found = find(options);
    if (found.tags.empty())
        return failure(exitUnknownItem, options.pattern.empty() ? options.family : options.pattern, "matches no item",
                       namesNear(options.pattern));
    Report report;
    auto const others = serviceValues(workbench);
    std::string switchedOff;
    std::erase_if(found.tags, [&](eDataTag tag) {
        if (!exists(tag))
            switchedOff += (switchedOff.empty() ? "" : ", ") + nameOf(tag);
        auto const value = knownValue(tag, others);
        bool const isChanged = !value.is_null() && typeOf(tag) != eDataItemTypeComplex && value != defaultOf(tag);
        return !exists(tag) || (options.changedOnly && !isChanged);
    });
    if (found.tags.empty())
        report.notes.push_back(options.changedOnly ? "Nothing differs from the defaults."
                                                   : "The catalogue has what matches switched off: " + switchedOff);
    report.sections.push_back(options.byFamily ? counted(found.tags)
                                               : listed(found, others, options, workbench.options().showSecrets));
    return report;
}

Words familyNames()
{
    Words names;
    for (auto const& family : families())
        names.emplace_back(family.name);
    return names;
}

} // namespace

Verb listVerb()
{
    auto const options = std::make_shared<ListOptions>();
    auto pattern = Arguments::pattern(&options->pattern);
    pattern.help += ", or a word of what items mean";
    return {.name = "list",
            .help = "List items with their values",
            .arguments =
                {std::move(pattern),
                 {.name = "--changed", .target = &options->changedOnly, .help = "Only what differs from its default"},
                 {.name = "--long", .target = &options->isLong, .help = "With default, unit, family and what each means"},
                 {.name = "--details", .target = &options->isDetailed, .help = "With all that an editor of them needs"},
                 {.name = "--family",
                  .target = &options->family,
                  .help = "Only the items of this family",
                  .value = "FAMILY",
                  .choices = familyNames()},
                 {.name = "--groups",
                  .target = &options->byFamily,
                  .help = "Only the families, with the number of their items"}},
            .action = onWorkbench(options)};
}

} // namespace Tool::Verbs

// Everything that the catalogue says about an item: `describe`.
#include "verbs/Verbs.h"

#include "verbs/Arguments.h"
#include "workbench/Accepted.h"
#include "workbench/Items.h"
#include "workbench/Meanings.h"
#include "workbench/Workbench.h"

#include "Data/DataItemBuilder.h"
#include "Data/DataSourceDB.h"
#include "Data/DataSourceOCMS.h"
#include "Tables/Labels.h"
#include "Tables/SettingOptions.h"

#include <algorithm>
#include <utility>

namespace Tool::Verbs {

using namespace Data;

namespace {

char const* ownerOf(eDataTag tag)
{
    if (!isHeld(tag))
        return "another component; asked from the management service each time";
    if (Tables::flagWordOf(tag))
        return "media; set by the flag file";
    if (DataCache::DataItemBuilder::findDataRecord(tag)->component != eDataComponentMedia)
        return "another component; observed through the management service";
    return "media";
}

Json orNull(std::string text)
{
    return text == "-" ? Json() : Json(std::move(text));
}

Json nameOrNull(std::string const* name)
{
    return name ? Json(*name) : Json();
}

Report describe(Workbench& workbench, eDataTag tag)
{
    auto const& record = DataCache::DataItemBuilder::dataItemDefaultTable[tag];
    auto const& database = DataSourceDB::dataDbDescriptionTable[tag];
    auto const& management = DataSourceOCMS::dataOCMSDescriptionTable[tag];
    bool const secrets = workbench.options().showSecrets;
    auto const table =
        std::ranges::find_if(Tables::all, [=](auto const& each) { return each.holds(tag) || each.tag == tag; });
    auto const name = table == Tables::all.end() ? Json() : Json(Tables::shortNameOf(*table));
    bool const isGroup = !name.is_null() && table->kind == Tables::Kind::group;
    auto const value = readValue(tag).value_or(Json());
    std::vector<std::pair<char const*, Json>> const lines{
        {"item", nameOf(tag)},
        {"tag", static_cast<int>(tag)},
        {"help", helpOf(tag)},
        {"family", familyOf(tag).name},
        {"value", shown(tag, value, secrets)},
        {"means", nameOfValue(tag, value)},
        {"unit", unitOf(tag)},
        {"names", namesByNumber(tag)},
        {"type", typeName(record.value.type)},
        {"default", defaultOf(tag)},
        {"accepted", acceptedText(tag)},
        {"value check", orNull(chainText(record.valueChain))},
        {"text check", orNull(chainText(record.stringChain))},
        {"owner", ownerOf(tag)},
        {"user data", record.isUserData},
        {"secret", isSecret(tag)},
        {"schema", nameOrNull(database.schema)},
        {"element", nameOrNull(database.element)},
        {"table", isGroup ? Json() : name},
        {"group", isGroup ? name : Json()},
        {"management item", nameOrNull(management.item)},
        {"sub-item", nameOrNull(management.subItem)},
        {"aliases", namesOf(tag)},
    };
    Section section{"item", Layout::Pairs, {}, {{}}};
    for (auto const& [column, cell] : lines) {
        section.columns.emplace_back(column);
        section.rows.front().push_back(cell);
    }
    return {exitOk, {std::move(section)}};
}

} // namespace

Verb describeVerb()
{
    return itemVerb("describe", "Show everything the catalogue says about an item", describe);
}

} // namespace Tool::Verbs

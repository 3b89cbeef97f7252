#include "workbench/Document.h"

#include "workbench/FlagFile.h"
#include "workbench/Items.h"
#include "workbench/Values.h"
#include "workbench/Workbench.h"

#include "Data/DataItemBuilder.h"
#include "Data/DataSourceDB.h"
#include "Data/RankedTables.h"
#include "Tables/Tables.h"

#include "HostPlatform.h"

#include <fmt/format.h>

#include <algorithm>
#include <set>
#include <utility>

namespace Tool {

using namespace Data;

namespace {

/// Rows in the order of their ranks, as the library sorts them while it reads a stored table.
void sortRows(std::map<eDataTag, Json>& settings, Tables::Table const& table, void (*sort)(DataTagValue_t&, int))
{
    DataTagValue_t cells;
    for (auto cell = settings.lower_bound(table.first); cell != settings.end() && cell->first <= table.last; ++cell)
        cells[cell->first] = textOf(cell->second);
    sort(cells, table.rows);
    std::string ignored;
    for (auto const& [tag, text] : cells)
        settings[tag] = validate(tag, text, ignored);
}

/// A row of the ringing table without an identifier has no cells of its own: they follow the general ringer.
void settleRinger(std::map<eDataTag, Json>& settings, eDataTag identifier, int row)
{
    if (settings[identifier] != Json(""))
        return;
    for (auto const& column : Tables::ringing.columns) {
        if (column.unnamed)
            settings.erase(Tables::ringing.cell(column.first, row));
    }
}

void settleTables(std::map<eDataTag, Json>& settings)
{
    // Codecs are stored in the order of their rows, whatever their ranks say.
    for (int row = 0; row < Tables::codecs.rows; ++row)
        settings[Tables::codecs.cell(eDataTagCodecRank1, row)] = row + 1;
    sortRows(settings, Tables::encryptions, Utils::sortSRTPEncryptionsByRank);
    sortRows(settings, Tables::headsets, Utils::sortHeadsetsByRank);
    for (int row = 0; row < Tables::ringing.rows; ++row)
        settleRinger(settings, Tables::ringing.cell(eDataTagAlertIdentifier0, row), row);
}

} // namespace

Document documentOf(Workbench& workbench)
{
    // Reading a flag applies the flag file, which may change items with lower tags.
    readValue(eDataTagOpusTest);
    Document document;
    for (auto const tag : allTags()) {
        if (isKept(tag))
            document.settings[tag] = readValue(tag).value_or(Json());
    }
    settleTables(document.settings);
    document.service = serviceValues(workbench);
    document.flags = flagFileValues();
    auto const profile = workbench.platform().deviceProfile();
    document.model = Host::modelName(profile.model);
    document.usb = profile.usb;
    return document;
}

Document defaultDocument()
{
    Document document;
    for (auto const tag : allTags()) {
        if (isKept(tag))
            document.settings[tag] = defaultOf(tag);
    }
    settleTables(document.settings);
    document.flags.emplace();
    Host::DeviceProfile const profile;
    document.model = Host::modelName(profile.model);
    document.usb = profile.usb;
    return document;
}

bool seal(Document& document, std::string const& passphrase)
{
    Json secrets = Json::object();
    for (auto const& [tag, value] : document.settings) {
        if (isUnreadable(tag, value))
            secrets[nameOf(tag)] = nullptr;
        else if (isSecret(tag) && value != Json(""))
            secrets[nameOf(tag)] =
                Json::binary({value.get_ref<std::string const&>().begin(), value.get_ref<std::string const&>().end()});
    }
    dropSecrets(document);
    auto const bytes = Json::to_cbor(secrets);
    return document.secrets.emplace().seal({bytes.begin(), bytes.end()}, passphrase);
}

Report unseal(Document& document, std::string const& passphrase)
{
    if (!document.secrets)
        return failure(exitRefused, "secrets", "the document holds no encrypted secrets");
    std::string plain;
    if (!document.secrets->open(passphrase, plain))
        return failure(exitRefused, "secrets", "wrong passphrase, or the document was altered; nothing was changed");
    auto const secrets = Json::from_cbor(plain, true, false);
    // A secret that the box leaves out was empty.
    for (auto const tag : allTags()) {
        if (isKept(tag) && isSecret(tag))
            document.settings[tag] = "";
    }
    for (auto const& [name, value] : secrets.items()) {
        auto const tag = findItem(name);
        if (!(value.is_binary() || value.is_null()) || !tag || !isSecret(*tag))
            return failure(exitRefused, "secrets/" + name, "is no secret of this catalogue");
        if (value.is_null()) {
            document.settings.erase(*tag); // It was unreadable.
            continue;
        }
        document.settings[*tag] = std::string(value.get_binary().begin(), value.get_binary().end());
    }
    document.secrets.reset();
    return {};
}

std::size_t dropSecrets(Document& document)
{
    std::size_t set = 0;
    std::erase_if(document.settings, [&](auto const& each) {
        set += isSecret(each.first) && each.second != Json("");
        return isSecret(each.first);
    });
    return set;
}

void addMissingSecrets(Report& report, Document const& document)
{
    auto const schemaOf = [](eDataTag tag) { return DataSourceDB::dataDbDescriptionTable[tag].schema; };
    std::set<std::string const*> schemas;
    for (auto const& [tag, value] : document.settings)
        schemas.insert(schemaOf(tag));
    Section section{"missingSecrets", Layout::Table, {"item", "here"}, {}, "\nSecrets that the document does not have:"};
    for (auto const tag : allTags()) {
        if (!isKept(tag) || !isSecret(tag) || document.settings.contains(tag) || !schemas.contains(schemaOf(tag)))
            continue;
        auto const value = readValue(tag).value_or(Json(""));
        section.rows.push_back({nameOf(tag), isUnreadable(tag, value) ? unreadableWord
                                             : value == Json("")      ? "empty"
                                                                      : "set"});
    }
    bool const isAnySet = std::ranges::any_of(section.rows, [](auto const& row) { return row.back() != Json("empty"); });
    if (!isAnySet)
        section.brief = fmt::format("\nSecrets that the document does not have: {}, all empty here", section.rows.size());
    if (!section.rows.empty())
        report.sections.push_back(std::move(section));
}

} // namespace Tool

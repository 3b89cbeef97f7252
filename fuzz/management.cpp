// Records of the management service. An input has lines "ITEM|SUB-ITEM=VALUE", or "TAG=VALUE" with the names of that tag, which
// gather in a record, and the lines "set", "get", "changed" and "reset", which send it.
#include "LibraryUnderFuzz.h"

#include "Data/DataSourceOCMS.h"
#include "MgmtAgentIfc.h"

namespace {

using Names = std::pair<std::string, std::string>;

Names namesOf(DataSourceOCMS::OcmsDescription const& row)
{
    return {*row.item, row.subItem == nullptr ? *row.item : *row.subItem};
}

/// The tags of the single items by their names.
std::map<Names, eDataTag> const& singles()
{
    static std::map<Names, eDataTag> tags;
    if (tags.empty())
        for (auto const& row : DataSourceOCMS::dataOCMSDescriptionTable)
            if (row.item != nullptr && Fuzz::isSingle(row.tag))
                tags.emplace(namesOf(row), row.tag);
    return tags;
}

/// Adds what a line names; a record has few entries, since it is searched through.
void gather(std::string const& line, ManageableData& record)
{
    auto const equals = line.find('=');
    if (equals == std::string::npos || record.entries().size() > 100)
        return;
    auto const bar = std::min(line.find('|'), equals);
    Names names{line.substr(0, bar), bar == equals ? line.substr(0, bar) : line.substr(bar + 1, equals - bar - 1)};
    auto const tag = static_cast<std::size_t>(std::atoi(line.c_str()));
    if (tag < eDataTagEnd && DataSourceOCMS::dataOCMSDescriptionTable[tag].item != nullptr)
        names = namesOf(DataSourceOCMS::dataOCMSDescriptionTable[tag]);
    record.populate(names.first, names.second, line.substr(equals + 1));
}

void send(std::string const& verb, ManageableData& record)
{
    using Cache = Fuzz::Library::Cache;
    DataTagValue_t before;
    auto const asked = record.entries();
    for (auto const& each : asked)
        if (auto const tag = singles().find({each.item, each.subItem}); tag != singles().end())
            before[tag->second] = presentText(tag->second);
    bool const done = verb == "set"       ? Cache::setDataOcms(record)
                      : verb == "get"     ? Cache::getDataOcms(record)
                      : verb == "changed" ? Cache::manageableDataChanged(record)
                                          : Cache::managementAgent()->resetUserData();
    EXPECT_TRUE(verb == "set" ? true : done);
    EXPECT_TRUE(done ? record.rejectReasons().empty() : true);
    std::set<Names> refused;
    for (auto const& each : record.rejectReasons())
        refused.emplace(each.item, each.subItem);
    for (auto const& each : asked) {
        auto const tag = singles().find({each.item, each.subItem});
        if (tag == singles().end())
            continue;
        std::string answer;
        auto const present = presentText(tag->second);
        auto const& old = before[tag->second];
        bool const isText = Cache::getItemType(tag->second) == eDataItemTypeString;
        record.interogate(each.item, each.subItem, answer);
        EXPECT_EQ(old, verb == "get" ? answer : old) << tag->second;
        EXPECT_EQ(old, refused.contains(tag->first) ? present : old) << tag->second << " was refused";
        EXPECT_EQ(present, verb == "set" && done && isText ? each.value : present) << tag->second << " was called stored";
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    auto& library = Fuzz::Library::ready();
    ManageableData record;
    for (std::string const& line : Fuzz::linesOf(data, size)) {
        if (line != "set" && line != "get" && line != "changed" && line != "reset") {
            gather(line, record);
            continue;
        }
        send(line, record);
        library.check();
        record = ManageableData();
    }
    auto noMobility = ::record("mobility-user-data-update", "");
    Fuzz::Library::Cache::manageableDataChanged(noMobility);
    library.check();
    return 0;
}

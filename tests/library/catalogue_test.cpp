// The catalogue against what is known of it otherwise: totals, the numbering of families, rules that hold for every row.
#include "Data/DataItemBuilder.h"
#include "Data/DataNames.h"
#include "Data/DataSourceDB.h"
#include "DataSourceOCMS/DataSourceOCMS.h"
#include "ScriptedFixture.h"

#include <map>
#include <set>

using namespace Data;
using Builder = DataCache::DataItemBuilder;

namespace {

Builder::DataItemRecord const& record(int tag)
{
    return Builder::dataItemDefaultTable[tag];
}

DataSourceDB::DbDescription const& stored(int tag)
{
    return DataSourceDB::dataDbDescriptionTable[tag];
}

DataSourceOCMS::OcmsDescription const& managed(int tag)
{
    return DataSourceOCMS::dataOCMSDescriptionTable[tag];
}

std::string text(std::string const* name)
{
    return name == nullptr ? "-" : *name;
}

std::string replaced(std::string value, std::string const& from, std::string const& to)
{
    std::size_t const at = value.find(from);
    return at == std::string::npos ? value : value.replace(at, from.size(), to);
}

/// "100" to "111", "200" to ...: the key numbers of so many pages.
std::vector<std::string> keyNumbers(int pages, int perPage)
{
    std::vector<std::string> numbers;
    for (int page = 1; page <= pages; ++page)
        for (int key = 0; key < perPage; ++key)
            numbers.push_back(std::to_string(100 * page + key));
    return numbers;
}

class CatalogueTest : public ScriptedTest {};

} // namespace

TEST_F(CatalogueTest, CountsEveryKindOfRow)
{
    std::map<int, int> types;
    std::map<int, int> components;
    int userData = 0;
    int items = 0;
    int subItems = 0;
    int elements = 0;
    std::set<int> secondFlags;
    std::set<int> tables;
    for (int tag = 0; tag <= 806; ++tag) {
        ++types[record(tag).value.type];
        ++components[record(tag).component];
        userData += record(tag).isUserData;
        items += managed(tag).item != nullptr;
        subItems += managed(tag).subItem != nullptr;
        elements += stored(tag).schema != nullptr && !stored(tag).isTable;
        if (record(tag).secondFlag)
            secondFlags.insert(tag);
        if (stored(tag).isTable)
            tables.insert(tag);
    }
    EXPECT_EQ(types, (std::map<int, int>{{0, 180}, {1, 69}, {2, 552}, {3, 6}}));
    EXPECT_EQ(components, (std::map<int, int>{{0, 169}, {1, 638}}));
    EXPECT_EQ(userData, 603);
    EXPECT_EQ(items, 778);
    EXPECT_EQ(subItems, 40);
    EXPECT_EQ(elements, 35 + 52 + 1 + 38 + 120 + 56 + 160);
    EXPECT_EQ(tables, (std::set<int>{68, 108, 129, 220, 242, 413}));
    EXPECT_EQ(secondFlags, (std::set<int>{50, 51, 52, 53, 54,  58,  59,  60,  61,  62,  63,  64,  66,  72,  74,  75,  76,
                                          81, 95, 96, 97, 242, 243, 244, 245, 246, 247, 248, 249, 250, 251, 252, 253, 254}));
}

TEST_F(CatalogueTest, FindsNoRecordOfRowsThatAreSwitchedOffOrOutside)
{
    std::set<int> absent;
    for (int tag = -2; tag <= 809; ++tag)
        if (Builder::findDataRecord(static_cast<eDataTag>(tag)) == nullptr)
            absent.insert(tag);
    EXPECT_EQ(absent, (std::set<int>{-2, -1, 0, 632, 634, 635, 636, 637, 638, 639, 644, 647, 651, 806, 807, 808, 809}));

    platform.clearLogs();
    EXPECT_EQ(Builder::getItemType(eDataTagEnd), eDataItemTypeInvalid);
    EXPECT_FALSE(Builder::isUserData(eDataTagQosLayer3));
    EXPECT_EQ(platform.logs(2), (std::vector<std::string>{"oops.. no record found for tag 806",
                                                          "DataItemBuilder::isUserData - no record found for tag 634"}));
}

TEST_F(CatalogueTest, AppendsTheTagsOfAComponentInAscendingOrder)
{
    std::list<eDataTag> own{eDataTagEnd};
    Builder::getComponentTagList(eDataComponentMedia, own);
    std::list<eDataTag> expected{eDataTagEnd};
    for (int tag = 1; tag <= 805; tag = tag == 629 ? 797 : tag + 1)
        expected.push_back(static_cast<eDataTag>(tag));
    EXPECT_EQ(own, expected);

    std::list<eDataTag> others;
    Builder::getComponentTagList(eDataComponentNone, others);
    EXPECT_EQ(others.size(), 157U);
}

TEST_F(CatalogueTest, GivesEachTypeOnlyTheChecksMadeForIt)
{
    EXPECT_TRUE(Builder::verifyDataTable());
    for (int tag = 0; tag <= 806; ++tag) {
        SCOPED_TRACE(tag);
        auto const& row = record(tag);
        auto const value = row.valueChain[0].builder;
        auto const string = row.stringChain[0].builder;
        EXPECT_EQ(row.stringChain[1].builder, nullptr);
        EXPECT_EQ(row.valueChain[1].builder, tag >= 190 && tag <= 204 ? Builder::dataValidatorIntRangeNot : nullptr);
        if (row.value.type == eDataItemTypeInt) {
            // No negative number can be entered as text where there is a range.
            EXPECT_EQ(string, value == nullptr ? nullptr : Builder::dataValidatorStringAllDigits);
            EXPECT_TRUE(value == nullptr ||
                        value == (tag == 91 ? Builder::dataValidatorBasePort : Builder::dataValidatorIntRange));
        } else if (row.value.type == eDataItemTypeBool) {
            EXPECT_EQ(value, nullptr);
            EXPECT_TRUE(string == nullptr || string == Builder::dataValidatorStringBoolean);
        } else {
            EXPECT_EQ(string, nullptr);
            EXPECT_EQ(value == Builder::dataValidatorStringsAllowed, tag == 60);
        }
    }
}

TEST_F(CatalogueTest, NumbersTheKeyPagesInTagOrder)
{
    int tag = 293;
    for (std::string const& key : keyNumbers(10, 12)) {
        EXPECT_EQ(text(stored(tag).element), "direct-video-" + key);
        EXPECT_EQ(text(managed(tag++).item), "direct-video-" + key);
    }
    EXPECT_EQ(tag, 413);
    tag = 470;
    for (std::string const& key : keyNumbers(10, 16)) {
        EXPECT_EQ(text(stored(tag).element), "fpk-door-opener-" + key);
        EXPECT_EQ(text(managed(tag++).item), "fpk-door-opener-" + key);
    }
    EXPECT_EQ(tag, 630);
    tag = 653;
    for (std::string const& key : keyNumbers(9, 16)) {
        EXPECT_EQ(text(managed(tag).item), "function-key-def-" + key);
        EXPECT_EQ(record(tag).value.text, text(managed(tag).item)) << "the default is the item's own name";
        ++tag;
    }
    EXPECT_EQ(tag, 797);
}

TEST_F(CatalogueTest, RepeatsTheFirstCameraAndTheFirstDoorOpenerThreeTimes)
{
    struct Family {
        int first;
        int size;
    };
    for (auto const& [first, size] : {Family{257, 9}, Family{414, 14}})
        for (int n = 2; n <= 4; ++n)
            for (int place = 0; place < size; ++place) {
                int const model = first + place;
                int const tag = model + size * (n - 1);
                SCOPED_TRACE(tag);
                std::string const digit = std::to_string(n);
                EXPECT_EQ(text(stored(tag).element), replaced(text(stored(model).element), "1", digit));
                EXPECT_EQ(text(managed(tag).item), replaced(text(managed(model).item), "1", digit));
                EXPECT_EQ(record(tag).value.text, replaced(record(model).value.text, " 1", " " + digit));
                EXPECT_EQ(record(tag).value.type, record(model).value.type);
                EXPECT_EQ(record(tag).valueChain, record(model).valueChain);
                EXPECT_EQ(record(tag).stringChain, record(model).stringChain);
                EXPECT_EQ(stored(tag).parentTable, stored(model).parentTable);
            }
}

TEST_F(CatalogueTest, PutsEveryCellIntoItsTable)
{
    std::map<int, std::pair<int, int>> const members{{68, {69, 71}},    {108, {109, 124}}, {129, {130, 219}},
                                                     {220, {221, 235}}, {242, {243, 251}}, {413, {414, 469}}};
    for (int tag = 0; tag <= 806; ++tag) {
        int parent = 0;
        for (auto const& [table, range] : members)
            if (tag >= range.first && tag <= range.second)
                parent = table;
        EXPECT_EQ(stored(tag).parentTable, parent) << tag;
    }
    EXPECT_EQ(text(managed(114).item) + " " + text(managed(114).subItem), "codecSettings codec[2]/rank");
    EXPECT_EQ(text(managed(235).item) + " " + text(managed(235).subItem),
              "SRTPEncryptionSettings SRTPEncryption[5]/allowed");
    EXPECT_EQ(text(managed(243).item) + " " + text(managed(243).subItem), "headsetPriorities headset[1]/type");
}

TEST_F(CatalogueTest, SharesOneConstantPerNameSoThatAddressesCompare)
{
    EXPECT_EQ(stored(eDataTagIceServerType).element, &dasIceServerType);
    EXPECT_EQ(dasIceServerType, "IceServerType0");
    EXPECT_EQ(managed(eDataTagMobilityDataUpdate).item, &ocmsMobilityDataUpdate);
    EXPECT_EQ(ocmsMobilityDataUpdate, "mobility-user-data-update");
    EXPECT_EQ(stored(eDataTagCodecSettings).element, &dasTableFull);
    EXPECT_EQ(dasTableFull, "");

    std::map<std::string, std::set<std::string const*>> schemas;
    std::set<std::string const*> roots;
    for (int tag = 0; tag <= 806; ++tag) {
        if (stored(tag).schema != nullptr)
            schemas[*stored(tag).schema].insert(stored(tag).schema);
        if (managed(tag).subItem != nullptr)
            roots.insert(managed(tag).item);
    }
    EXPECT_EQ(schemas.size(), 12U);
    for (auto const& [name, addresses] : schemas)
        EXPECT_EQ(addresses.size(), 1U) << name;
    EXPECT_EQ(roots,
              (std::set<std::string const*>{&ocmsCodecSettings, &ocmsSRTPEncryptionSettings, &ocmsHeadsetPriorities}));
}

// What a client may ask of the sources directly, linked from the shared library.
#include "../library/LibraryTest.h"

#include "Data/DataCache.h"
#include "Data/DataItem.h"

namespace {

constexpr eDataTag outside[]{static_cast<eDataTag>(-1), static_cast<eDataTag>(eDataTagEnd + 1),
                             static_cast<eDataTag>(70000)};
constexpr auto country = static_cast<eDataTag>(633);

struct SourceAccess : GroupingTest {
    DataCache cache{platform, {}, eDataComponentMedia};
    DataItem<int> volume{eDataTagRingerVolume, eDataSourceDB};
    std::string reason;
    DataTagValue_t rejected;
};

} // namespace

TEST_F(SourceAccess, ReadsAndWritesTheDatabasePastTheItemsOfTheCache)
{
    platform.clearJournal();
    platform.database("AudioSettings", "RingerVolume", "7");
    int value = 0;
    EXPECT_TRUE(cache.readDataFromSourceDB(eDataTagRingerVolume, &volume));
    EXPECT_TRUE(volume.getValue(value));
    EXPECT_EQ(value, 7);
    EXPECT_TRUE(cache.getData(eDataTagRingerVolume, value));
    EXPECT_EQ(value, 3);
    EXPECT_TRUE(volume.setValue(5, reason));
    EXPECT_TRUE(cache.writeDataToSourceDB(eDataTagRingerVolume, &volume));
    EXPECT_EQ(platform.databaseText("AudioSettings", "RingerVolume"), "5");
    for (auto const& call : platform.calls({"getDataItem", "setDataItem"}))
        EXPECT_GT(call.lockDepth, 0) << call.text();
}

TEST_F(SourceAccess, StoresTheTablesOfWhichACellWasWritten)
{
    DataItem<std::string> cell(eDataTagAlertIdentifier0, eDataSourceDB);
    for (bool const isTold : {false, true}) {
        EXPECT_TRUE(cache.setDataValues({{eDataTagAlertIdentifier0, isTold ? "boss" : "team"}}, rejected, false, false));
        platform.clearJournal();
        EXPECT_TRUE(cache.updateDataInSourceDB());
        EXPECT_EQ(platform.calls({"setDataItems"}).size(), 0U) << "no cell was written";
        EXPECT_TRUE(cache.writeDataToSourceDB(eDataTagAlertIdentifier0, &cell));
        EXPECT_TRUE(isTold ? cache.updateDataInSourceDB(rejected) : cache.updateDataInSourceDB());
        auto const calls = platform.calls({"setDataItems"});
        EXPECT_EQ(calls.size(), 15U) << isTold;
        for (auto const& call : calls)
            EXPECT_GT(call.lockDepth, 1) << isTold << ": the lock of all rows, and that of each value: " << call.text();
    }
    EXPECT_TRUE(cache.setDataValues({{eDataTagCodecType1, "1"}}, rejected, false, false)); // there is one already
    EXPECT_TRUE(cache.writeDataToSourceDB(eDataTagCodecType1, &cell));
    rejected.clear();
    EXPECT_FALSE(cache.updateDataInSourceDB(rejected));
    EXPECT_TRUE(rejected.contains(eDataTagCodecType1));
}

TEST_F(SourceAccess, AsksAndTellsTheManagementService)
{
    platform.clearJournal();
    platform.management("country", "country", "DE");
    std::string place;
    EXPECT_TRUE(cache.readDataFromSourceOCMS(country, place));
    EXPECT_EQ(place, "DE");
    EXPECT_TRUE(cache.writeDataToSourceOCMS(eDataTagRingerVolume, 5));
    EXPECT_TRUE(cache.writeDataToSourceOCMS(eDataTagRingerEnabled, false));
    EXPECT_TRUE(cache.writeDataToSourceOCMS(country, std::string("FR")));
    EXPECT_EQ(platform.lines({"reportChanged", "requestSet"}),
              (Texts{"reportChanged ringer-volume=5 [ringer-volume] -> true",
                     "reportChanged ringer-enabled=false [ringer-enabled] -> true", "requestSet country=FR -> true"}));
    for (auto const& call : platform.calls({"readData", "reportChanged", "requestSet"}))
        EXPECT_GT(call.lockDepth, 0) << call.text();
}

TEST_F(SourceAccess, AnswersFalseForTagsOutsideTheCatalogue)
{
    for (eDataTag const tag : outside) {
        DataItem<int> item(tag, eDataSourceDB);
        int number = 7;
        bool flag = true;
        EXPECT_FALSE(cache.readDataFromSourceDB(tag, &item)) << tag;
        EXPECT_FALSE(cache.writeDataToSourceDB(tag, &item)) << tag;
        EXPECT_FALSE(cache.readDataFromSourceDB(tag, nullptr)) << tag;
        EXPECT_FALSE(cache.writeDataToSourceDB(tag, nullptr)) << tag;
        EXPECT_FALSE(cache.readDataFromSourceOCMS(tag, number)) << tag;
        EXPECT_EQ(number, 0) << tag;
        EXPECT_FALSE(cache.readDataFromSourceOCMS(tag, flag)) << tag;
        EXPECT_FALSE(flag) << tag;
        EXPECT_FALSE(cache.writeDataToSourceOCMS(tag, number)) << tag;
    }
    cache.readUserDataFromSourceDB();
    cache.updateCallbacks(); // meets no tag that it does not hold
}

TEST_F(SourceAccess, AnItemTellsItsListenersOfChangesOnly)
{
    std::set<DataUpdateCallback*> told;
    EXPECT_TRUE(volume.setValue(5, reason));
    EXPECT_FALSE(volume.getCallbacks(told)) << "nobody to tell";
    volume.addCallback(&listener);
    EXPECT_FALSE(volume.getCallbacks(told)) << "unchanged since";
    EXPECT_TRUE(volume.setValue(6, reason));
    EXPECT_TRUE(volume.getCallbacks(told));
    EXPECT_EQ(told, std::set<DataUpdateCallback*>{&listener});
}

// Distinctive ringing, group pickup, and the table handler's own promises.
#include "TablesTest.h"

namespace {

using namespace Data;

eDataTag cell(eDataTag column, int row)
{
    return static_cast<eDataTag>(column + row);
}

std::size_t occurrences(std::string const& text, std::string const& part)
{
    std::size_t count = 0;
    for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        ++count;
    return count;
}

TEST_F(TablesTest, RingingTextsWithMarkupComeBackAsTheyWereAndStillSplitIntoFifteenRows)
{
    std::vector<std::string> const texts{"<http://a.b>;info=x&y",
                                         "</Entry>",
                                         "<Entry>",
                                         "]]>",
                                         "&amp;",
                                         "a\"b'c",
                                         "]]&gt;",
                                         "<!--",
                                         "<![CDATA[",
                                         " ",
                                         "\xc3\xa4<",
                                         "&#60;&",
                                         "<>",
                                         "&&",
                                         "DistinctiveRingerIndex"};
    for (int row = 0; row < 15; ++row) {
        store.cells[cell(eDataTagAlertIdentifier0, row)] = texts[static_cast<std::size_t>(row)];
        store.cells[cell(eDataTagRingerFile0, row)] = texts[static_cast<std::size_t>(14 - row)];
        store.cells[cell(eDataTagAlertDuration0, row)] = std::to_string(row);
    }
    auto const before = range(eDataTagAlertIdentifier0, eDataTagRingerFile14);
    ASSERT_TRUE(write(eDataTagDistinctiveRinging));
    auto const xml = store.stored(eDataTagDistinctiveRinging).at(0);
    EXPECT_EQ(occurrences(xml, "<Entry>"), 15U);
    EXPECT_EQ(occurrences(xml, "</Entry>"), 15U);
    EXPECT_EQ(xml.substr(0, xml.find("</Entry>")),
              "<Entry><DistinctiveRingerIndex>0</DistinctiveRingerIndex><AlertIdentifier>&lt;http://a.b&gt;;info=x&amp;y"
              "</AlertIdentifier><AlertType>0</AlertType><RingerMelody>2</RingerMelody><RingerTone>2</RingerTone>"
              "<AlertRingerFile>DistinctiveRingerIndex</AlertRingerFile><AlertDuration>0</AlertDuration>");

    for (std::string const& stored : {xml, "<Schema name=\"DistinctiveRinging\">" + xml + "</Schema>"}) {
        for (int tag = eDataTagAlertIdentifier0; tag <= eDataTagRingerFile14; ++tag)
            store.cells[static_cast<eDataTag>(tag)] = "x";
        read(eDataTagDistinctiveRinging, stored);
        EXPECT_EQ(range(eDataTagAlertIdentifier0, eDataTagRingerFile14), before);
    }
}

TEST_F(TablesTest, RingingRowsGoWhereTheirIndexSays)
{
    for (int row = 0; row < 15; ++row)
        store.cells[cell(eDataTagAlertIdentifier0, row)] = "id" + std::to_string(row);
    store.cells[eDataTagRingerFile0] = "old.wav";
    auto const row = [](std::string const& index, std::string const& rest) {
        return "<Entry><DistinctiveRingerIndex>" + index + "</DistinctiveRingerIndex>" + rest + "</Entry>";
    };
    read(eDataTagDistinctiveRinging,
         "<Entry><AlertIdentifier>lost</AlertIdentifier></Entry>" + row("14", "<AlertIdentifier>last</AlertIdentifier>") +
             row("15", "<AlertIdentifier>lost</AlertIdentifier>") + row("-1", "<AlertIdentifier>lost</AlertIdentifier>") +
             row("2", "<AlertIdentifier></AlertIdentifier><RingerTone>5</RingerTone><Note>1</Note>") +
             row("1", "<AlertIdentifier>one</AlertIdentifier>"));
    for (int index = 0; index < 15; ++index)
        EXPECT_EQ(store.cells.at(cell(eDataTagAlertIdentifier0, index)), index == 1    ? "one"
                                                                         : index == 14 ? "last"
                                                                                       : "id" + std::to_string(index));
    EXPECT_EQ(store.cells.at(cell(eDataTagRingerTone0, 2)), "5");
    EXPECT_EQ(store.cells.at(eDataTagRingerFile0), "");
}

TEST_F(TablesTest, RingingRowsWithoutIdentifierFollowTheGeneralRingerAndTheOthersDoNot)
{
    auto const odd = [this](int row, std::string const& identifier) {
        set({{cell(eDataTagAlertIdentifier0, row), identifier},
             {cell(eDataTagAlertType0, row), "1"},
             {cell(eDataTagRingerMelody0, row), "7"},
             {cell(eDataTagRingerTone0, row), "8"},
             {cell(eDataTagRingerFile0, row), "x.wav"},
             {cell(eDataTagAlertDuration0, row), "9"}});
    };
    odd(3, "");
    odd(4, "known");
    ASSERT_TRUE(write(eDataTagDistinctiveRinging));
    ASSERT_EQ(store.sets.size(), 2U);
    EXPECT_FALSE(store.sets[0].persist || store.sets[0].values.contains(eDataTagDistinctiveRinging));
    EXPECT_EQ(store.sets[1].values.size(), 1U);
    for (auto const& [column, general, own] :
         std::vector<std::tuple<eDataTag, std::string, std::string>>{{eDataTagAlertType0, "0", "1"},
                                                                     {eDataTagRingerMelody0, "2", "7"},
                                                                     {eDataTagRingerTone0, "2", "8"},
                                                                     {eDataTagRingerFile0, "", "x.wav"},
                                                                     {eDataTagAlertDuration0, "60", "9"}}) {
        EXPECT_EQ(store.cells.at(cell(column, 3)), general);
        EXPECT_EQ(store.cells.at(cell(column, 4)), own);
    }
    write(eDataTagDistinctiveRinging);
    EXPECT_EQ(store.sets.size(), 1U) << "what follows already is stored without correction";
}

struct Pickup {
    std::string parent, asRinger, toneAllowed, toneType; ///< before; then after the write
    std::string parentAfter, asRingerAfter, toneAllowedAfter, toneTypeAfter;
};

Pickup const pickups[]{
    // A changed type decides.
    {"2", "true", "true", "0", "0", "false", "false", "0"},
    {"2", "true", "true", "1", "1", "false", "true", "1"},
    {"2", "true", "true", "3", "3", "true", "false", "3"},
    {"0", "false", "false", "2", "2", "true", "true", "2"},
    // Flags that match leave the table tag behind.
    {"0", "true", "true", "2", "0", "true", "true", "2"},
    {"0", "false", "false", "7", "0", "false", "false", "7"},
    {"0", "true", "false", "-1", "0", "true", "false", "-1"},
    // With an unchanged type the flags decide.
    {"2", "false", "false", "2", "0", "false", "false", "0"},
    {"2", "false", "true", "2", "1", "false", "true", "1"},
    {"0", "true", "true", "0", "2", "true", "true", "2"},
    {"2", "true", "false", "2", "3", "true", "false", "3"},
    {"", "true", "true", "", "2", "true", "true", "2"},
    {"3", "true", "false", "3", "3", "true", "false", "3"},
};

TEST_F(TablesTest, GroupPickupFollowsWhatWasChanged)
{
    for (auto const& pickup : pickups) {
        SCOPED_TRACE(pickup.parent + " " + pickup.asRinger + " " + pickup.toneAllowed + " " + pickup.toneType);
        DataTagValue_t const before{{eDataTagGroupPickup, pickup.parent},
                                    {eDataTagGroupPickupAsRinger, pickup.asRinger},
                                    {eDataTagGroupPickupToneAllowed, pickup.toneAllowed},
                                    {eDataTagGroupPickupToneType, pickup.toneType}};
        DataTagValue_t const after{{eDataTagGroupPickup, pickup.parentAfter},
                                   {eDataTagGroupPickupAsRinger, pickup.asRingerAfter},
                                   {eDataTagGroupPickupToneAllowed, pickup.toneAllowedAfter},
                                   {eDataTagGroupPickupToneType, pickup.toneTypeAfter}};
        set(before);
        EXPECT_TRUE(write(eDataTagGroupPickup));
        EXPECT_EQ(range(eDataTagGroupPickup, eDataTagGroupPickupToneType), after);
        ASSERT_EQ(store.sets.size(), 1U);
        EXPECT_EQ(store.sets[0].toManagement, before != after);

        // After a read the flags decide, whatever the type that was stored with them.
        set(before);
        read(eDataTagGroupPickup, pickup.parent);
        auto const type = pickup.asRinger == "true" ? (pickup.toneAllowed == "true" ? "2" : "3")
                                                    : (pickup.toneAllowed == "true" ? "1" : "0");
        EXPECT_EQ(store.cells.at(eDataTagGroupPickup), type);
        EXPECT_EQ(store.cells.at(eDataTagGroupPickupToneType), type);
        EXPECT_EQ(store.cells.at(eDataTagGroupPickupAsRinger), pickup.asRinger);
    }
}

TEST_F(TablesTest, AnOpenerThatIsSwitchedOffIsEmptiedOnceAndKeepsWhatIsSetLater)
{
    auto const name = eDataTagDoorOpener2Name;
    set({{eDataTagDoorOpener2Type, "3"},
         {name, "Gate"},
         {eDataTagDoorOpener2Path, "/open"},
         {eDataTagDoorOpener2Port, "80"}});
    write(eDataTagDoorOpeners);
    EXPECT_EQ(store.cells.at(name), "Gate");
    store.cells[eDataTagDoorOpener2Type] = "0";
    write(eDataTagDoorOpeners);
    EXPECT_TRUE(store.sets.at(0).persist && store.sets.at(0).toManagement);
    EXPECT_EQ(range(eDataTagDoorOpener2Type, eDataTagDoorOpener2AutomaticVideo),
              (DataTagValue_t{{eDataTagDoorOpener2Type, "0"},
                              {name, "DoorOpener 2"},
                              {eDataTagDoorOpener2Method, "1"},
                              {eDataTagDoorOpener2PhoneNumber, ""},
                              {eDataTagDoorOpener2Address, ""},
                              {eDataTagDoorOpener2Port, "0"},
                              {eDataTagDoorOpener2Username, ""},
                              {eDataTagDoorOpener2Password, ""},
                              {eDataTagDoorOpener2Path, ""},
                              {eDataTagDoorOpener2UrlParameters, ""},
                              {eDataTagDoorOpener2Pin, ""},
                              {eDataTagDoorOpener2FpkConfirmation, "true"},
                              {eDataTagDoorOpener2DirectVideo, "0"},
                              {eDataTagDoorOpener2AutomaticVideo, "false"}}));
    store.cells[name] = "Later";
    write(eDataTagDoorOpeners);
    EXPECT_EQ(store.cells.at(name), "Later");
}

TEST_F(TablesTest, AFlushWithinAFlushWritesEachPendingTableOnce)
{
    for (auto const table : {eDataTagGroupPickup, eDataTagCodecSettings, eDataTagHeadsetPriorities, eDataTagDoorOpeners})
        handler.setTableChanged(table);
    store.onSet = [this] { EXPECT_TRUE(handler.writeTablesToDB(rejected)); };
    EXPECT_TRUE(handler.writeTablesToDB(rejected));
    EXPECT_EQ(store.stored(eDataTagCodecSettings).size(), 1U);
    EXPECT_EQ(store.stored(eDataTagHeadsetPriorities).size(), 1U);
    EXPECT_EQ(store.sets.size(), 4U);
    EXPECT_TRUE(handler.writeTablesToDB(rejected));
    EXPECT_EQ(store.sets.size(), 4U) << "nothing is pending any more";
}

TEST_F(TablesTest, ATableThatTheDatabaseRefusesIsNotReportedAsRejected)
{
    store.accepts = false;
    EXPECT_TRUE(write(eDataTagCodecSettings));
    EXPECT_TRUE(rejected.empty());
}

TEST_F(TablesTest, TouchesOnlyTheTablesOfTheUserWhenAskedTo)
{
    store.userTables = {eDataTagHeadsetPriorities};
    handler.readDataFromTables(true);
    ASSERT_EQ(store.sets.size(), 1U);
    EXPECT_EQ(store.sets[0].values.begin()->first, eDataTagHeadsetType1);
    EXPECT_FALSE(store.sets[0].persist || store.sets[0].toManagement);
}

TEST_F(TablesTest, DoesNothingWithoutTablesOrWithoutCache)
{
    DataSourceDB::DataTableHandler none{{}, &store};
    DataSourceDB::DataTableHandler deaf{{eDataTagCodecSettings}, nullptr};
    for (auto* const idle : {&none, &deaf}) {
        idle->setTableChanged(eDataTagCodecSettings);
        idle->readDataFromTables(false);
        EXPECT_TRUE(idle->writeTablesToDB(rejected));
    }
    EXPECT_TRUE(store.sets.empty() && rejected.empty());
}

} // namespace

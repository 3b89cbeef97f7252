// Distinctive ringing, group pickup, and the table handler's own promises.
#include "TablesTest.h"

#include <array>

namespace {

using namespace Data;

eDataTag cell(eDataTag column, int row)
{
    return static_cast<eDataTag>(column + row);
}

TEST_F(TablesTest, RingingTextsWithMarkupComeBackAsTheyWereAndStillSplitIntoFifteenRows)
{
    for (int row = 0;
         std::string const text : {"<http://a.b>;info=x&y", "</Entry>", "<Entry>", "]]>", "&amp;", "a\"b'c", "]]&gt;",
                                   "<!--", "<![CDATA[", " ", "\xc3\xa4<", "&#60;&", "<>", "&&", "DistinctiveRingerIndex"}) {
        store.cells[cell(eDataTagAlertIdentifier0, row)] = text;
        store.cells[cell(eDataTagRingerFile0, 14 - row)] = text;
        store.cells[cell(eDataTagAlertDuration0, row)] = std::to_string(row);
        ++row;
    }
    auto const before = range(eDataTagAlertIdentifier0, eDataTagRingerFile14);
    ASSERT_TRUE(write(eDataTagDistinctiveRinging));
    auto const xml = store.stored(eDataTagDistinctiveRinging).at(0);
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

/// Table, as-ringer, tone-allowed and tone-type before a write and after it.
struct Pickup {
    std::array<std::string, 4> before, after;
};

Pickup const pickups[]{// A changed type decides.
                       {{"2", "true", "true", "0"}, {"0", "false", "false", "0"}},
                       {{"2", "true", "true", "1"}, {"1", "false", "true", "1"}},
                       {{"2", "true", "true", "3"}, {"3", "true", "false", "3"}},
                       {{"0", "false", "false", "2"}, {"2", "true", "true", "2"}},
                       // Flags that match leave the table tag behind.
                       {{"0", "true", "true", "2"}, {"0", "true", "true", "2"}},
                       {{"0", "true", "false", "-1"}, {"0", "true", "false", "-1"}},
                       // With an unchanged type the flags decide.
                       {{"2", "false", "false", "2"}, {"0", "false", "false", "0"}},
                       {{"2", "false", "true", "2"}, {"1", "false", "true", "1"}},
                       {{"2", "true", "false", "2"}, {"3", "true", "false", "3"}},
                       {{"", "true", "true", ""}, {"2", "true", "true", "2"}}};

TEST_F(TablesTest, GroupPickupFollowsWhatWasChanged)
{
    for (auto const& pickup : pickups) {
        SCOPED_TRACE(testing::PrintToString(pickup.before));
        auto const cells = [](auto const& texts) {
            DataTagValue_t values;
            for (int i = 0; i < 4; ++i)
                values[cell(eDataTagGroupPickup, i)] = texts[static_cast<std::size_t>(i)];
            return values;
        };
        auto const before = cells(pickup.before);
        auto const after = cells(pickup.after);
        set(before);
        EXPECT_TRUE(write(eDataTagGroupPickup));
        EXPECT_EQ(range(eDataTagGroupPickup, eDataTagGroupPickupToneType), after);
        ASSERT_EQ(store.sets.size(), 1U);
        EXPECT_EQ(store.sets[0].toManagement, before != after);

        // After a read the flags decide, whatever the type that was stored with them.
        set(before);
        read(eDataTagGroupPickup, pickup.before[0]);
        auto const& [table, asRinger, toneAllowed, toneType] = pickup.before;
        auto const type = asRinger == "true" ? (toneAllowed == "true" ? "2" : "3") : (toneAllowed == "true" ? "1" : "0");
        EXPECT_EQ(range(eDataTagGroupPickup, eDataTagGroupPickupToneType),
                  cells(std::array<std::string, 4>{type, asRinger, toneAllowed, type}));
    }
}

TEST_F(TablesTest, AnOpenerThatIsSwitchedOffIsEmptiedOnceAndKeepsWhatIsSetLater)
{
    auto const name = eDataTagDoorOpener2Name;
    auto defaults = range(eDataTagDoorOpener2Type, eDataTagDoorOpener2AutomaticVideo);
    set({{eDataTagDoorOpener2Type, "3"},
         {name, "Gate"},
         {eDataTagDoorOpener2Path, "/open"},
         {eDataTagDoorOpener2Port, "80"}});
    write(eDataTagDoorOpeners);
    EXPECT_EQ(store.cells.at(name), "Gate");
    defaults[eDataTagDoorOpener2Type] = store.cells[eDataTagDoorOpener2Type] = "0";
    write(eDataTagDoorOpeners);
    EXPECT_TRUE(store.sets.at(0).persist && store.sets.at(0).toManagement);
    defaults[eDataTagDoorOpener2Path] = ""; // not its default
    EXPECT_EQ(range(eDataTagDoorOpener2Type, eDataTagDoorOpener2AutomaticVideo), defaults);
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

} // namespace

// Distinctive ringing, group pickup, and the table handler's own promises.
#include "TablesTest.h"

namespace {

eDataTag cell(eDataTag column, int row)
{
    return static_cast<eDataTag>(column + row);
}

TEST_F(StoredTables, RingingTextsWithMarkupComeBackAsTheyWereAndStillSplitIntoFifteenRows)
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

TEST_F(StoredTables, RingingRowsGoWhereTheirIndexSays)
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
             row("", "<AlertIdentifier>lost</AlertIdentifier>") +
             row("2", "<AlertIdentifier></AlertIdentifier><RingerTone>5</RingerTone><Note>1</Note>") +
             row("3", "<AlertIdentifier>three</AlertIdentifier><RingerTone>5</RingerTone>") +
             row("1", "<AlertIdentifier>one</AlertIdentifier>"));
    std::map<int, std::string> const moved{{1, "one"}, {2, ""}, {3, "three"}, {14, "last"}};
    for (int i = 0; i < 15; ++i)
        EXPECT_EQ(store.cells.at(cell(eDataTagAlertIdentifier0, i)),
                  moved.contains(i) ? moved.at(i) : "id" + std::to_string(i));
    EXPECT_EQ(store.cells.at(cell(eDataTagRingerTone0, 2)), "2") << "without identifier it follows the general ringer";
    EXPECT_EQ(store.cells.at(cell(eDataTagRingerTone0, 3)), "5");
    EXPECT_EQ(store.cells.at(eDataTagRingerFile0), "");
}

TEST_F(StoredTables, GroupPickupFollowsWhatWasChanged)
{
    // Table, as-ringer, tone-allowed and tone-type before a write and after it.
    std::pair<std::string, std::string> const pickups[]{
        {"2++0", "0--0"}, {"2++1", "1-+1"}, {"2++3", "3+-3"}, {"0--2", "2++2"}, // a changed type decides
        {"0++2", "0++2"}, {"0+-~", "0+-~"}, // flags that match leave the table tag behind
        {"2--2", "0--0"}, {"2-+2", "1-+1"}, {"2+-2", "3+-3"}, {" ++ ", "2++2"}}; // with an unchanged type the flags decide
    for (auto const& [letters, lettersAfter] : pickups) {
        SCOPED_TRACE(letters);
        auto const before = column(eDataTagGroupPickup, letters);
        store.take(before);
        EXPECT_TRUE(write(eDataTagGroupPickup));
        EXPECT_EQ(range(eDataTagGroupPickup, eDataTagGroupPickupToneType), column(eDataTagGroupPickup, lettersAfter));
        ASSERT_EQ(store.sets.size(), 1U);
        EXPECT_EQ(store.sets[0].toManagement, letters != lettersAfter);

        // After a read the flags decide, whatever the type that was stored with them.
        store.take(before);
        read(eDataTagGroupPickup, letters.substr(0, 1));
        auto const flags = letters.substr(1, 2);
        std::string const type = flags == "--" ? "0" : flags == "-+" ? "1" : flags == "++" ? "2" : "3";
        EXPECT_EQ(range(eDataTagGroupPickup, eDataTagGroupPickupToneType), column(eDataTagGroupPickup, type + flags + type));
    }
}

TEST_F(StoredTables, AnOpenerThatIsSwitchedOffIsEmptiedOnceAndKeepsWhatIsSetLater)
{
    auto const name = eDataTagDoorOpener2Name;
    auto defaults = range(eDataTagDoorOpener2Type, eDataTagDoorOpener2AutomaticVideo);
    store.take({{eDataTagDoorOpener2Type, "3"},
                {name, "Gate"},
                {eDataTagDoorOpener2Path, "/open"},
                {eDataTagDoorOpener2Port, "80"}});
    write(eDataTagDoorOpeners);
    EXPECT_EQ(store.cells.at(name), "Gate");
    defaults[eDataTagDoorOpener2Type] = store.cells[eDataTagDoorOpener2Type] = "0";
    write(eDataTagDoorOpeners);
    EXPECT_TRUE(store.sets.at(0).persist);
    EXPECT_TRUE(store.sets.at(0).toManagement);
    defaults[eDataTagDoorOpener2Path] = ""; // not its default
    EXPECT_EQ(range(eDataTagDoorOpener2Type, eDataTagDoorOpener2AutomaticVideo), defaults);
    store.cells[name] = "Later";
    write(eDataTagDoorOpeners);
    EXPECT_EQ(store.cells.at(name), "Later");
}

TEST_F(StoredTables, AFlushWithinAFlushWritesEachPendingTableOnce)
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

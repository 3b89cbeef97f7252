// The codec, SRTP encryption and headset tables: what their checks take, what they store, what they make of stored texts.
#include "TablesTest.h"

namespace {

using namespace Data;

std::string codecText(std::vector<std::string> const& rows)
{
    std::string xml = "<Schema name=\"CodecSettings\">";
    for (std::string const& row : rows) {
        xml += "<Entry><CodecType>" + row.substr(0, 1) + "</CodecType><CodecRank>" + row.substr(1, 1);
        xml += std::string("</CodecRank><CodecAllowed>") + (row[2] == '+' ? "true" : "false");
        xml += "</CodecAllowed><CodecPacketSize>" + row.substr(3, 1) + "</CodecPacketSize></Entry>";
    }
    return xml + "</Schema>";
}

/// "Method" for SRTP, "Type" for headsets.
std::string rankedText(std::string const& schema, std::string const& choice, std::vector<std::string> const& rows)
{
    std::string xml = "<Schema name=\"" + schema + "\">";
    for (std::string const& row : rows) {
        xml += "<Entry><" + choice + ">" + row.substr(0, 1) + "</" + choice + "><Rank>" + row.substr(1, 1);
        xml += std::string("</Rank><Allowed>") + (row[2] == '+' ? "true" : "false") + "</Allowed></Entry>";
    }
    return xml + "</Schema>";
}

std::string srtpText(std::vector<std::string> const& rows)
{
    return rankedText("SRTPEncryptionSettings", "Method", rows);
}

std::string headsetText(std::vector<std::string> const& rows)
{
    return rankedText("HeadsetPriorities", "Type", rows);
}

struct Change {
    char const* name;
    eDataTag table;
    eDataTag lastCell;
    DataTagValue_t cells;
    bool accepted;
};

Change codec(char const* name, DataTagValue_t cells, bool accepted)
{
    return {name, eDataTagCodecSettings, eDataTagCodecPacketSize4, std::move(cells), accepted};
}

Change srtp(char const* name, DataTagValue_t cells, bool accepted)
{
    return {name, eDataTagSRTPEncryptionSettings, eDataTagSRTPEncryptionAllowed5, std::move(cells), accepted};
}

Change headset(char const* name, DataTagValue_t cells, bool accepted)
{
    return {name, eDataTagHeadsetPriorities, eDataTagHeadsetAllowed3, std::move(cells), accepted};
}

DataTagValue_t column(eDataTag first, std::vector<std::string> const& texts)
{
    DataTagValue_t cells;
    for (std::size_t row = 0; row < texts.size(); ++row)
        cells[static_cast<eDataTag>(first + static_cast<int>(row))] = texts[row];
    return cells;
}

DataTagValue_t both(DataTagValue_t first, DataTagValue_t second)
{
    first.merge(second);
    return first;
}

std::vector<std::string> const no3{"false", "false", "false"};
std::vector<std::string> const no5{"false", "false", "false", "false", "false"};

Change const changes[]{
    codec("TwoCodecsOfOneType", {{eDataTagCodecType2, "3"}}, false),
    codec("CodecTypeAbove3", {{eDataTagCodecType1, "4"}}, false),
    codec("NegativeCodecType", {{eDataTagCodecType1, "-1"}}, false),
    codec("TwoCodecsOfOneRank", {{eDataTagCodecRank2, "1"}}, false),
    codec("CodecRank0", {{eDataTagCodecRank1, "0"}}, false),
    codec("CodecRank5", {{eDataTagCodecRank4, "5"}}, false),
    codec("EmptyCodecRank", {{eDataTagCodecRank4, ""}}, false),
    codec("CodecPacketSize6", {{eDataTagCodecPacketSize4, "6"}}, false),
    codec("CodecPacketSize5", {{eDataTagCodecPacketSize4, "5"}}, true),
    codec("NoCodecAllowed", column(eDataTagCodecAllowed1, {"false", "false", "false", "false"}), false),
    // Row 4 is the one with type 1, which is not allowed.
    codec("EveryAllowedCodecWithoutHardware", column(eDataTagCodecHardwareAllowed0, {"false", "true", "false", "false"}),
          false),
    codec("OneAllowedCodecWithHardware", column(eDataTagCodecHardwareAllowed0, {"false", "false", "true", "false"}), true),
    srtp("TwoRowsOfOneMethod", {{eDataTagSRTPEncryptionMethod2, "2"}}, false),
    srtp("TwoRowsOfOneMethodButOneWithoutHardware",
         {{eDataTagSRTPEncryptionMethod2, "2"}, {eDataTagSRTPEncryptionHardwareAllowed2, "false"}}, true),
    srtp("Method5", {{eDataTagSRTPEncryptionMethod3, "5"}}, false),
    srtp("Method5WithoutHardware", {{eDataTagSRTPEncryptionMethod3, "5"}, {eDataTagSRTPEncryptionHardwareAllowed3, "false"}},
         false),
    srtp("TwoMethodsOfOneRank", {{eDataTagSRTPEncryptionRank2, "1"}}, false),
    srtp("TwoMethodsOfOneRankButOneWithoutHardware",
         {{eDataTagSRTPEncryptionRank2, "1"}, {eDataTagSRTPEncryptionHardwareAllowed1, "false"}}, true),
    srtp("MethodRank0", {{eDataTagSRTPEncryptionRank1, "0"}}, false),
    srtp("MethodRank6", {{eDataTagSRTPEncryptionRank5, "6"}}, false),
    srtp("NoMethodAllowed", column(eDataTagSRTPEncryptionAllowed1, no5), false),
    srtp("OnlyAllowedMethodWithoutHardware",
         both(column(eDataTagSRTPEncryptionAllowed1, {"true", "false", "false", "false", "false"}),
              {{eDataTagSRTPEncryptionHardwareAllowed1, "false"}}),
         false),
    headset("TwoHeadsetsOfOneType", {{eDataTagHeadsetType2, "2"}}, false),
    headset("HeadsetType3", {{eDataTagHeadsetType1, "3"}}, false),
    headset("TwoHeadsetsOfOneRank", {{eDataTagHeadsetRank3, "2"}}, false),
    headset("HeadsetRank4", {{eDataTagHeadsetRank3, "4"}}, false),
    headset("NoHeadsetAllowed", column(eDataTagHeadsetAllowed1, no3), false),
    headset("OneHeadsetWithHardware", column(eDataTagHeadsetHardwareAllowed1, {"false", "false", "true"}), true),
};

class RankedTableChange : public TablesTest, public testing::WithParamInterface<Change> {};

TEST_P(RankedTableChange, IsStoredOrBringsThePreviousCellsBack)
{
    auto const& [name, table, lastCell, changedCells, accepted] = GetParam();
    ASSERT_TRUE(write(table));
    auto const before = range(table, lastCell);

    set(changedCells);
    platform.clearLogs();
    EXPECT_EQ(write(table), accepted);
    EXPECT_EQ(store.stored(table).size(), accepted ? 1U : 0U);
    EXPECT_EQ(platform.logs(2).empty(), accepted);
    EXPECT_EQ(rejected.contains(table) && rejected.contains(lastCell), !accepted);
    auto expected = before;
    if (accepted)
        for (auto const& [tag, text] : changedCells)
            if (tag <= lastCell)
                expected[tag] = text;
    expected[table] = store.cells.at(table);
    EXPECT_EQ(range(table, lastCell), expected);
}

INSTANTIATE_TEST_SUITE_P(Tables, RankedTableChange, testing::ValuesIn(changes),
                         [](auto const& tested) { return std::string(tested.param.name); });

TEST_F(TablesTest, WritesCodecRanksByRowAndTheOtherRanksFromTheirCells)
{
    set(column(eDataTagCodecRank1, {"2", "1", "3", "4"}));
    set(column(eDataTagSRTPEncryptionRank1, {"2", "1", "3", "5", "4"}));
    set(column(eDataTagHeadsetRank1, {"3", "1", "2"}));
    write(eDataTagCodecSettings);
    EXPECT_EQ(store.stored(eDataTagCodecSettings), std::vector{codecText({"31+2", "02+2", "23+2", "14-2"})});
    write(eDataTagSRTPEncryptionSettings);
    EXPECT_EQ(store.stored(eDataTagSRTPEncryptionSettings), std::vector{srtpText({"22+", "41+", "33+", "15+", "04+"})});
    write(eDataTagHeadsetPriorities);
    EXPECT_EQ(store.stored(eDataTagHeadsetPriorities), std::vector{headsetText({"23+", "11+", "02+"})});
}

struct Reading {
    char const* name;
    eDataTag table;
    std::string xml;
    eDataTag firstChoice;
    std::vector<std::string> choices; ///< after the read
    bool corrupt;
};

Reading readCodecs(char const* name, std::string xml, std::vector<std::string> types, bool corrupt)
{
    return {name, eDataTagCodecSettings, std::move(xml), eDataTagCodecType1, std::move(types), corrupt};
}

Reading readSrtp(char const* name, std::string xml, std::vector<std::string> methods, bool corrupt)
{
    return {name,   eDataTagSRTPEncryptionSettings, std::move(xml), eDataTagSRTPEncryptionMethod1, std::move(methods),
            corrupt};
}

std::string const swapped = codecText({"02+2", "31+2", "14-2", "23+2"});
std::vector<std::string> const swappedTypes{"3", "0", "2", "1"};
std::string const reversed = codecText({"11+2", "22+2", "03+2", "34+2"});
std::vector<std::string> const reversedTypes{"1", "2", "0", "3"};
std::vector<std::string> const cachedTypes{"0", "1", "2", "3"};
std::vector<std::string> const defaultTypes{"3", "0", "2", "1"};
std::vector<std::string> const defaultMethods{"2", "4", "3", "1", "0"};

Reading const readings[]{
    readCodecs("CodecRowsInAnyOrderAreSorted", swapped, swappedTypes, false),
    readCodecs("AnEmptyCodecTextLeavesGoodCellsAlone", "", cachedTypes, false),
    readCodecs("ATextWithoutRowsLeavesGoodCellsAlone", "<Schema name=\"CodecSettings\"></Schema>", cachedTypes, false),
    readCodecs("EmptyElementsLeaveTheirCells", "<Schema><Entry><CodecType></CodecType><CodecRank/></Entry></Schema>",
               cachedTypes, false),
    readCodecs("ATextThatBreaksOffAfterOneRowMeetsTheCachedOnes", reversed.substr(0, reversed.find("</Entry>") + 9),
               defaultTypes, true),
    readCodecs("ATextThatBreaksOffAtItsEndIsWhole", reversed.substr(0, reversed.size() - 5), reversedTypes, false),
    readCodecs("RowsBeyondTheLastAreIgnored", codecText({"11+2", "22+2", "03+2", "34+2", "09+9", "09+9"}), reversedTypes,
               false),
    readCodecs("UnknownElementsAndTextBeforeTheFirstRowAreIgnored",
               "<Schema><CodecRank>9</CodecRank><Entry><Note>7</Note><CodecType>1</CodecType></Entry>"
               "<Entry><CodecType>0</CodecType></Entry></Schema>",
               {"1", "0", "2", "3"}, false),
    readCodecs("TwoCodecsOfOneTypeAreReplacedByTheDefault", codecText({"11+2", "12+2", "03+2", "34+2"}), defaultTypes, true),
    readCodecs("CodecRanksOutOfRangeAreReplacedByTheDefault", codecText({"15+2", "22+2", "03+2", "30+2"}), defaultTypes,
               true),
    readSrtp("MethodsInAnyOrderAreSorted", srtpText({"15+", "04+", "23+", "42+", "31-"}), {"3", "4", "2", "0", "1"}, false),
    readSrtp("AMethod5ResetsTheTable", srtpText({"51+", "42+", "33+", "14+", "05+"}), defaultMethods, true),
    readSrtp("AMethodRankOf9ResetsTheTable", srtpText({"21+", "42+", "33+", "14+", "09+"}), defaultMethods, true),
};

class RankedTableReading : public TablesTest, public testing::WithParamInterface<Reading> {};

TEST_P(RankedTableReading, FillsTheCells)
{
    auto const& reading = GetParam();
    if (reading.table == eDataTagCodecSettings)
        set(column(eDataTagCodecType1, cachedTypes));
    read(reading.table, reading.xml);
    EXPECT_EQ(range(reading.firstChoice,
                    static_cast<eDataTag>(reading.firstChoice + static_cast<int>(reading.choices.size()) - 1)),
              column(reading.firstChoice, reading.choices));
    EXPECT_EQ(!platform.logs(2).empty(), reading.corrupt);
    // What passes as it was read is not stored again; a codec table that was replaced counts as such.
    bool const reset = reading.corrupt && reading.table != eDataTagCodecSettings;
    EXPECT_EQ(store.stored(reading.table).size(), reset ? 1U : 0U);
}

INSTANTIATE_TEST_SUITE_P(Texts, RankedTableReading, testing::ValuesIn(readings),
                         [](auto const& tested) { return std::string(tested.param.name); });

TEST_F(TablesTest, KeepsHardwareFlagsOfCodecsByTypeAndLetsThoseOfMethodsTravelWithTheirRows)
{
    set({{eDataTagCodecHardwareAllowed0, "false"}, {eDataTagSRTPEncryptionHardwareAllowed1, "false"}});
    read(eDataTagCodecSettings, swapped);
    EXPECT_EQ(store.cells.at(eDataTagCodecHardwareAllowed0), "false");
    read(eDataTagSRTPEncryptionSettings, srtpText({"22+", "41+", "33+", "14+", "05+"}));
    EXPECT_EQ(store.cells.at(eDataTagSRTPEncryptionHardwareAllowed1), "true");
    EXPECT_EQ(store.cells.at(eDataTagSRTPEncryptionHardwareAllowed2), "false");
}

TEST_F(TablesTest, SaysWhyATableIsRefusedAndReset)
{
    platform.logLevel(5);
    set({{eDataTagHeadsetHardwareAllowed1, "false"}, {eDataTagHeadsetRank3, "2"}});
    EXPECT_FALSE(write(eDataTagHeadsetPriorities));
    std::string const unit = "DataSourceDB::DataTableHandler::DataTableHeadsetPriorities::";
    std::string const missing =
        unit + "checkSaneValues received ranks ( 1 2 2), types( 2 1 0) - some rank or type is missing\n";
    std::vector<std::string> const rows{"checkSaneValues: ignoring non-hw allowed headset type 2 with rank 1",
                                        "checkSaneValues: adding headset type 1 with rank 2, allowed: 1",
                                        "checkSaneValues: adding headset type 0 with rank 2, allowed: 1"};
    // No text was ever stored, so that the previous cells are as bad as the new ones.
    EXPECT_EQ(platform.logs(2),
              (std::vector{missing, missing, unit + "checkTableData -> data corrupted, resetting table to default\n"}));
    auto const traces = platform.logs(5);
    ASSERT_EQ(traces.size(), 9U);
    EXPECT_EQ(std::vector(traces.begin(), traces.begin() + 3), rows);
}

TEST_F(TablesTest, StoresNothingWhenTheDefaultsOfAResetDoNotPassEither)
{
    store.instead = column(eDataTagSRTPEncryptionHardwareAllowed1, no5);
    std::string const failed = "Could not reset table to default, check failed";
    set({{eDataTagSRTPEncryptionMethod1, "5"}});
    EXPECT_FALSE(write(eDataTagSRTPEncryptionSettings));
    EXPECT_EQ(platform.logs(2).back(), failed);
    EXPECT_TRUE(store.sets.empty());
    EXPECT_EQ(rejected.size(), 21U);
    platform.clearLogs();
    read(eDataTagSRTPEncryptionSettings, srtpText({"51+"}));
    EXPECT_EQ(platform.logs(2).back(), failed);
    EXPECT_TRUE(store.sets.empty());
}

} // namespace

// The codec, SRTP encryption and headset tables: what their checks take, what they store, what they make of stored texts.
#include "TablesTest.h"

namespace {

using namespace Data;

std::string cellText(char letter)
{
    return letter == '+' ? "true" : letter == '-' ? "false" : std::string(1, letter);
}

/// A row is one letter per column: a digit, '+' for true, '-' for false.
std::string tableText(std::string const& schema, std::vector<std::string> const& columns,
                      std::vector<std::string> const& rows)
{
    std::string xml = "<Schema name=\"" + schema + "\">";
    for (std::string const& row : rows) {
        xml += "<Entry>";
        for (std::size_t i = 0; i < row.size(); ++i)
            xml += "<" + columns[i] + ">" + cellText(row[i]) + "</" + columns[i] + ">";
        xml += "</Entry>";
    }
    return xml + "</Schema>";
}

std::string codecText(std::vector<std::string> const& rows)
{
    return tableText("CodecSettings", {"CodecType", "CodecRank", "CodecAllowed", "CodecPacketSize"}, rows);
}

std::string srtpText(std::vector<std::string> const& rows)
{
    return tableText("SRTPEncryptionSettings", {"Method", "Rank", "Allowed"}, rows);
}

struct Change {
    char const* name;
    eDataTag table;
    DataTagValue_t cells;
    bool accepted;
};

constexpr auto codec = eDataTagCodecSettings, srtp = eDataTagSRTPEncryptionSettings, headset = eDataTagHeadsetPriorities;

DataTagValue_t column(eDataTag first, std::vector<std::string> const& texts)
{
    DataTagValue_t cells;
    for (std::size_t row = 0; row < texts.size(); ++row)
        cells[static_cast<eDataTag>(first + static_cast<int>(row))] = texts[row];
    return cells;
}

std::vector<std::string> const no5{"false", "false", "false", "false", "false"};

// clang-format off
Change const changes[]{
    {"TwoCodecsOfOneType", codec, {{eDataTagCodecType2, "3"}}, false},
    {"CodecTypeAbove3", codec, {{eDataTagCodecType1, "4"}}, false},
    {"NegativeCodecType", codec, {{eDataTagCodecType1, "-1"}}, false},
    {"TwoCodecsOfOneRank", codec, {{eDataTagCodecRank2, "1"}}, false},
    {"CodecRank5", codec, {{eDataTagCodecRank4, "5"}}, false},
    {"EmptyCodecRank", codec, {{eDataTagCodecRank4, ""}}, false},
    {"CodecPacketSize6", codec, {{eDataTagCodecPacketSize4, "6"}}, false},
    {"CodecPacketSize5", codec, {{eDataTagCodecPacketSize4, "5"}}, true},
    {"NoCodecAllowed", codec, column(eDataTagCodecAllowed1, {"false", "false", "false", "false"}), false},
    // Row 4 is the one with type 1, which is not allowed.
    {"AllowedCodecsLackHardware", codec, column(eDataTagCodecHardwareAllowed0, {"false", "true", "false", "false"}), false},
    {"OneAllowedCodecWithHardware", codec, column(eDataTagCodecHardwareAllowed0, {"false", "false", "true", "false"}), true},
    {"TwoRowsOfOneMethod", srtp, {{eDataTagSRTPEncryptionMethod2, "2"}}, false},
    {"TwoRowsOfOneMethodButOneWithoutHardware", srtp,
     {{eDataTagSRTPEncryptionMethod2, "2"}, {eDataTagSRTPEncryptionHardwareAllowed2, "false"}}, true},
    {"Method5", srtp, {{eDataTagSRTPEncryptionMethod3, "5"}}, false},
    {"Method5WithoutHardware", srtp,
     {{eDataTagSRTPEncryptionMethod3, "5"}, {eDataTagSRTPEncryptionHardwareAllowed3, "false"}}, false},
    {"TwoMethodsOfOneRank", srtp, {{eDataTagSRTPEncryptionRank2, "1"}}, false},
    {"TwoMethodsOfOneRankButOneWithoutHardware", srtp,
     {{eDataTagSRTPEncryptionRank2, "1"}, {eDataTagSRTPEncryptionHardwareAllowed1, "false"}}, true},
    {"MethodRank6", srtp, {{eDataTagSRTPEncryptionRank5, "6"}}, false},
    {"NoMethodAllowed", srtp, column(eDataTagSRTPEncryptionAllowed1, no5), false},
    // The five cells from Allowed2 end with HardwareAllowed1.
    {"OnlyAllowedMethodWithoutHardware", srtp, column(eDataTagSRTPEncryptionAllowed2, no5), false},
    {"TwoHeadsetsOfOneType", headset, {{eDataTagHeadsetType2, "2"}}, false},
    {"HeadsetType3", headset, {{eDataTagHeadsetType1, "3"}}, false},
    {"TwoHeadsetsOfOneRank", headset, {{eDataTagHeadsetRank3, "2"}}, false},
    {"HeadsetRank4", headset, {{eDataTagHeadsetRank3, "4"}}, false},
    {"NoHeadsetAllowed", headset, column(eDataTagHeadsetAllowed1, {"false", "false", "false"}), false},
    {"OneHeadsetWithHardware", headset, column(eDataTagHeadsetHardwareAllowed1, {"false", "false", "true"}), true}};
// clang-format on

class RankedTableChange : public TablesTest, public testing::WithParamInterface<Change> {};

TEST_P(RankedTableChange, IsStoredOrBringsThePreviousCellsBack)
{
    auto const& [name, table, changedCells, accepted] = GetParam();
    auto const lastCell = table == codec  ? eDataTagCodecPacketSize4
                          : table == srtp ? eDataTagSRTPEncryptionAllowed5
                                          : eDataTagHeadsetAllowed3;
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
    EXPECT_EQ(store.stored(eDataTagHeadsetPriorities),
              std::vector{tableText("HeadsetPriorities", {"Type", "Rank", "Allowed"}, {"23+", "11+", "02+"})});
}

struct Reading {
    char const* name;
    eDataTag table;
    std::string xml;
    std::string choices; ///< after the read
    bool corrupt;
};

std::string const reversed = codecText({"11+2", "22+2", "03+2", "34+2"});

// clang-format off
Reading const readings[]{
    {"CodecRowsInAnyOrderAreSorted", codec, codecText({"02+2", "31+2", "14-2", "23+2"}), "3021", false},
    {"AnEmptyCodecTextLeavesGoodCellsAlone", codec, "", "0123", false},
    {"ATextWithoutRowsLeavesGoodCellsAlone", codec, codecText({}), "0123", false},
    {"EmptyElementsLeaveTheirCells", codec,
     "<Schema><Entry><CodecType></CodecType><CodecRank/></Entry></Schema>", "0123", false},
    {"ATextThatBreaksOffAfterOneRowMeetsTheOldOnes", codec, reversed.substr(0, reversed.find("</Entry>") + 9), "3021", true},
    {"ATextThatBreaksOffAtItsEndIsWhole", codec, reversed.substr(0, reversed.size() - 5), "1203", false},
    {"RowsBeyondTheLastAreIgnored", codec, codecText({"11+2", "22+2", "03+2", "34+2", "09+9", "09+9"}), "1203", false},
    {"UnknownElementsAndTextBeforeTheFirstRowAreIgnored", codec,
     "<Schema><CodecRank>9</CodecRank><Entry><Note>7</Note><CodecType>1</CodecType></Entry>"
     "<Entry><CodecType>0</CodecType></Entry></Schema>", "1023", false},
    {"TwoCodecsOfOneTypeAreReplacedByTheDefault", codec, codecText({"11+2", "12+2", "03+2", "34+2"}), "3021", true},
    {"CodecRanksOutOfRangeAreReplacedByTheDefault", codec, codecText({"15+2", "22+2", "03+2", "30+2"}), "3021", true},
    {"MethodsInAnyOrderAreSorted", srtp, srtpText({"15+", "04+", "23+", "42+", "31-"}), "34201", false},
    {"AMethod5ResetsTheTable", srtp, srtpText({"51+", "42+", "33+", "14+", "05+"}), "24310", true},
    {"AMethodRankOf9ResetsTheTable", srtp, srtpText({"21+", "42+", "33+", "14+", "09+"}), "24310", true}};
// clang-format on

class RankedTableReading : public TablesTest, public testing::WithParamInterface<Reading> {};

TEST_P(RankedTableReading, FillsTheCells)
{
    auto const& reading = GetParam();
    auto const first = reading.table == codec ? eDataTagCodecType1 : eDataTagSRTPEncryptionMethod1;
    if (reading.table == codec)
        set(column(eDataTagCodecType1, {"0", "1", "2", "3"}));
    read(reading.table, reading.xml);
    std::string choices;
    for (std::size_t row = 0; row < reading.choices.size(); ++row)
        choices += store.cells.at(static_cast<eDataTag>(first + static_cast<int>(row)));
    EXPECT_EQ(choices, reading.choices);
    EXPECT_EQ(!platform.logs(2).empty(), reading.corrupt);
    // What passes as it was read is not stored again; a codec table that was replaced counts as such.
    bool const reset = reading.corrupt && reading.table != eDataTagCodecSettings;
    EXPECT_EQ(store.stored(reading.table).size(), reset ? 1U : 0U);
}

INSTANTIATE_TEST_SUITE_P(Texts, RankedTableReading, testing::ValuesIn(readings),
                         [](auto const& tested) { return std::string(tested.param.name); });

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

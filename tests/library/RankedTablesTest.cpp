// The codec, SRTP encryption and headset tables: what their checks take, what they store, what they make of stored texts.
#include "TablesTest.h"

#include "Tables/Tables.h"

namespace {

/// A row is one letter per column.
std::string tableText(std::string const& schema, std::vector<std::string> const& columns,
                      std::vector<std::string> const& rows)
{
    std::string xml = "<Schema name=\"" + schema + "\">";
    for (std::string const& row : rows) {
        xml += "<Entry>";
        for (auto name = columns.begin(); auto const& [tag, text] : column(eDataTagNone, row))
            xml.append("<").append(*name).append(">").append(text).append("</").append(*name++).append(">");
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

constexpr auto codec = eDataTagCodecSettings, srtp = eDataTagSRTPEncryptionSettings, headset = eDataTagHeadsetPriorities;

/// Letters from one cell on, and perhaps from another.
struct Change {
    char const* name;
    eDataTag table, first;
    char const* letters;
    bool accepted;
    eDataTag second = eDataTagNone;
    char const* secondLetters = "";
};

// clang-format off
Change const changedTables[]{
    {"two codecs of one type", codec, eDataTagCodecType2, "3", false},
    {"codec type above 3", codec, eDataTagCodecType1, "4", false},
    {"negative codec type", codec, eDataTagCodecType1, "~", false},
    {"two codecs of one rank", codec, eDataTagCodecRank2, "1", false},
    {"codec rank 5", codec, eDataTagCodecRank4, "5", false},
    {"empty codec rank", codec, eDataTagCodecRank4, " ", false},
    {"codec packet size 6", codec, eDataTagCodecPacketSize4, "6", false},
    {"codec packet size 5", codec, eDataTagCodecPacketSize4, "5", true},
    {"no codec allowed", codec, eDataTagCodecAllowed1, "----", false},
    // Row 4 is the one with type 1, which is not allowed.
    {"allowed codecs lack hardware", codec, eDataTagCodecHardwareAllowed0, "-+--", false},
    {"one allowed codec with hardware", codec, eDataTagCodecHardwareAllowed0, "--+-", true},
    {"two rows of one method", srtp, eDataTagSRTPEncryptionMethod2, "2", false},
    {"two rows of one method, one without hardware", srtp, eDataTagSRTPEncryptionMethod2, "2", true,
     eDataTagSRTPEncryptionHardwareAllowed2, "-"},
    {"method 5", srtp, eDataTagSRTPEncryptionMethod3, "5", false},
    {"method 5 without hardware", srtp, eDataTagSRTPEncryptionMethod3, "5", false,
     eDataTagSRTPEncryptionHardwareAllowed3, "-"},
    {"two methods of one rank", srtp, eDataTagSRTPEncryptionRank2, "1", false},
    {"two methods of one rank, one without hardware", srtp, eDataTagSRTPEncryptionRank2, "1", true,
     eDataTagSRTPEncryptionHardwareAllowed1, "-"},
    {"method rank 6", srtp, eDataTagSRTPEncryptionRank5, "6", false},
    {"no method allowed", srtp, eDataTagSRTPEncryptionAllowed1, "-----", false},
    // The five cells from Allowed2 end with HardwareAllowed1.
    {"only allowed method without hardware", srtp, eDataTagSRTPEncryptionAllowed2, "-----", false},
    {"two headsets of one type", headset, eDataTagHeadsetType2, "2", false},
    {"headset type 3", headset, eDataTagHeadsetType1, "3", false},
    {"two headsets of one rank", headset, eDataTagHeadsetRank3, "2", false},
    {"headset rank 4", headset, eDataTagHeadsetRank3, "4", false},
    {"no headset allowed", headset, eDataTagHeadsetAllowed1, "---", false},
    {"one headset with hardware", headset, eDataTagHeadsetHardwareAllowed1, "--+", true}};
// clang-format on

TEST_F(StoredTables, AChangedRankedTableIsStoredOrItsPreviousCellsComeBack)
{
    for (auto const& [name, table, first, letters, accepted, second, secondLetters] : changedTables) {
        SCOPED_TRACE(name);
        auto const lastCell = Tables::find(table)->last;
        store = CellStore();
        ASSERT_TRUE(write(table));
        auto expected = range(table, lastCell);
        auto changed = column(first, letters);
        changed.merge(column(second, secondLetters));
        store.take(changed);
        if (accepted)
            expected = range(table, lastCell);
        platform.clearLogs();
        EXPECT_EQ(write(table), accepted);
        EXPECT_EQ(store.stored(table).size(), accepted ? 1U : 0U);
        EXPECT_EQ(platform.logs(2).empty(), accepted);
        EXPECT_EQ(rejected.contains(table), !accepted);
        EXPECT_EQ(rejected.contains(lastCell), !accepted);
        expected[table] = store.cells.at(table);
        EXPECT_EQ(range(table, lastCell), expected);
    }
}

TEST_F(StoredTables, WritesCodecRanksByRowAndTheOtherRanksFromTheirCells)
{
    store.take(column(eDataTagCodecRank1, "2134"));
    store.take(column(eDataTagSRTPEncryptionRank1, "21354"));
    store.take(column(eDataTagHeadsetRank1, "312"));
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
    {"codec rows in any order are sorted", codec, codecText({"02+2", "31+2", "14-2", "23+2"}), "3021", false},
    {"an empty codec text leaves good cells alone", codec, "", "0123", false},
    {"a text without rows leaves good cells alone", codec, codecText({}), "0123", false},
    {"an empty type is 0 and an empty rank out of range", codec,
     "<Schema><Entry><CodecType></CodecType><CodecRank/></Entry></Schema>", "3021", true},
    {"a text that breaks off after one row meets the old ones",
     codec, reversed.substr(0, reversed.find("</Entry>") + 9), "3021", true},
    {"a text that breaks off at its end is whole", codec, reversed.substr(0, reversed.size() - 5), "1203", false},
    {"rows beyond the last are ignored", codec, codecText({"11+2", "22+2", "03+2", "34+2", "09+9", "09+9"}), "1203", false},
    {"unknown elements and text before the first row are ignored", codec,
     "<Schema><CodecRank>9</CodecRank><Entry><Note>7</Note><CodecType>1</CodecType></Entry>"
     "<Entry><CodecType>0</CodecType></Entry></Schema>", "1023", false},
    {"two codecs of one type are replaced by the default", codec, codecText({"11+2", "12+2", "03+2", "34+2"}), "3021", true},
    {"codec ranks out of range are replaced by the default", codec,
     codecText({"15+2", "22+2", "03+2", "30+2"}), "3021", true},
    {"methods in any order are sorted", srtp, srtpText({"15+", "04+", "23+", "42+", "31-"}), "34201", false},
    {"a method 5 resets the table", srtp, srtpText({"51+", "42+", "33+", "14+", "05+"}), "24310", true},
    {"a method rank of 9 resets the table", srtp, srtpText({"21+", "42+", "33+", "14+", "09+"}), "24310", true}};
// clang-format on

TEST_F(StoredTables, AStoredRankedTableFillsTheCells)
{
    for (auto const& [name, table, xml, choices, corrupt] : readings) {
        SCOPED_TRACE(name);
        store = CellStore();
        platform.clearLogs();
        auto const first = table == codec ? eDataTagCodecType1 : eDataTagSRTPEncryptionMethod1;
        if (table == codec)
            store.take(column(first, "0123"));
        read(table, xml);
        auto const expected = column(first, choices);
        EXPECT_EQ(range(first, expected.rbegin()->first), expected);
        EXPECT_EQ(!platform.logs(2).empty(), corrupt);
        // What passes as it was read is not stored again; a codec table that was replaced counts as such.
        EXPECT_EQ(store.stored(table).size(), table == codec ? 0U : corrupt);
    }
}

TEST_F(StoredTables, VerdictsOnMethodsMoveWithTheirRowsAndThoseOnCodecsStay)
{
    struct {
        eDataTag table, first;
        std::string xml;
        char const *before, *after;
    } const cases[]{
        {srtp, eDataTagSRTPEncryptionHardwareAllowed1, srtpText({"15+", "04+", "23+", "42+", "31-"}), "+-+++", "+++-+"},
        {codec, eDataTagCodecHardwareAllowed0, codecText({"02+2", "31+2", "14-2", "23+2"}), "+-++", "+-++"}};
    for (auto const& [table, first, xml, before, after] : cases) {
        store.take(column(first, before));
        read(table, xml);
        EXPECT_EQ(range(first, Tables::find(table)->lastFlag), column(first, after));
    }
}

TEST_F(StoredTables, SaysWhyATableIsRefusedAndReset)
{
    store.take({{eDataTagHeadsetHardwareAllowed1, "false"}, {eDataTagHeadsetRank3, "2"}});
    EXPECT_FALSE(write(eDataTagHeadsetPriorities));
    std::string const unit = "DataSourceDB::DataTableHandler::DataTableHeadsetPriorities::";
    std::string const missing =
        unit + "checkSaneValues received ranks ( 1 2 2), types( 2 1 0) - some rank or type is missing\n";
    // No text was ever stored, so that the previous cells are as bad as the new ones.
    EXPECT_EQ(platform.logs(2),
              (std::vector{missing, missing, unit + "checkTableData -> data corrupted, resetting table to default\n"}));
}

TEST_F(StoredTables, StoresNothingWhenTheDefaultsOfAResetDoNotPassEither)
{
    store.instead = column(eDataTagSRTPEncryptionHardwareAllowed1, "-----");
    std::string const failed = "Could not reset table to default, check failed";
    store.take({{eDataTagSRTPEncryptionMethod1, "5"}});
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

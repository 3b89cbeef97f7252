// The translation of the ranked tables between the management service and the cache.
#include "ManagementFixture.h"

#include <algorithm>
#include <numeric>
#include <optional>

namespace {

struct Table {
    char const* name;
    void (DataSourceOCMS::*set)(DataTagValue_t&);
    void (DataSourceOCMS::*get)(DataTagValue_t&);
    int count, type, rank, allowed, hardware, extra;
};

using Source = DataSourceOCMS;
Table const codecs{"codec", &Source::processRequestToSetCodecs, &Source::processRequestToGetCodecs, 4, 109, 113, 117, 125,
                   121};
Table const encryptions{
    "SRTP", &Source::processRequestToSetEncryption, &Source::processRequestToGetEncryption, 5, 221, 226, 231, 236, 0};
Table const headsets{"headset",
                     &Source::processRequestToSetHeadsetPriority,
                     &Source::processRequestToGetHeadsetPriority,
                     3,
                     243,
                     246,
                     249,
                     252,
                     0};

struct Row {
    int type;
    std::optional<std::string> allowed; ///< nothing: the cell is not there
};

/// The rows in place, each with the rank of its place.
DataTagValue_t cellsOf(Table const& table, std::vector<Row> const& rows)
{
    DataTagValue_t cells;
    for (int row = 0; row < static_cast<int>(rows.size()); ++row) {
        auto const& [type, allowed] = rows[static_cast<std::size_t>(row)];
        cells[tag(table.type + row)] = std::to_string(type);
        cells[tag(table.rank + row)] = std::to_string(row + 1);
        if (allowed)
            cells[tag(table.allowed + row)] = *allowed;
    }
    return cells;
}

std::vector<Row> heldRows(std::vector<int> const& types)
{
    std::vector<Row> rows;
    for (int const type : types)
        rows.push_back({type, "held" + std::to_string(type)});
    return rows;
}

bool isIn(std::vector<int> const& types, int type)
{
    return std::find(types.begin(), types.end(), type) != types.end();
}

std::vector<int> numbers(int count)
{
    std::vector<int> all(static_cast<std::size_t>(count));
    std::iota(all.begin(), all.end(), 0);
    return all;
}

/// The request names `types` in rank order, its rows sorted by type.
DataTagValue_t requestFor(Table const& table, std::vector<int> const& types, bool withAllowed)
{
    auto rows = types;
    std::sort(rows.begin(), rows.end());
    DataTagValue_t request;
    for (int row = 0; row < static_cast<int>(rows.size()); ++row) {
        int const type = rows[static_cast<std::size_t>(row)];
        auto const rank = std::find(types.begin(), types.end(), type) - types.begin() + 1;
        request[tag(table.type + row)] = std::to_string(type);
        request[tag(table.rank + row)] = std::to_string(rank);
        if (withAllowed)
            request[tag(table.allowed + row)] = "sent" + std::to_string(type);
    }
    return request;
}

/// What a set request comes to: types left out keep their rows, the requested ones take the others in rank order.
std::vector<Row> completed(std::vector<int> const& held, std::vector<int> const& sent, bool withAllowed)
{
    auto rows = heldRows(held);
    auto next = sent.begin();
    for (auto& row : rows) {
        if (isIn(sent, row.type)) {
            row.type = *next++;
            row.allowed = withAllowed ? std::optional("sent" + std::to_string(row.type)) : std::nullopt;
        }
    }
    return rows;
}

} // namespace

TEST_F(Management, ATypeLeftOutKeepsItsRowAndTheRequestedOnesTakeTheOthersInRankOrder)
{
    auto source = makeSource();
    for (Table const* table : {&codecs, &encryptions, &headsets}) {
        for (auto held = numbers(table->count);;) {
            cache.held = cellsOf(*table, heldRows(held));
            for (int subset = 1; subset < 1 << table->count; ++subset) {
                std::vector<int> sent;
                for (int type = 0; type < table->count; ++type) {
                    if (subset >> type & 1)
                        sent.push_back(type);
                }
                bool withAllowed = true;
                do {
                    auto values = requestFor(*table, sent, withAllowed);
                    (source.*table->set)(values);
                    ASSERT_EQ(values, cellsOf(*table, completed(held, sent, withAllowed)))
                        << table->name << " held " << testing::PrintToString(held) << " sent "
                        << testing::PrintToString(sent);
                    withAllowed = !withAllowed;
                } while (std::next_permutation(sent.begin(), sent.end()));
            }
            if (!std::next_permutation(held.begin(), held.end()))
                break;
        }
    }
}

TEST_F(Management, TracesHowASetRequestIsCompleted)
{
    auto source = makeSource();
    cache.held = cellsOf(codecs, heldRows({0, 1, 2, 3}));
    auto values = requestFor(codecs, {2, 0}, true);
    platform.logLevel(6);
    source.processRequestToSetCodecs(values);
    EXPECT_EQ(
        platform.logs(6),
        (Texts{"void Data::DataSourceOCMS::processRequestToSetCodecs(Data::DataTagValue_t&)",
               "void Data::DataSourceOCMS::processTableForSet(Data::DataTagValue_t&, const char*, void "
               "(*)(Data::DataTagValue_t&, int), size_t, Data::eDataTag, Data::eDataTag, Data::eDataTag, Data::eDataTag, "
               "Data::eDataTag)",
               "codec 1 (normally at index 1) is not present in data for set",
               "codec 3 (normally at index 3) is not present in data for set",
               "processTableForSet: swapping codec '0' and '' at indices 2 and 1"}));
}

TEST_F(Management, ASetRequestThatIsNoTableStaysWithinTheTable)
{
    struct Case {
        char const* what;
        std::vector<int> held;
        DataTagValue_t request;
        DataTagValue_t expected;
    };
    DataTagValue_t const badRank{{tag(243), "2"}, {tag(244), "1"}, {tag(245), "0"},
                                 {tag(246), "2"}, {tag(247), "1"}, {tag(248), "4"}};
    DataTagValue_t const noFirst{{tag(246), "3"}, {tag(244), "1"}};
    auto const badType = cellsOf(headsets, {{7, {}}, {1, "held1"}, {0, "held0"}});
    Case const cases[] = {
        {"rank beyond the table: not sorted, for the cell to refuse", {2, 1, 0}, badRank, badRank},
        {"type beyond the table: nothing is taken for requested", {2, 1, 0}, {{tag(243), "7"}, {tag(246), "1"}}, badType},
        {"more free rows than requested ones: the last free row is taken",
         {0, 0, 2},
         {{tag(243), "0"}, {tag(246), "1"}, {tag(249), "sent"}},
         cellsOf(headsets, {{0, "held0"}, {0, "sent"}, {2, "held2"}})},
        {"without the first type: nothing happens", {2, 1, 0}, noFirst, noFirst}};
    auto source = makeSource();
    for (auto const& [what, held, request, expected] : cases) {
        cache.held = cellsOf(headsets, heldRows(held));
        auto values = request;
        source.processRequestToSetHeadsetPriority(values);
        EXPECT_EQ(values, expected) << what;
    }
}

TEST_F(Management, OnePacketSizeServesAllCodecsAndNoneLeavesThemAlone)
{
    auto const all = [](char const* size) {
        return DataTagValue_t{{tag(121), size}, {tag(122), size}, {tag(123), size}, {tag(124), size}};
    };
    std::pair<DataTagValue_t, DataTagValue_t> const cases[] = {
        {{}, {}},
        {{{tag(122), "1"}, {tag(124), "5"}}, all("1")},
        {{{tag(121), ""}, {tag(122), "4"}}, {{tag(121), ""}, {tag(122), "4"}}}};
    auto source = makeSource();
    cache.held = cellsOf(codecs, heldRows({0, 1, 2, 3}));
    for (auto const& [sent, expected] : cases) {
        auto values = requestFor(codecs, {2, 0}, true);
        values.insert(sent.begin(), sent.end());
        source.processRequestToSetCodecs(values);
        EXPECT_EQ(DataTagValue_t(values.lower_bound(tag(121)), values.lower_bound(tag(125))), expected);
    }
}

namespace {

struct Hardware {
    char const* what;
    Table const& table;
    bool entryModel, topModel, usb;
    DataTagValue_t facts;
    std::vector<int> hidden;
};

class HardwareProfile : public Management, public testing::WithParamInterface<Hardware> {};

DataTagValue_t facts(char const* software, char const* system, char const* opus, char const* aes256)
{
    return {{tag(650), software}, {tag(646), system}, {tag(797), opus}, {tag(798), aes256}};
}

Hardware const profiles[] = {
    {"EntryModel", codecs, true, false, false, facts("Norvane SIP", "2", "false", ""), {1, 3}},
    {"OrdinaryModel", codecs, false, false, false, facts("other", "0", "false", ""), {3}},
    {"OrdinaryModelUnderTest", codecs, false, false, false, facts("other", "0", "true", ""), {}},
    {"OrdinaryModelOnFullServer", codecs, false, false, false, facts("Norvane SIP", "0", "false", ""), {}},
    {"OrdinaryModelOnSystemTwo", codecs, false, false, false, facts("other", "2", "false", ""), {}},
    {"EncryptionOnFullServer", encryptions, false, false, false, facts("Norvane SIP", "0", "", "false"), {}},
    {"EncryptionOnOther", encryptions, false, true, true, facts("norvane sip", "2", "true", "false"), {2, 3, 4}},
    {"EncryptionUnderTest", encryptions, true, false, false, facts("other", "0", "", "true"), {}},
    {"HeadsetsOfOrdinaryModel", headsets, false, false, false, {}, {1, 2}},
    {"HeadsetsOfEntryModelWithUsb", headsets, true, false, true, {}, {2}},
    {"HeadsetsOfTopModel", headsets, false, true, false, {}, {1}}};

} // namespace

TEST_P(HardwareProfile, HidesItsTypesWhereverTheyStandAndKeepsTheVerdicts)
{
    auto const& [what, table, entryModel, topModel, usb, held, hidden] = GetParam();
    platform.hardware(entryModel, topModel, usb);
    auto source = makeSource();
    cache.held = held;
    auto types = numbers(table.count);
    do {
        auto values = cellsOf(table, heldRows(types));
        std::vector<int> shown;
        DataTagValue_t verdicts;
        for (int row = 0; row < table.count; ++row) {
            int const type = types[static_cast<std::size_t>(row)];
            if (!isIn(hidden, type))
                shown.push_back(type);
            int const place = table.extra == 0 ? row : type; // the verdict on a codec stands at its type
            verdicts[tag(table.hardware + place)] = isIn(hidden, type) ? "false" : "true";
            if (table.extra != 0)
                values[tag(table.extra + row)] = std::to_string(row);
        }
        auto expected = cellsOf(table, heldRows(shown));
        for (int row = 0; table.extra != 0 && row < static_cast<int>(shown.size()); ++row)
            expected[tag(table.extra + row)] = std::to_string(row);

        (source.*table.get)(values);
        ASSERT_EQ(values, expected) << testing::PrintToString(types);
        ASSERT_EQ(cache.taken.back(), verdicts) << testing::PrintToString(types);
    } while (std::next_permutation(types.begin(), types.end()));
}

INSTANTIATE_TEST_SUITE_P(Each, HardwareProfile, testing::ValuesIn(profiles),
                         [](auto const& profile) { return profile.param.what; });

TEST_F(Management, LeavesRowsWithoutATypeAloneAndMovesRowsWithAnImpossibleOne)
{
    platform.hardware(false, true, true);
    auto source = makeSource();
    DataTagValue_t missing{{tag(243), "2"}, {tag(245), "1"}, {tag(247), "2"}, {tag(251), "true"}};
    auto const before = missing;
    source.processRequestToGetHeadsetPriority(missing);
    EXPECT_EQ(missing, before);
    DataTagValue_t impossible{{tag(243), "3"}, {tag(244), "-1"}, {tag(245), "1"}, {tag(251), "true"}};
    source.processRequestToGetHeadsetPriority(impossible);
    EXPECT_EQ(impossible, (DataTagValue_t{{tag(243), "1"}, {tag(244), "-1"}, {tag(245), "3"}, {tag(249), "true"}}));
    EXPECT_EQ(platform.logs(2), (Texts{"Couldn't find headset type 1", "Invalid headset type 3 at index 0",
                                       "Invalid headset type 4294967295 at index 1"}));
}

TEST_F(Management, AsksTheServiceForTheSoftwareTypeWhileTheCacheHasOnlyThePlaceholder)
{
    platform.management("software-type", "software-type", "Norvane SIP");
    platform.logLevel(5);
    auto source = makeSource();
    for (char const* known : {"software-type", "other"}) {
        cache.held = {{tag(650), known}, {tag(645), "7"}};
        DataTagValue_t values{{tag(221), "4"}};
        source.processRequestToGetEncryption(values);
        EXPECT_EQ(values.empty(), known == std::string("other"));
    }
    EXPECT_EQ(platform.calls({"readData"}).size(), 1u);
    EXPECT_EQ(platform.logs(5), (Texts{"SRTP method: 4, index 0, software type Norvane SIP, server type , hw allowed: 1",
                                       "SRTP method: 4, index 0, software type other, server type , hw allowed: 0"}));
}

// The translation of the ranked tables between the management service and the cache.
#include "ManagementFixture.h"

#include "../Records.h"

namespace {

using Source = DataSourceOCMS;

struct Table {
    char const* name;
    void (Source::*set)(DataTagValue_t&);
    void (Source::*get)(DataTagValue_t&);
    int count, type;
    bool hasSizes = false;
    int rank = type + count, allowed = rank + count, extra = hasSizes ? allowed + count : 0;
    int hardware = (hasSizes ? extra : allowed) + count;
};

Table const codecs{"codec", &Source::processRequestToSetCodecs, &Source::processRequestToGetCodecs, 4, 109, true};
Table const encryptions{"SRTP", &Source::processRequestToSetEncryption, &Source::processRequestToGetEncryption, 5, 221};
Table const headsets{"headset", &Source::processRequestToSetHeadsetPriority, &Source::processRequestToGetHeadsetPriority, 3,
                     243};

/// The rows in place, each with the rank of its place. A type is one digit; its verdict is "held..." or, when `sent` names
/// the type, "sent..." or not there.
DataTagValue_t cellsOf(Table const& table, std::string const& types, std::string const& sent = "", bool withAllowed = false)
{
    DataTagValue_t cells;
    for (int row = 0; row < static_cast<int>(types.size()); ++row) {
        std::string const type(1, types[static_cast<std::size_t>(row)]);
        bool const isSent = sent.find(type) != std::string::npos;
        cells[tag(table.type + row)] = type;
        cells[tag(table.rank + row)] = std::to_string(row + 1);
        if (!isSent || withAllowed)
            cells[tag(table.allowed + row)] = (isSent ? "sent" : "held") + type;
    }
    return cells;
}

/// All types of the table in order.
std::string typesOf(Table const& table)
{
    return std::string("01234").substr(0, static_cast<std::size_t>(table.count));
}

/// The request names `types` in rank order, its rows sorted by type.
DataTagValue_t requestFor(Table const& table, std::string const& types, bool withAllowed)
{
    auto rows = types;
    std::sort(rows.begin(), rows.end());
    DataTagValue_t request;
    for (int row = 0; row < static_cast<int>(rows.size()); ++row) {
        char const type = rows[static_cast<std::size_t>(row)];
        request[tag(table.type + row)] = type;
        request[tag(table.rank + row)] = std::to_string(types.find(type) + 1);
        if (withAllowed)
            request[tag(table.allowed + row)] = std::string("sent") + type;
    }
    return request;
}

} // namespace

TEST_F(Management, ATypeLeftOutKeepsItsRowAndTheRequestedOnesTakeTheOthersInRankOrder)
{
    auto source = makeSource();
    for (Table const* table : {&codecs, &encryptions, &headsets}) {
        auto held = typesOf(*table);
        do {
            cache.held = cellsOf(*table, held);
            for (int subset = 1; subset < 1 << table->count; ++subset) {
                auto sent = typesOf(*table);
                std::erase_if(sent, [&](char type) { return (subset >> (type - '0') & 1) == 0; });
                bool withAllowed = true;
                do {
                    auto completed = held;
                    for (auto next = sent.begin(); char& type : completed)
                        type = sent.find(type) != std::string::npos ? *next++ : type;
                    auto values = requestFor(*table, sent, withAllowed);
                    (source.*table->set)(values);
                    auto expected = cellsOf(*table, completed, sent, withAllowed);
                    for (int row = static_cast<int>(sent.size()); table->hasSizes && row < table->count; ++row)
                        expected[tag(table->extra + row)]; // the rows added have empty sizes
                    ASSERT_EQ(values, expected) << table->name << " held " << held << " sent " << sent;
                    withAllowed = !withAllowed;
                } while (std::next_permutation(sent.begin(), sent.end()));
            }
        } while (std::next_permutation(held.begin(), held.end()));
    }
}

TEST_F(Management, ASetRequestThatIsNoTableStaysWithinTheTable)
{
    auto lastFree = cellsOf(headsets, "002");
    lastFree[tag(250)] = "sent0";
    struct {
        char const *what, *held;
        DataTagValue_t request, expected;
    } const cases[] = {
        {"rank beyond the table: not sorted, for the cell to refuse", "210", column(tag(243), "210214"),
         column(tag(243), "210214")},
        {"type beyond the table: nothing is taken for requested",
         "210",
         {{tag(243), "7"}, {tag(246), "1"}},
         cellsOf(headsets, "710", "7")},
        {"more free rows than requested ones: the last free row is taken", "002", requestFor(headsets, "0", true), lastFree},
        {"without the first type: nothing happens", "210", column(tag(244), "1 3"), column(tag(244), "1 3")}};
    auto source = makeSource();
    for (auto const& [what, held, request, expected] : cases) {
        cache.held = cellsOf(headsets, held);
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
        {{}, {{tag(123), ""}, {tag(124), ""}}},
        {{{tag(122), "1"}, {tag(124), "5"}}, all("1")},
        {{{tag(121), ""}, {tag(122), "4"}}, {{tag(121), ""}, {tag(122), "4"}, {tag(123), ""}, {tag(124), ""}}}};
    auto source = makeSource();
    cache.held = cellsOf(codecs, "0123");
    for (auto const& [sent, expected] : cases) {
        auto values = requestFor(codecs, "20", true);
        values.insert(sent.begin(), sent.end());
        source.processRequestToSetCodecs(values);
        EXPECT_EQ(DataTagValue_t(values.lower_bound(tag(121)), values.lower_bound(tag(125))), expected);
    }
    auto request = record({{"codecSettings", "codec[1]/type", "2"}, {"codecSettings", "codec[1]/packetSize", ""}});
    EXPECT_TRUE(source.setData(request));
    auto const& taken = cache.taken.back();
    EXPECT_EQ(DataTagValue_t(taken.lower_bound(tag(121)), taken.lower_bound(tag(125))), (DataTagValue_t{{tag(121), ""}}))
        << "what was sent stays, for its validator to refuse";
}

namespace {

DataTagValue_t facts(char const* software, char const* system, char const* opus, char const* aes256)
{
    return {{tag(650), software}, {tag(646), system}, {tag(797), opus}, {tag(798), aes256}};
}

struct {
    char const* what;
    Table const& table;
    bool entryModel, topModel, usb;
    DataTagValue_t held;
    std::string hidden;
} const profiles[] = {
    {"entry model", codecs, true, false, false, facts("Norvane SIP", "2", "false", ""), "13"},
    {"ordinary model", codecs, false, false, false, facts("other", "0", "false", ""), "3"},
    {"ordinary model under test", codecs, false, false, false, facts("other", "0", "true", ""), ""},
    {"ordinary model on full server", codecs, false, false, false, facts("Norvane SIP", "0", "false", ""), ""},
    {"ordinary model on system two", codecs, false, false, false, facts("other", "2", "false", ""), ""},
    {"encryption on full server", encryptions, false, false, false, facts("Norvane SIP", "0", "", "false"), ""},
    {"encryption on other", encryptions, false, true, true, facts("norvane sip", "2", "true", "false"), "234"},
    {"encryption under test", encryptions, true, false, false, facts("other", "0", "", "true"), ""},
    {"headsets of ordinary model", headsets, false, false, false, {}, "12"},
    {"headsets of entry model with USB", headsets, true, false, true, {}, "2"},
    {"headsets of top model", headsets, false, true, false, {}, "1"}};

} // namespace

TEST_F(Management, AModelHidesItsTypesWhereverTheyStandAndKeepsTheVerdicts)
{
    auto source = makeSource();
    for (auto const& [what, table, entryModel, topModel, usb, held, hidden] : profiles) {
        platform.hardware(entryModel, topModel, usb);
        cache.held = held;
        auto types = typesOf(table);
        do {
            auto shown = types;
            std::erase_if(shown, [&gone = hidden](char type) { return gone.find(type) != std::string::npos; });
            auto values = cellsOf(table, types);
            auto expected = cellsOf(table, shown);
            DataTagValue_t verdicts;
            for (int row = 0; row < table.count; ++row) {
                char const type = types[static_cast<std::size_t>(row)];
                int const place = table.extra == 0 ? row : type - '0'; // the verdict on a codec stands at its type
                verdicts[tag(table.hardware + place)] = shown.find(type) == std::string::npos ? "false" : "true";
                if (table.extra != 0)
                    values[tag(table.extra + row)] = std::to_string(row);
                if (table.extra != 0 && row < static_cast<int>(shown.size()))
                    expected[tag(table.extra + row)] = std::to_string(row);
            }
            (source.*table.get)(values);
            ASSERT_EQ(values, expected) << what << ' ' << types;
            ASSERT_EQ(cache.taken.back(), verdicts) << what << ' ' << types;
        } while (std::next_permutation(types.begin(), types.end()));
    }
}

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
    auto source = makeSource();
    for (char const* known : {"software-type", "other"}) {
        cache.held = {{tag(650), known}, {tag(645), "7"}};
        DataTagValue_t values{{tag(221), "4"}};
        source.processRequestToGetEncryption(values);
        EXPECT_EQ(values.empty(), known == std::string("other"));
    }
    EXPECT_EQ(platform.calls({"readData"}).size(), 1u);
}

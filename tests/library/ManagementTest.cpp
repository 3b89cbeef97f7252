// The management service's exchanges: what is owned and observed, reasons for refusals, pushes, reads, reports.
#include "../Records.h"
#include "ManagementFixture.h"

namespace {

constexpr eDataTag volume = tag(61), melody = tag(62);

Texts reasonsOf(ManageableData const& record)
{
    Texts reasons;
    for (auto const& [item, subItem, reason] : record.rejectReasons())
        reasons.push_back((item == subItem ? item : item + "/" + subItem) + ": " + reason);
    return reasons;
}

} // namespace

TEST_F(Management, TakesAnUnknownSubItemForTheItemItself)
{
    auto source = makeSource();
    eDataTag found = eDataTagNone;
    EXPECT_TRUE(source.findTagFor("codecSettings", "codec[9]/type", found));
    EXPECT_EQ(found, 109);
    EXPECT_FALSE(source.findTagFor("codec", "codec[1]/type", found));
}

TEST_F(Management, AnswersASetRequestWithReasonsOnlyForRefusalsOrWhenNothingChangesAtAll)
{
    using Request = std::vector<std::array<std::string, 3>>;
    Request const loud{{"ringer-volume", "ringer-volume", "3"}}, melodious{loud[0], {"ringer-melody", "ringer-melody", "4"}};
    struct {
        char const* what;
        Request request;
        DataTagValue_t rejects;
        bool stores, result;
        Texts reasons;
        bool batch = true;
    } const cases[] = {
        {"all unchanged", loud, {{volume, ""}}, true, false, {"ringer-volume: UNCHANGED_DATA: ringer-volume"}},
        {"one unchanged", melodious, {{volume, ""}}, true, true, {}},
        {"one unchanged, one refused", melodious, {{volume, ""}, {melody, "no"}}, false, false, {"ringer-melody: no"}},
        {"refused without a name", loud, {{tag(125), "no"}}, true, true, {}},
        {"database fails", loud, {}, false, false, {}},
        {"observed only", {{"country", "country", "DE"}}, {}, true, true, {}, false},
        {"unknown root id", {{"ringer-colour", "ringer-colour", "1"}}, {}, true, true, {}, false}};
    auto source = makeSource();
    platform.logLevel(3);
    for (auto const& [what, request, rejects, stores, result, reasons, batch] : cases) {
        SCOPED_TRACE(what);
        platform.clearLogs();
        cache.taken.clear();
        cache.rejects = rejects;
        cache.stores = stores;
        auto sent = record(request);
        EXPECT_EQ(source.setData(sent), result);
        EXPECT_EQ(reasonsOf(sent), reasons);
        EXPECT_EQ(cache.taken.size(), batch);
        EXPECT_EQ(platform.logs(3), batch ? Texts{} : Texts{"DataSourceOCMS::setData -> no tags found\n"});
    }
}

TEST_F(Management, TakesFromARecordOnlyTheCellsThatItHasAndAnswersAllOfATableNamedAlone)
{
    auto source = makeSource();
    auto request = record({{"codecSettings", "codec[2]/rank", "3"}});
    EXPECT_TRUE(source.setData(request));
    EXPECT_EQ(cache.taken.back(), (DataTagValue_t{{tag(114), "3"}}));
    for (int number = 109; number <= 124; ++number)
        cache.held[tag(number)] = std::to_string((number - 109) % 4);
    ManageableData read;
    read.setRootId("codecSettings", nullptr);
    EXPECT_TRUE(source.getData(read));
    auto const& entries = read.entries();
    EXPECT_EQ(std::count_if(entries.begin(), entries.end(), [](auto const& each) { return each.hasValue; }), 12)
        << "codec 3 has no hardware here";
}

TEST_F(Management, ReportsOwnedItemsAndRequestsAllOthersInOneCallEach)
{
    auto source = makeSource();
    platform.managementAccepts(true);
    platform.management("software-type", "software-type", "Norvane SIP");
    platform.clearJournal();
    std::string value;
    EXPECT_TRUE(source.getData(tag(650), value));
    EXPECT_EQ(value, "Norvane SIP");
    EXPECT_TRUE(source.setData(volume, "5"));
    EXPECT_TRUE(source.setData(country, "DE"));
    DataTagValue_t batch{{volume, "4"}, {melody, "2"}, {tag(125), "true"}, {country, "FR"}, {tag(650), "x"}};
    EXPECT_FALSE(source.setData(batch)) << "tag 125 has no name; all others are pushed";
    EXPECT_EQ(platform.lines({"readData", "reportChanged", "requestSet"}),
              (Texts{"readData software-type -> true", "reportChanged ringer-volume=5 [ringer-volume] -> true",
                     "requestSet country=DE -> true",
                     "reportChanged ringer-volume=4 ringer-melody=2 [ringer-volume,ringer-melody] -> true",
                     "requestSet country=FR software-type=x -> true"}));
    EXPECT_EQ(platform.logs(2), Texts{"DataSourceOCMS::setData -> failed to find strings for tag 125 \n"});
    batch = {{volume, "4"}, {country, "FR"}};
    for (std::size_t const failing : {0U, 1U, 2U}) { // none, the report, the request
        platform.failCall(failing);
        EXPECT_EQ(source.setData(batch), failing == 0);
    }
    platform.managementMissing();
    auto cutOff = makeSource();
    EXPECT_FALSE(cutOff.setData(batch));
    EXPECT_FALSE(cutOff.getData(tag(650), value));
    EXPECT_FALSE(cutOff.setData(country, "DE"));
}

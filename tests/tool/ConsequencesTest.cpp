// What a set brings along: what is foretold comes true, what is stored outlives a restart, and nothing is lost unasked.
#include "../host/HostTest.h"
#include "ToolRunner.h"

#include "workbench/Accepted.h"
#include "workbench/Assignment.h"
#include "workbench/Document.h"
#include "workbench/Import.h"
#include "workbench/Items.h"
#include "workbench/Outcomes.h"
#include "workbench/Workbench.h"

#include "Tables/Tables.h"

using namespace Data;
using namespace Tool;

struct Consequences : HostTest {
    Consequences() { restart(); }

    void restart()
    {
        bench.reset();
        std::string error;
        bool isInUse = false;
        bench = Workbench::open({.dataDirectory = m_directory, .showSecrets = true}, error, isInUse);
    }

    /// Texts that the item may have.
    std::vector<std::string> legalTexts(eDataTag tag) const
    {
        auto texts = legalValues(tag);
        texts.push_back(textOf(defaultOf(tag)));
        for (auto const* const text :
             {"0", "1", "2", "4", "20", "60", "500", "5004", "", "a", "12", "tune.wav", "all", "managed"})
            texts.emplace_back(text);
        std::erase_if(texts, [&](auto const& text) { return check(tag, text, {}).wanted.is_null(); });
        return texts;
    }

    /// Rows as an object of values by items.
    static Json rows(Report const& report, char const* name, char const* column)
    {
        auto values = Json::object();
        for (auto const& section : report.sections) {
            for (auto const& row : section.name == name ? section.rows : std::vector<std::vector<Json>>{}) {
                auto const at = [&](char const* key) {
                    return row[static_cast<std::size_t>(std::ranges::find(section.columns, key) - section.columns.begin())];
                };
                values[at("item").get<std::string>()] = at(column);
            }
        }
        return values;
    }

    /// What a report says of each item, before or after.
    static Json account(Report const& report)
    {
        auto all = Json::array({rows(report, "alsoChanged", "old"), rows(report, "alsoChanged", "new"),
                                rows(report, "items", "new"), rows(report, "items", "reason")});
        all.push_back(rows(report, "items", "result"));
        for (auto& result : all.back())
            result = result == "would store" || result == "taken" ? Json("stored") : result;
        return all;
    }

    std::unique_ptr<Workbench> bench;
};

TEST_F(Consequences, AreForetoldByADryRunAndComeTrue)
{
    std::mt19937 dice(20); // NOLINT(cert-msc51-cpp): the same each time
    auto const any = [&](auto const& choices) { return choices[dice() % choices.size()]; };
    std::map<Tables::Table const*, std::vector<eDataTag>> settable; ///< by table, since some tables are large
    settable[nullptr] = {eDataTagMobilityDataUpdate, eDataTagRingerMelody, eDataTagRingerAudioFile};
    for (auto const tag : allTags()) {
        if (isKept(tag))
            settable[Tables::holderOf(tag)].push_back(tag);
    }
    std::size_t besides = 0;
    for (int round = 0; round < 600; ++round) {
        std::map<eDataTag, std::string> wanted;
        for (auto count = 1 + dice() % 5; count != 0; --count) {
            auto const table = std::next(settable.begin(), static_cast<int>(dice() % settable.size()));
            auto const tag = any(table->second);
            if (auto const texts = legalTexts(tag); !texts.empty())
                wanted[tag] = any(texts);
        }
        std::vector<Assignment> assignments;
        Document document;
        for (auto const& [tag, text] : wanted) {
            assignments.push_back({nameOf(tag), text});
            document.settings[tag] = check(tag, text, {}).wanted;
        }
        bool const imports = round % 3 == 0;
        auto const act = [&](bool dryRun) {
            return imports ? importDocument(*bench, document, {.dryRun = dryRun, .yes = true})
                           : set(*bench, assignments, {.dryRun = dryRun, .follow = round % 3 == 1, .yes = true});
        };
        auto const rehearsed = act(true);
        for (auto const* const section : {"alsoChanged", "items"}) {
            auto const old = rows(rehearsed, section, "old");
            for (auto const& [item, value] : old.items())
                ASSERT_EQ(readValue(*findItem(item)).value_or(Json()), value) << round << ' ' << item;
        }
        auto const foretold = account(rehearsed);
        auto const found = account(act(false));
        ASSERT_EQ(found, foretold) << round << (imports ? " import " : " set ") << document.settings.size();
        besides += found[1].size();
        if (round % 50 == 49)
            restart();
    }
    EXPECT_GT(besides, 200U);
}

/// One setting after the other, each by itself.
TEST_F(Consequences, OfARestartAreSaidBeforehand)
{
    std::map<std::string, Json> expected;
    for (auto const tag : allTags()) {
        for (auto const& text : legalTexts(tag)) {
            if (check(tag, text, {}).result == Result::Unchanged)
                continue;
            auto const report = set(*bench, {{nameOf(tag), text}}, {.yes = true});
            auto const name = nameOf(tag);
            auto const stored = rows(report, "items", "result")[name] == Json("stored");
            if (rows(report, "items", "reason")[name].is_null()) {
                EXPECT_TRUE(stored) << name;
                expected[name] = rows(report, "items", "new")[name];
            } else if (stored) {
                expected.erase(name);
            }
            auto const besides = rows(report, "alsoChanged", "new");
            for (auto const& [item, value] : besides.items())
                expected.erase(item);
            break;
        }
    }
    EXPECT_GT(expected.size(), 400U);
    restart();
    for (auto const& [name, value] : expected)
        EXPECT_EQ(readValue(*findItem(name)), value) << name;
}

TEST_F(Consequences, OfABoolAreThoseThatItsWordMeans)
{
    std::pair<char const*, Json> const cases[]{{"true", true}, {"FALSE", false}, {"Yes", true}, {"nO", false}, {"ON", true},
                                               {"off", false}, {"1", true},      {"0", false},  {"2", {}},     {"", {}},
                                               {"maybe", {}},  {"y", {}},        {" true", {}}};
    std::size_t bools = 0;
    for (auto const tag : allTags()) {
        if (typeOf(tag) != eDataItemTypeBool || Tables::flagWordOf(tag))
            continue;
        ++bools;
        for (auto const& [text, value] : cases)
            EXPECT_EQ(check(tag, text, {}).wanted, value) << nameOf(tag) << '=' << text;
    }
    EXPECT_GT(bools, 50U);
}

/// A door opener that somebody has set up, and what asks before it goes.
struct DoorOpener : ToolTest::ToolRunner {
    DoorOpener()
    {
        run("set door-opener-type-1=2 door-opener-address-1=gate door-opener-pin-1=4711 door-opener-directvideo-1=1");
    }

    /// The tool at a terminal where this is typed: what it said, and its status.
    std::pair<std::string, int> atTerminal(std::string const& command, std::string const& typed) const
    {
        ToolTest::Terminal terminal(dataDirectory(), command);
        terminal.type(typed);
        auto const status = terminal.end();
        return {terminal.said(), status};
    }
};

TEST_F(DoorOpener, IsWipedAfterAQuestionAtATerminalOrWithAWord)
{
    auto const document = R"({"format": "mediadata export", "version": 1, "settings": {"door-opener-type-1": 0}})";
    write("type-0", document);
    for (auto const& command : {std::string("set door-opener-type-1=0"), "import " + (root() / "type-0").string()}) {
        auto const answer = ask(command);
        EXPECT_EQ(answer["exit"], 4);
        EXPECT_EQ(ToolTest::column(answer["wouldWipe"], "item"), "door-opener-address-1 door-opener-pin-1 ") << answer;
        EXPECT_EQ(ToolTest::column(answer["wouldWipe"], "old"), "gate ******** ");
        EXPECT_EQ(answer["alsoChanged"].size(), 0U);
        EXPECT_EQ(ToolTest::column(answer["items"], "result"), "held back ");
        EXPECT_EQ(ask(command + " --dry-run")["alsoChanged"].size(), 5U);
    }
    std::unique_ptr<ToolTest::Process> holder;
    for (bool const isHeld : {false, true}) {
        if (isHeld) {
            holder.reset(new ToolTest::Process(start("holder", {"serve"})));
            ASSERT_TRUE(holder->says("serving "));
        }
        auto const [said, refused] = atTerminal("set door-opener-type-1=0", "n\n");
        EXPECT_EQ(refused, 4);
        EXPECT_NE(said.find("wipes door-opener-address-1, door-opener-pin-1: go on? [y/N]"), std::string::npos) << said;
        EXPECT_EQ(out("get door-opener-address-1"), "gate\n");
        EXPECT_EQ(atTerminal("set door-opener-type-1=0", "y\n").second, 0);
        EXPECT_EQ(out("get door-opener-address-1"), "\n");
        ASSERT_EQ(status("set door-opener-type-1=2 door-opener-address-1=gate door-opener-pin-1=4711"), 0);
    }
    EXPECT_EQ(status("set --yes door-opener-type-1=0"), 0);
}

TEST_F(DoorOpener, IsTheSettingThatIsMissingForWhatItsRulesWouldUndo)
{
    std::pair<char const*, char const*> const cases[]{
        {"set camera-door-opener-2=1", "the door openers make it 0: needs door-opener-directvideo-1=2"},
        {"set camera-door-opener-1=0", "the door openers make it 1: needs door-opener-directvideo-1 other than 1"},
        {"set camera-phone-number-1=5", "the door openers make it \"\": needs door-opener-phonenumber-1=5"},
        {"mgmt set camera-door-opener-2=1", "the door openers make it 0: needs door-opener-directvideo-1=2"},
        {"set group-pickup-tone-allowed=false group-pickup-tone-type=1",
         "a rule makes it true: needs group-pickup-tone-type=0"},
        {"set --dry-run ringer-melody=3 ringer-melody-14=3",
         "its row has no alert identifier and follows the general ringer: needs alert-identifier-14"},
        {"set --dry-run door-opener-type-1=0 door-opener-address-1=gate",
         "a door opener of type 0 has none: needs door-opener-type-1 other than 0"}};
    for (auto const& [command, reason] : cases)
        EXPECT_NE(ToolTest::column(ask(command)["items"], "reason").find(reason), std::string::npos) << command;
    EXPECT_EQ(status("set camera-door-opener-2=1 door-opener-directvideo-1=2"), 0);
    EXPECT_EQ(out("get camera-door-opener-1 camera-door-opener-2"), "camera-door-opener-1 = 0\ncamera-door-opener-2 = 1\n");
}

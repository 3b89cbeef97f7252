// Every item times the values that break things: accepted or refused as its catalogue row says, what is refused changes
// nothing, what is accepted is there to the byte after a restart. What checks say of values is the matter of ItemsTest.
#include "Sweep.h"

#include "Data/DataSourceOCMS.h"
#include "Data/DataValidator.h"

#include "ClientUtils.h"
#include "Tables/Rules.h"

namespace {

using Builder = DataCache::DataItemBuilder;
using Record = Builder::DataItemRecord;

Record const& rowOf(eDataTag tag)
{
    return Builder::dataItemDefaultTable[tag];
}

/// The row's bounds, of a number or of a length; the whole range of int where it has none.
std::pair<int, int> bounds(Record const& row)
{
    auto const& [first, second] = row.valueChain[0].params;
    if (row.valueChain[0].builder == nullptr || first.type != eDataItemTypeInt || first.text.empty())
        return {INT_MIN, INT_MAX};
    return {std::stoi(first.text), std::stoi(second.text)};
}

/// What a chain of the row says of a value, asked by itself.
template <class T> bool passes(Builder::Chain const& steps, T const& value)
{
    std::unique_ptr<DataValidator> const chain(Builder::buildValidatorChain(steps));
    std::string reason;
    return !chain || chain->validate(value, reason);
}

/// Whether a text may be entered for the item, and the text that it then has.
bool rowAcceptsText(Record const& row, std::string const& text, std::string& result)
{
    result = text;
    if (row.value.type >= eDataItemTypeString)
        return passes(row.valueChain, text);
    int const value = ClientUtils::stoi(text);
    bool const isFlag = row.value.type == eDataItemTypeBool;
    result = isFlag ? ClientUtils::btos(ClientUtils::stob(text)) : std::to_string(value);
    return passes(row.stringChain, text) && (isFlag || passes(row.valueChain, value));
}

constexpr int numberCount = 10;
/// The i-th number to try on the row.
int offeredNumber(Record const& row, int i)
{
    auto const [least, most] = bounds(row);
    int const below = least == INT_MIN ? 1 : least - 1, next = least == INT_MIN ? 3 : least + 1;
    int const last = most == INT_MAX ? 5 : most - 1, above = most == INT_MAX ? 7 : most + 1;
    int const numbers[numberCount]{below, least, next, last, most, above, INT_MIN, INT_MAX, 0, -1};
    return numbers[i];
}

using namespace std::string_literals;
// clang-format off
std::string const offeredTexts[]{"", "1", "-1", "+1", "007", " 1", "a b\t", "true", "TRUE", "false", "beep", "\"quote'", "<a&b>",
                          "x\0y"s, "\xff\xfe", "99999999999999999999", "Internal.Call", std::string(65536, '&')};
// clang-format on

/// The i-th text to try: those above, then texts at the bounds of the row's lengths or numbers.
constexpr int textCount = static_cast<int>(std::size(offeredTexts)) + 4;
std::string offeredText(Record const& row, int i)
{
    if (i < static_cast<int>(std::size(offeredTexts)))
        return offeredTexts[i];
    int const value = offeredNumber(row, std::array{0, 1, 4, 5}[static_cast<std::size_t>(i) - std::size(offeredTexts)]);
    bool const isLength = row.valueChain[0].builder == Builder::dataValidatorStringLength;
    return isLength ? std::string(static_cast<std::size_t>(std::max(value, 0)), 'l') : std::to_string(value);
}

struct CatalogueSweep : LibraryTest {
    CatalogueSweep()
    {
        start();
        m_before = snapshot();
        platform.onCall([this](Scripted::Call const& call) { m_writes += call.name.starts_with("setDataItem"); });
        platform.keepJournal(false);
    }

    ~CatalogueSweep() override
    {
        auto const fixed =
            std::count_if(m_changes.begin(), m_changes.end(), [](auto const& each) { return each.second == 0; });
        std::cout << "catalogue sweep: " << m_offered << " values offered, " << m_accepted << " accepted, "
                  << m_changes.size() << " items, " << fixed << " of them without a change\n";
        // Types and ranks of ranked tables cannot change alone, and two tables keep their last row, allowed from the start.
        EXPECT_EQ(fixed, 12 + 12 + 2);
    }

    /// Offers one value: `set` tells whether it was taken, `expected` is what the item then holds.
    void offer(eDataTag tag, bool accepted, std::string const& expected, std::function<bool()> const& set)
    {
        auto const before = presentText(tag);
        m_writes = 0;
        bool const answer = set();
        auto const now = presentText(tag);
        ++m_offered;
        m_accepted += accepted;
        m_changes[tag] += answer && now == expected && now != before;
        if (!accepted) {
            EXPECT_FALSE(answer) << tag << " should refuse " << expected.substr(0, 80);
            EXPECT_EQ(now, before) << tag;
            EXPECT_EQ(m_writes, 0) << tag;
        } else if (dependsOnOthers(tag)) {
            // A row without an identifier rings as long as every call.
            bool const follows = tag >= eDataTagAlertDuration0 && tag < eDataTagAlertType0 && expected == "0" && now == "60";
            EXPECT_EQ(now, follows ? "60" : answer ? expected : before) << tag << (answer ? " took it" : " refused it");
        } else {
            EXPECT_TRUE(answer) << tag << " should take " << expected.substr(0, 80);
            EXPECT_EQ(now, expected) << tag;
            EXPECT_EQ(m_writes, now == before || databaseRow(tag).schema == nullptr ? m_writes : 1) << tag;
        }
        if (!dependsOnOthers(tag))
            m_expected[tag] = accepted ? expected : before;
    }

    /// What was set is there, nothing else was, and the database brings it all back.
    void restartAndCompare()
    {
        auto const now = snapshot();
        for (auto const& [tag, expected] : m_expected)
            EXPECT_TRUE(now.at(tag) == expected) << tag << " became " << now.at(tag).substr(0, 80);
        restart();
        auto const again = snapshot();
        // As required: a ringing table that XML cannot express is not stored and nobody is told, so that its cells stay old;
        // a start does not know the general ringer yet that rows without an identifier follow.
        auto const& file = now.at(eDataTagRingerFile0);
        bool const isUnstorable = file.size() > 60000 || file.find_first_of("\0\xff"s) != std::string::npos;
        bool const mayDiffer = isUnstorable || now.at(eDataTagAlertIdentifier0).empty();
        for (auto const& [tag, text] : kept(now)) {
            auto const& came = again.at(tag);
            bool const differs = came != text && mayDiffer && databaseRow(tag).parentTable == eDataTagDistinctiveRinging;
            auto const rule = Tables::ringerRuleOf(tag);
            EXPECT_EQ(came, differs && isUnstorable ? m_before.at(tag) : differs && rule ? rule->otherwise : text) << tag;
        }
        m_before = again;
        m_expected.clear();
        platform.clearLogs();
    }

    int m_writes = 0;
    int m_offered = 0;
    int m_accepted = 0;
    DataTagValue_t m_before; ///< what was held when the round began
    DataTagValue_t m_expected;
    std::map<eDataTag, int> m_changes; ///< how often each item took a new value
};

TEST_F(CatalogueSweep, TypedValuesAreTakenAsTheRowSaysAndSurviveARestart)
{
    for (int round = 0; round < textCount; ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        for (auto const tag : heldTags()) {
            auto const& row = rowOf(tag);
            int const value = offeredNumber(row, round % numberCount);
            auto const string = offeredText(row, round);
            bool const flag = round % 2 == 0;
            if (row.value.type == eDataItemTypeInt)
                offer(tag, passes(row.valueChain, value), std::to_string(value),
                      [&] { return Cache::setData(tag, value, false); });
            else if (row.value.type == eDataItemTypeBool)
                offer(tag, true, flag ? "true" : "false", [&] { return Cache::setData(tag, flag, false); });
            else if (!databaseRow(tag).isTable)
                offer(tag, passes(row.valueChain, string), string, [&] { return Cache::setData(tag, string, false); });
            // A value of another type is never taken.
            EXPECT_FALSE(row.value.type == eDataItemTypeInt ? Cache::setData(tag, flag, false)
                                                            : Cache::setData(tag, value, false))
                << tag;
        }
        restartAndCompare();
    }
}

TEST_F(CatalogueSweep, TextsOfTheManagementServiceAreTakenAsTheRowSaysAndSurviveARestart)
{
    std::list<eDataTag> ownTags;
    Builder::getComponentTagList(eDataComponentMedia, ownTags);
    for (int round = 0; round < textCount; ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        for (auto const tag : ownTags) {
            auto const& [managedTag, item, subItem] = DataSourceOCMS::dataOCMSDescriptionTable[tag];
            if (item == nullptr)
                continue;
            auto const offered = offeredText(rowOf(tag), round);
            std::string expected;
            bool const accepted = rowAcceptsText(rowOf(tag), offered, expected);
            offer(tag, accepted, expected, [&, root = *item, name = subItem != nullptr ? *subItem : *item] {
                ManageableData request;
                request.populate(root, name, offered);
                auto const& reasons = request.rejectReasons();
                return Cache::setDataOcms(request) ||
                       (reasons.size() == 1 && reasons[0].reason == "UNCHANGED_DATA: " + name);
            });
        }
        restartAndCompare();
    }
}

} // namespace

// Validators, items and the builder: exact refusals, the changed mark, chains, defaults.
#include "Data/DataItem.h"
#include "Data/DataItemBuilder.h"
#include "Data/DataUpdateCallback.h"
#include "ScriptedFixture.h"

#include <list>
#include <map>
#include <memory>
#include <variant>

using namespace Data;
using Builder = DataCache::DataItemBuilder;
using Step = Builder::ValidatorAndParams;

namespace {

Step numbers(Builder::ValidatorBuilder builder, std::string const& first, std::string const& second)
{
    return {builder, {{eDataItemTypeInt, first}, {eDataItemTypeInt, second}}};
}

Step texts(std::string const& list, std::string const& separator)
{
    return {Builder::dataValidatorStringsAllowed, {{eDataItemTypeString, list}, {eDataItemTypeString, separator}}};
}

Step plain(Builder::ValidatorBuilder builder)
{
    return {builder, {}};
}

std::unique_ptr<DataValidator> chain(Step const& first, Step const& second = {})
{
    Step const steps[] = {first, second};
    return std::unique_ptr<DataValidator>(Builder::buildValidatorChain(steps));
}

/// A value, and why it is refused; an empty reason: it passes.
struct Case {
    Step step;
    std::variant<int, std::string> value;
    std::string reason;
};

std::vector<Case> cases()
{
    Step const range = numbers(Builder::dataValidatorIntRange, "1", "8");
    Step const single = numbers(Builder::dataValidatorIntRange, "5", "5");
    Step const port = numbers(Builder::dataValidatorBasePort, "2", "65120");
    Step const not67 = numbers(Builder::dataValidatorIntRangeNot, "6", "7");
    Step const inside = numbers(Builder::dataValidatorIntRangeNot, "7", "5");
    Step const digits = plain(Builder::dataValidatorStringAllDigits);
    Step const blanks = plain(Builder::dataValidatorStringNoWhitespace);
    Step const boolean = plain(Builder::dataValidatorStringBoolean);
    Step const length = numbers(Builder::dataValidatorStringLength, "1", "3");
    Step const ringer = texts("true,false,beep", ",");
    Step const gaps = texts("a;;b;", ";,");
    std::string const onlyDigits = "The provided value must contain only digits";
    std::string const white = "The provided value contains white spaces";
    std::string const bytes = "The provided value must have length from 1 to 3 characters!";
    std::string const rings = " is not supported! Allowed: true;false;beep;";
    return {
        {range, 1, ""},
        {range, 8, ""},
        {range, 0, "The provided value '0' is not in valid range 1..8"},
        {range, 9, "The provided value '9' is not in valid range 1..8"},
        {range, -3, "The provided value '-3' is not in valid range 1..8"},
        {single, 5, ""},
        {single, 6, "The provided value '6' is not in valid range 5..5"},
        {port, 2, ""},
        {port, 65120, ""},
        {port, 5005, "The provided value '5005' is not even."},
        {port, -1, "The provided value '-1' is not even."},
        {port, 65121, "The provided value '65121' is not even."},
        {port, 65122, "The provided value '65122' is not in valid range 2..65120"},
        {port, 0, "The provided value '0' is not in valid range 2..65120"},
        {not67, 1, "The provided value '1' is not in valid range"},
        {not67, 6, "The provided value '6' is not in valid range"},
        {not67, 8, "The provided value '8' is not in valid range"},
        {inside, 6, ""},
        {inside, 7, "The provided value '7' is not in valid range"},
        {digits, "", ""},
        {digits, "0123456789", ""},
        {digits, "-1", onlyDigits},
        {digits, "abc", onlyDigits},
        {blanks, "", ""},
        {blanks, "a\xC2\xA0", ""},
        {blanks, "a b", white},
        {blanks, "a\v", white},
        {blanks, "\fa", white},
        {blanks, "\r", white},
        {blanks, "\n", white},
        {blanks, "\t", white},
        {boolean, "TRUE", ""},
        {boolean, "False", ""},
        {boolean, "1", "The provided value is not valid"},
        {boolean, " true", "The provided value is not valid"},
        {length, "abc", ""},
        {length, "", bytes},
        {length, "abcd", bytes},
        {length, "\xC3\xA4\xC3\xA4", bytes},
        {ringer, "beep", ""},
        {ringer, "", "The provided value is empty!"},
        {ringer, "True", "The provided value 'True'" + rings},
        {ringer, "loud", "The provided value 'loud'" + rings},
        {gaps, "b", ""},
        {gaps, "c", "The provided value 'c' is not supported! Allowed: a;;b;"},
    };
}

struct DeafCallback : DataUpdateCallback {
    void onDataUpdate(BulkData&) override {}
};

std::string valueOf(DataItemBase const& item)
{
    std::string text;
    EXPECT_TRUE(item.getValueString(text));
    return text;
}

class ItemsTest : public ScriptedTest {};

} // namespace

TEST_F(ItemsTest, ValidatorsRefuseWithExactlyTheirReason)
{
    for (Case const& one : cases()) {
        // Called by itself, since a chain skips dataValidatorIntRangeNot.
        std::unique_ptr<DataValidator> const validator(one.step.builder(one.step.params, nullptr));
        ASSERT_TRUE(validator);
        std::string reason = "untouched";
        bool const passes = std::visit([&](auto const& value) { return validator->validate(value, reason); }, one.value);
        EXPECT_EQ(passes, one.reason.empty());
        EXPECT_EQ(reason, one.reason.empty() ? "untouched" : one.reason);
    }
}

TEST_F(ItemsTest, AValidatorOfTheWrongTypeRefusesAndSaysSoOnStandardOutput)
{
    auto const range = chain(numbers(Builder::dataValidatorIntRange, "1", "8"));
    std::string reason = "untouched";
    testing::internal::CaptureStdout();
    EXPECT_FALSE(range->validate(true, reason));
    EXPECT_FALSE(range->validate(std::string("1"), reason));
    EXPECT_FALSE(range->validate(std::vector<DataObject*>{}, reason));
    EXPECT_FALSE(chain(plain(Builder::dataValidatorStringBoolean))->validate(1, reason));
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "!ERR wrong validator type ; bool\n!ERR wrong validator type ; string\n"
              "!ERR wrong validator type ; complex\n!ERR wrong validator type ; int\n");
    EXPECT_EQ(reason, "untouched");
}

TEST_F(ItemsTest, TheSecondStepOfAChainRunsFirst)
{
    auto const both = chain(plain(Builder::dataValidatorStringAllDigits), plain(Builder::dataValidatorStringNoWhitespace));
    std::string reason;
    EXPECT_FALSE(both->validate(std::string("a b"), reason));
    EXPECT_EQ(reason, "The provided value contains white spaces");
    EXPECT_FALSE(both->validate(std::string("ab"), reason));
    EXPECT_EQ(reason, "The provided value must contain only digits");
}

TEST_F(ItemsTest, AChainDependsOnItsFirstStepButNotOnItsSecond)
{
    Step const good = numbers(Builder::dataValidatorIntRange, "1", "8");
    Step const bad = numbers(Builder::dataValidatorIntRange, "1", "");
    std::string reason;
    testing::internal::CaptureStdout();
    EXPECT_FALSE(chain(bad, good));
    auto const first = chain(good, bad);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "invalid parameters for 'dataValidatorIntRange'\n"
                                                      "invalid parameters for 'dataValidatorIntRange'\n");
    ASSERT_TRUE(first) << "the first step survives a second one whose parameters do not fit";
    EXPECT_FALSE(first->validate(9, reason));

    EXPECT_FALSE(chain({}));
    EXPECT_TRUE(chain({}, good));
    EXPECT_FALSE(chain(numbers(Builder::dataValidatorIntRangeNot, "6", "7")));
    EXPECT_TRUE(chain(good, numbers(Builder::dataValidatorIntRangeNot, "6", "7"))->validate(6, reason)) << "skipped";
    EXPECT_FALSE(chain(numbers(Builder::dataValidatorStringLength, "", "7")));
    EXPECT_FALSE(chain(texts("", ",")));
    EXPECT_FALSE(chain({Builder::dataValidatorStringsAllowed, {{eDataItemTypeInt, "1"}, {eDataItemTypeInt, ","}}}));
}

TEST_F(ItemsTest, AnItemAnswersForItsOwnTypeOnly)
{
    DataItem<bool> item(eDataTagOpusFec, eDataSourceDB);
    std::string reason = "untouched";
    int number = 7;
    std::string text = "x";
    EXPECT_FALSE(item.setValue(1, reason));
    EXPECT_FALSE(item.setValue(std::string("true"), reason));
    EXPECT_FALSE(item.getValue(number));
    EXPECT_FALSE(item.getValue(text));
    EXPECT_EQ(reason + text + std::to_string(number), "untouchedx7");
    EXPECT_FALSE(item.isChanged());
}

TEST_F(ItemsTest, ARefusedValueChangesNothing)
{
    DataItem<int> item(eDataTagIceServerType, eDataSourceDB, chain(plain(Builder::dataValidatorStringAllDigits)).release(),
                       chain(numbers(Builder::dataValidatorIntRange, "1", "8")).release());
    std::string reason;
    EXPECT_FALSE(item.setValueString("abc", reason));
    EXPECT_EQ(reason, "The provided value must contain only digits");
    EXPECT_FALSE(item.setValueString("9", reason));
    EXPECT_EQ(reason, "The provided value '9' is not in valid range 1..8");
    EXPECT_EQ(valueOf(item), "0");
    EXPECT_FALSE(item.isChanged());
    EXPECT_TRUE(item.setValueString("8", reason));
    EXPECT_EQ(valueOf(item), "8");
}

TEST_F(ItemsTest, AStringItemNeverAsksItsStringChain)
{
    DataItem<std::string> item(eDataTagCountry, eDataSourceDB,
                               chain(plain(Builder::dataValidatorStringAllDigits)).release());
    std::string reason;
    EXPECT_TRUE(item.setValueString("abc", reason));
    EXPECT_EQ(valueOf(item), "abc");
}

TEST_F(ItemsTest, EveryChangeIsTakenOnceAndOnlyByThoseRegisteredThen)
{
    DataItem<int> item(eDataTagIceServerType, eDataSourceDB);
    DeafCallback first;
    DeafCallback second;
    std::set<DataUpdateCallback*> const untouched{&second};
    std::set<DataUpdateCallback*> out = untouched;
    std::string reason;

    EXPECT_FALSE(item.getCallbacks(out)) << "nothing changed";
    EXPECT_TRUE(item.setValue(0, reason)) << "the old value again";
    EXPECT_FALSE(item.getCallbacks(out)) << "nobody is registered, and the change is used up";
    item.addCallback(&first);
    item.addCallback(&first);
    EXPECT_FALSE(item.getCallbacks(out));
    EXPECT_EQ(out, untouched);

    EXPECT_TRUE(item.setValue(0, reason));
    EXPECT_TRUE(item.getCallbacks(out));
    EXPECT_EQ(out, std::set<DataUpdateCallback*>{&first});
    EXPECT_FALSE(item.getCallbacks(out));
    EXPECT_TRUE(item.setValue(1, reason));
    item.removeCallback(&first);
    EXPECT_FALSE(item.getCallbacks(out));
}

TEST_F(ItemsTest, EveryRecordMakesAnItemThatHoldsItsDefault)
{
    for (int tag = 0; tag <= 806; ++tag) {
        SCOPED_TRACE(tag);
        Builder::DataItemRecord const* const record = Builder::findDataRecord(static_cast<eDataTag>(tag));
        platform.clearLogs();
        std::unique_ptr<DataItemBase> const item(Builder::createDataItem(static_cast<eDataTag>(tag), eDataSourceDB));
        if (record == nullptr) {
            EXPECT_FALSE(item);
            EXPECT_EQ(platform.logs(2),
                      std::vector<std::string>{"DataCache::createDataItem - unknown tag " + std::to_string(tag)});
            continue;
        }
        ASSERT_TRUE(item);
        EXPECT_EQ(platform.logs(2), std::vector<std::string>{});
        EXPECT_EQ(valueOf(*item), record->value.text);
        EXPECT_TRUE(item->isChanged());
    }
}

TEST_F(ItemsTest, FillingTheMapChoosesTheSourceAndCountsTagsWithoutItem)
{
    platform.logLevel(3);
    std::map<eDataTag, DataItemBase*> map;
    std::list<eDataTag> const tags{eDataTagGroupPickup, eDataTagOpusTest, eDataTagFpkDoorOpener1015, eDataTagQosLayer3,
                                   eDataTagGroupPickup};
    std::list<eDataTag> added{eDataTagEnd};
    Builder::addIntoDataMap(tags, false, map, added);
    EXPECT_EQ(added,
              (std::list<eDataTag>{eDataTagGroupPickup, eDataTagOpusTest, eDataTagFpkDoorOpener1015, eDataTagQosLayer3}));
    EXPECT_EQ(map.size(), 3U);
    EXPECT_EQ(map.at(eDataTagGroupPickup)->source(), eDataSourceGroupPickup);
    EXPECT_EQ(map.at(eDataTagOpusTest)->source(), eDataSourceFile);
    EXPECT_EQ(map.at(eDataTagFpkDoorOpener1015)->source(), eDataSourceDB);
    EXPECT_EQ(platform.logs(3), std::vector<std::string>{" -- item 68 already in map!"});

    Builder::addIntoDataMap({eDataTagCountry, eDataTagOpusTest}, true, map, added);
    EXPECT_EQ(added, std::list<eDataTag>{eDataTagCountry});
    EXPECT_EQ(map.at(eDataTagCountry)->source(), eDataSourceNone);
    EXPECT_EQ(valueOf(*map.at(eDataTagCountry)), "country");
    for (auto const& [tag, item] : map)
        delete item;
}

TEST_F(ItemsTest, DefaultsAreFilteredByComponentAndUserData)
{
    using Values = std::map<eDataTag, std::string>;
    Values const asked{{eDataTagNone, "x"},         {eDataTagOpusFec, "x"}, {eDataTagGroupPickup, "x"},
                       {eDataTagRingerVolume, "x"}, {eDataTagCountry, "x"}, {eDataTagQosLayer3, "x"},
                       {eDataTagEnd, "x"}};
    Values all = asked;
    Builder::getDefaultValues(all, eDataComponentNone, false);
    EXPECT_EQ(all, (Values{{eDataTagOpusFec, "false"},
                           {eDataTagGroupPickup, ""},
                           {eDataTagRingerVolume, "3"},
                           {eDataTagCountry, "country"}}));
    Values mine = asked;
    Builder::getDefaultValues(mine, eDataComponentMedia, true);
    EXPECT_EQ(mine, (Values{{eDataTagGroupPickup, ""}, {eDataTagRingerVolume, "3"}}));

    std::map<eDataTag, DataItemBase*> items;
    for (auto const& [tag, value] : asked)
        items[tag] = nullptr;
    Values out{{eDataTagRingerVolume, "kept"}};
    Builder::getDefaultValues(items, out, eDataComponentNone, false);
    EXPECT_EQ(out, (Values{{eDataTagOpusFec, "false"}, {eDataTagRingerVolume, "kept"}, {eDataTagCountry, "country"}}))
        << "tables are left out and entries that were there stay";
}

// Validators with their exact refusals and chains, and the catalogue as code uses it; its rows themselves are compared with
// the reviewed list by the tests of the tool.
#include "Data/DataItem.h"
#include "Data/DataItemBuilder.h"
#include "ScriptedFixture.h"

#include <memory>
#include <set>

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

std::unique_ptr<DataValidator> chain(Step const& first, Step const& second = {})
{
    Step const steps[] = {first, second};
    return std::unique_ptr<DataValidator>(Builder::buildValidatorChain(steps));
}

class ItemsTest : public ScriptedTest {
protected:
    Step const range = numbers(Builder::dataValidatorIntRange, "1", "8");
    Step const digits{Builder::dataValidatorStringAllDigits, {}};
    std::string reason;
};

} // namespace

TEST_F(ItemsTest, NumbersAreRefusedWithExactlyTheirReason)
{
    Step const port = numbers(Builder::dataValidatorBasePort, "2", "65120");
    Step const not67 = numbers(Builder::dataValidatorIntRangeNot, "6", "7");
    Step const inside = numbers(Builder::dataValidatorIntRangeNot, "7", "5");
    struct {
        Step const& step;
        int value;
        char const* reason; ///< empty: it passes
    } const cases[]{{range, 8, ""},
                    {range, 0, "The provided value '0' is not in valid range 1..8"},
                    {range, -3, "The provided value '-3' is not in valid range 1..8"},
                    {port, 2, ""},
                    {port, -1, "The provided value '-1' is not even."},
                    {port, 65121, "The provided value '65121' is not even."},
                    {port, 65122, "The provided value '65122' is not in valid range 2..65120"},
                    {not67, 1, "The provided value '1' is not in valid range"},
                    {not67, 6, "The provided value '6' is not in valid range"},
                    {inside, 6, ""},
                    {inside, 7, "The provided value '7' is not in valid range"}};
    for (auto const& one : cases) {
        // Called by itself, since a chain skips dataValidatorIntRangeNot.
        std::unique_ptr<DataValidator> const validator(one.step.builder(one.step.params, nullptr));
        reason.clear();
        EXPECT_EQ(validator->validate(one.value, reason), *one.reason == '\0') << one.value;
        EXPECT_EQ(reason, one.reason);
    }
}

TEST_F(ItemsTest, TextsAreRefusedWithExactlyTheirReason)
{
    Step const blanks{Builder::dataValidatorStringNoWhitespace, {}};
    Step const length = numbers(Builder::dataValidatorStringLength, "1", "3");
    struct {
        Step step;
        std::string value, reason;
    } const cases[]{{digits, "", ""},
                    {digits, "-1", "The provided value must contain only digits"},
                    {blanks, "a\xC2\xA0", ""},
                    {blanks, "a\v", "The provided value contains white spaces"},
                    {{Builder::dataValidatorStringBoolean, {}}, " true", "The provided value is not valid"},
                    {length, "abc", ""},
                    {length, "\xC3\xA4\xC3\xA4", "The provided value must have length from 1 to 3 characters!"},
                    {texts("true,beep", ","), "", "The provided value is empty!"},
                    {texts("true,beep", ","), "True", "The provided value 'True' is not supported! Allowed: true;beep;"},
                    {texts("a;;b;", ";,"), "b", ""},
                    {texts("a;;b;", ";,"), "c", "The provided value 'c' is not supported! Allowed: a;;b;"}};
    for (auto const& one : cases) {
        reason.clear();
        EXPECT_EQ(chain(one.step)->validate(one.value, reason), one.reason.empty()) << one.value;
        EXPECT_EQ(reason, one.reason);
    }
}

TEST_F(ItemsTest, AValidatorOfTheWrongTypeRefusesAndSaysSoOnStandardOutput)
{
    testing::internal::CaptureStdout();
    EXPECT_FALSE(chain(range)->validate(true, reason));
    EXPECT_FALSE(chain(range)->validate(std::string("1"), reason));
    EXPECT_FALSE(chain(range)->validate(std::vector<DataObject*>{}, reason));
    EXPECT_FALSE(chain(digits)->validate(1, reason));
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "!ERR wrong validator type ; bool\n!ERR wrong validator type ; string\n"
              "!ERR wrong validator type ; complex\n!ERR wrong validator type ; int\n");
    EXPECT_EQ(reason, "");
}

TEST_F(ItemsTest, AChainDependsOnItsFirstStepButNotOnItsSecondWhichRunsFirst)
{
    Step const bad = numbers(Builder::dataValidatorIntRange, "1", "");
    Step const skipped = numbers(Builder::dataValidatorIntRangeNot, "6", "7");
    testing::internal::CaptureStdout();
    EXPECT_FALSE(chain(bad, range));
    EXPECT_FALSE(chain(range, bad)->validate(9, reason)) << "the first step survives a second one that does not fit";
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "invalid parameters for 'dataValidatorIntRange'\n"
                                                      "invalid parameters for 'dataValidatorIntRange'\n");
    EXPECT_FALSE(chain({}));
    EXPECT_TRUE(chain({}, range));
    EXPECT_FALSE(chain(skipped));
    EXPECT_TRUE(chain(range, skipped)->validate(6, reason));
    EXPECT_FALSE(chain(numbers(Builder::dataValidatorStringLength, "", "7")));
    EXPECT_FALSE(chain(texts("", ",")));
    EXPECT_FALSE(chain({Builder::dataValidatorStringsAllowed, {{eDataItemTypeInt, "1"}, {eDataItemTypeInt, ","}}}));
    EXPECT_FALSE(chain(digits, {Builder::dataValidatorStringNoWhitespace, {}})->validate(std::string("a b"), reason));
    EXPECT_EQ(reason, "The provided value contains white spaces");
}

TEST_F(ItemsTest, FindsNoRecordOfRowsThatAreSwitchedOffOrOutside)
{
    std::set<int> absent;
    for (int tag = -2; tag <= 809; ++tag)
        if (Builder::findDataRecord(static_cast<eDataTag>(tag)) == nullptr)
            absent.insert(tag);
    EXPECT_EQ(absent, (std::set<int>{-2, -1, 0, 632, 634, 635, 636, 637, 638, 639, 644, 647, 651, 806, 807, 808, 809}));

    platform.clearLogs();
    EXPECT_EQ(Builder::getItemType(eDataTagEnd), eDataItemTypeInvalid);
    EXPECT_FALSE(Builder::isUserData(eDataTagQosLayer3));
    EXPECT_EQ(platform.logs(2), (std::vector<std::string>{"oops.. no record found for tag 806",
                                                          "DataItemBuilder::isUserData - no record found for tag 634"}));
    EXPECT_TRUE(Builder::verifyDataTable());
}

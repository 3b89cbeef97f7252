// Validators with their exact refusals and chains; the catalogue's rows are compared with the reviewed list by the tests of
// the tool.
#include "Data/DataItem.h"
#include "Data/DataItemBuilder.h"
#include "ScriptedFixture.h"

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

struct ItemValues : ScriptedTest {
    /// Called by itself, since a chain skips dataValidatorIntRangeNot. An empty refusal: the value passes.
    template <class T> void offer(Step const& step, T const& value, std::string const& refusal)
    {
        std::unique_ptr<DataValidator> const validator(step.builder(step.params, nullptr));
        reason.clear();
        EXPECT_EQ(validator->validate(value, reason), refusal.empty()) << value;
        EXPECT_EQ(reason, refusal);
    }

    Step const range = numbers(Builder::dataValidatorIntRange, "1", "8");
    Step const digits{Builder::dataValidatorStringAllDigits, {}};
    Step const blanks{Builder::dataValidatorStringNoWhitespace, {}};
    std::string reason;
};

} // namespace

TEST_F(ItemValues, ValuesAreRefusedWithExactlyTheirReason)
{
    offer(range, 1, "");
    offer(range, 8, "");
    offer(range, 9, "The provided value '9' is not in valid range 1..8");
    offer(range, 0, "The provided value '0' is not in valid range 1..8");
    offer(range, -3, "The provided value '-3' is not in valid range 1..8");
    Step const port = numbers(Builder::dataValidatorBasePort, "2", "65120");
    offer(port, 2, "");
    offer(port, -1, "The provided value '-1' is not even.");
    offer(port, 65121, "The provided value '65121' is not even.");
    offer(port, 65122, "The provided value '65122' is not in valid range 2..65120");
    Step const not67 = numbers(Builder::dataValidatorIntRangeNot, "6", "7");
    offer(not67, 1, "The provided value '1' is not in valid range");
    offer(not67, 6, "The provided value '6' is not in valid range");
    Step const inside = numbers(Builder::dataValidatorIntRangeNot, "7", "5");
    offer(inside, 6, "");
    offer(inside, 7, "The provided value '7' is not in valid range");

    using namespace std::string_literals;
    offer(digits, ""s, "");
    offer(digits, "-1"s, "The provided value must contain only digits");
    offer(blanks, "a\xC2\xA0"s, "");
    for (char const blank : " \t\n\v\f\r"s)
        offer(blanks, "a"s + blank, "The provided value contains white spaces");
    offer({Builder::dataValidatorStringBoolean, {}}, " true"s, "The provided value is not valid");
    Step const length = numbers(Builder::dataValidatorStringLength, "1", "3");
    offer(length, "abc"s, "");
    offer(length, "a"s, "");
    offer(length, ""s, "The provided value must have length from 1 to 3 characters!");
    offer(length, "\xC3\xA4\xC3\xA4"s, "The provided value must have length from 1 to 3 characters!");
    offer(texts("true,beep", ","), ""s, "The provided value is empty!");
    offer(texts("true,beep", ","), "True"s, "The provided value 'True' is not supported! Allowed: true;beep;");
    offer(texts("a;;b;", ";,"), "b"s, "");
    offer(texts("a;;b;", ";,"), "c"s, "The provided value 'c' is not supported! Allowed: a;;b;");
}

TEST_F(ItemValues, AValidatorOfTheWrongTypeRefusesAndSaysSoOnStandardOutput)
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

TEST_F(ItemValues, AChainDependsOnItsFirstStepButNotOnItsSecondWhichRunsFirst)
{
    Step const bad = numbers(Builder::dataValidatorIntRange, "1", "");
    Step const skipped = numbers(Builder::dataValidatorIntRangeNot, "6", "7");
    testing::internal::CaptureStdout();
    EXPECT_FALSE(chain(range, bad)->validate(9, reason)) << "the first step survives a second one that does not fit";
    for (Step const& none : {bad, Step{}, skipped, numbers(Builder::dataValidatorStringLength, "", "7"), texts("", ","),
                             Step{Builder::dataValidatorStringsAllowed, {{eDataItemTypeInt, "1"}, {eDataItemTypeInt, ","}}}})
        EXPECT_FALSE(chain(none));
    EXPECT_FALSE(chain(bad, range));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "invalid parameters for 'dataValidatorIntRange'\n"
                                                      "invalid parameters for 'dataValidatorIntRange'\n"
                                                      "invalid parameters for 'dataValidatorIntRange'\n");
    EXPECT_TRUE(chain({}, range));
    EXPECT_TRUE(chain(range, skipped)->validate(6, reason));
    EXPECT_FALSE(chain(digits, blanks)->validate(std::string("a b"), reason));
    EXPECT_EQ(reason, "The provided value contains white spaces");
}

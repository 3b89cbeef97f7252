// The text conversions that every value passes through.
#include "ClientUtils.h"
#include "../Standard.h"

TEST(TextConversion, StoiReadsASignAndDigitsAndSaturatesAndItosGivesThemBack)
{
    std::pair<int, std::vector<char const*>> const cases[] = {
        {0, {"0", "-0", "", "abc", "-", "+", "--5", "+-5", "- 5", " 5", "x5"}},
        {12, {"12", "+12", "0012", "12abc", "12.9", "12 4"}},
        {-7, {"-7", "-7-"}},
        {INT_MAX, {"2147483647", "2147483648", "4294967297", "99999999999999999999999999"}},
        {INT_MIN, {"-2147483648", "-2147483649", "-99999999999999999999999999"}}};
    for (auto const& [value, texts] : cases) {
        for (auto const* const text : texts)
            EXPECT_EQ(ClientUtils::stoi(text), value) << "'" << text << "'";
        EXPECT_EQ(ClientUtils::itos(value), texts[0]);
    }
}

TEST(TextConversion, StobIsTrueForTrueInAnyLetterCaseOnly)
{
    for (char const* const text : {"true", "TRUE", "True", "tRuE"})
        EXPECT_TRUE(ClientUtils::stob(text)) << text;
    for (char const* const text : {"", "false", "1", "yes", "tru", "truee", " true", "true "})
        EXPECT_FALSE(ClientUtils::stob(text)) << "'" << text << "'";
    EXPECT_EQ(ClientUtils::btos(true), "true");
    EXPECT_EQ(ClientUtils::btos(false), "false");
}

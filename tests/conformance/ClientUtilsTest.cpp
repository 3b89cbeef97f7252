// The text conversions that every value passes through.
#include "ClientUtils.h"

#include <gtest/gtest.h>

#include <climits>

TEST(TextConversion, StoiReadsASignAndDigitsAndSaturates)
{
    struct {
        char const* text;
        int value;
    } const cases[] = {
        {"0", 0},
        {"12", 12},
        {"-7", -7},
        {"+3", 3},
        {"0012", 12},
        {"12abc", 12},
        {"1.9", 1},
        {"3 4", 3},
        {"", 0},
        {"abc", 0},
        {"-", 0},
        {"+", 0},
        {"--5", 0},
        {"+-5", 0},
        {"- 5", 0},
        {" 5", 0},
        {"x5", 0},
        {"-0", 0},
        {"2147483647", INT_MAX},
        {"2147483648", INT_MAX},
        {"4294967297", INT_MAX},
        {"99999999999999999999999999", INT_MAX},
        {"-2147483648", INT_MIN},
        {"-2147483649", INT_MIN},
        {"-99999999999999999999999999", INT_MIN},
    };
    for (auto const& c : cases)
        EXPECT_EQ(ClientUtils::stoi(c.text), c.value) << "'" << c.text << "'";
}

TEST(TextConversion, ItosGivesDecimalTextThatStoiReadsBack)
{
    EXPECT_EQ(ClientUtils::itos(0), "0");
    EXPECT_EQ(ClientUtils::itos(-1), "-1");
    EXPECT_EQ(ClientUtils::itos(INT_MIN), "-2147483648");
    for (int const value : {0, 7, -7, 1000000, INT_MAX, INT_MIN})
        EXPECT_EQ(ClientUtils::stoi(ClientUtils::itos(value)), value);
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

TEST(Secrets, AreThePasswordsAndPinsOfTheDatabase)
{
    for (char const* const element : {"IceServerPwd0", "IceServerPwd1", "Camera1Password", "Camera4Password",
                                      "DoorOpener1Password", "DoorOpener4Password", "DoorOpener1Pin", "DoorOpener4Pin"})
        EXPECT_TRUE(ClientUtils::isKnownPasswordDAS(element)) << element;
    for (char const* const element :
         {"", "RingerVolume", "IceServerUsername0", "Camera1Username", "DoorOpener1Fpkconfirmation"})
        EXPECT_FALSE(ClientUtils::isKnownPasswordDAS(element)) << element;
}

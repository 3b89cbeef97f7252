// What the dependent tables do to other items through the facade: cameras of door openers, rows that follow the ringer.
#include "LibraryTest.h"

namespace {

struct DoorOpeners : LibraryTest {
    DoorOpeners() { start(); }

    template <class T> void set(eDataTag first, int opener, T const& value)
    {
        EXPECT_TRUE(Cache::setData(static_cast<eDataTag>(first + 14 * (opener - 1)), value, false));
    }

    void show(int opener, int camera) { set(eDataTagDoorOpener1DirectVideo, opener, camera); }

    /// The four cameras as "opener:phone".
    static Texts cameras()
    {
        Texts result;
        for (int camera = 0; camera < 4; ++camera)
            result.push_back(presentText(static_cast<eDataTag>(eDataTagCamera1DoorOpener + 9 * camera)) + ":" +
                             presentText(static_cast<eDataTag>(eDataTagCamera1PhoneNumber + 9 * camera)));
        return result;
    }
};

TEST_F(DoorOpeners, AreLinkedWithTheCamerasTheyShowAndTheHighestWins)
{
    set<std::string>(eDataTagDoorOpener1PhoneNumber, 1, "100");
    set<std::string>(eDataTagDoorOpener1PhoneNumber, 4, "400");
    show(1, 3);
    set<std::string>(eDataTagDoorOpener1PhoneNumber, 1, "101");
    EXPECT_EQ(cameras(), (Texts{"0:", "0:", "1:101", "0:"}));
    show(4, 3);
    EXPECT_EQ(cameras(), (Texts{"0:", "0:", "4:400", "0:"}));
    show(4, 1);
    EXPECT_EQ(cameras(), (Texts{"4:400", "0:", "1:101", "0:"}));
    EXPECT_EQ(platform.databaseText("DirectVideoSettings", "Camera1Dooropener"), "4");
    EXPECT_EQ(platform.databaseText("DirectVideoSettings", "Camera3PhoneNumber"), "101");
    restart();
    EXPECT_EQ(cameras(), (Texts{"4:400", "0:", "1:101", "0:"}));
}

TEST_F(DoorOpeners, CarryTheCameraOfTheThirdOverToWhatIsRememberedOfTheFourth)
{
    show(3, 2);
    EXPECT_EQ(cameras(), (Texts{"0:", "3:", "0:", "0:"}));
    // What is remembered of the fourth differs from its item in every run, so that each of them writes the cameras again.
    EXPECT_TRUE(Cache::setData(eDataTagCamera2DoorOpener, 1, false));
    set<std::string>(eDataTagDoorOpener1Name, 1, "Gate");
    EXPECT_EQ(cameras(), (Texts{"0:", "3:", "0:", "0:"}));
}

using Ringing = LibraryTest;

TEST_F(Ringing, RowsWithoutIdentifierFollowTheGeneralRingerWhenTheTableIsNextWritten)
{
    start();
    EXPECT_TRUE(Cache::setData(eDataTagRingerMelody, 5, false));
    EXPECT_TRUE(Cache::setData(eDataTagRingerToneSequence, 3, false));
    EXPECT_TRUE(Cache::setData<std::string>(eDataTagRingerAudioFile, "a&b.wav", false));
    EXPECT_TRUE(Cache::setData<std::string>(eDataTagAlertIdentifier0, "own", false));
    auto const lastRow = [] {
        return presentText(eDataTagRingerMelody14) + " " + presentText(eDataTagRingerTone14) + " " +
               presentText(eDataTagRingerFile14);
    };
    EXPECT_EQ(lastRow(), "5 3 a&b.wav");
    EXPECT_EQ(presentText(eDataTagRingerMelody0), "2");
    restart();
    EXPECT_EQ(lastRow(), "2 2 ") << "while the library starts the general ringer cannot be asked";
    EXPECT_TRUE(Cache::setData(eDataTagAlertDuration0, 7, false));
    EXPECT_EQ(lastRow(), "5 3 a&b.wav");
}

TEST_F(Ringing, CellsRefuseAGeneralMelodyOf0ThatTheStoredTextTakes)
{
    start();
    EXPECT_EQ(presentText(eDataTagRingerMelody), "0");
    EXPECT_TRUE(Cache::setData(eDataTagAlertDuration0, 7, false));
    EXPECT_EQ(presentText(eDataTagRingerMelody14), "2");
    auto const stored = platform.databaseTable("DistinctiveRinging").value_or("");
    EXPECT_NE(stored.find("<RingerMelody>0</RingerMelody>"), std::string::npos);
}

} // namespace

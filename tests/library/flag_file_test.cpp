// The flag file and the mobility announcements.
#include "Data/DataMobility.h"
#include "Data/DataSourceFile.h"

#include "ScriptedFixture.h"

#include "PlatformPath.h"

#include <filesystem>

using namespace Data;
using Texts = std::vector<std::string>;

namespace {

constexpr eDataTag tag(int number)
{
    return static_cast<eDataTag>(number);
}

struct ReloadCounter : DataMobility {
    using DataMobility::m_mobilityType;
    void readUserDataFromSourceDB() override { ++reloads; }
    int reloads = 0;
};

class FlagFile : public ScriptedTest {};

} // namespace

TEST_F(FlagFile, AnnouncementsSetTheMobilityTypeAndReloadWhenTheUsersDataHasArrived)
{
    struct Case {
        std::string text;
        int type, reloads;
    };
    ReloadCounter mobility;
    platform.logLevel(5);
    for (auto const& [text, type, reloads] : std::initializer_list<Case>{
             {"all", 3, 1}, {"unmanaged", 4, 0}, {"managed", 5, 1}, {"All", 5, 0}, {"", 2, 0}, {"managed ", 2, 0}}) {
        platform.clearLogs();
        mobility.reloads = 0;
        mobility.mobilityChanged(text);
        EXPECT_EQ(mobility.m_mobilityType, type) << text;
        EXPECT_EQ(mobility.reloads, reloads) << text;
        EXPECT_EQ(platform.logs(5), Texts{"DataMobility::mobilityChanged -> mobility type: " + text +
                                          ", reload user data: " + std::to_string(reloads) + " \n"});
        bool const known = text != "All" && text != "managed ";
        EXPECT_EQ(platform.logs(2), known ? Texts{}
                                          : Texts{"DataMobility::mobilityChanged -> unknown value >" + text +
                                                  "< for mobility data update tag\n"});
    }
}

TEST_F(FlagFile, TakesTheFirstTwoWordsOfEachLine)
{
    struct Case {
        char const* text;
        DataTagValue_t values;
        Texts unknown;
    };
    Case const cases[] = {
        {"", {}, {}},
        {"opus_test\n", {{tag(797), "true"}}, {}},
        {"opus_test false", {{tag(797), "false"}}, {}},
        {" \taes256_test\t1  2 3\r\nforce_etsi\r\n", {{tag(798), "1"}, {tag(805), "true"}}, {}},
        {"icelite_test\nicelite_test no\n", {{tag(799), "no"}}, {}},
        {"OPUS_TEST\n\nrtcpmux_disabled\n", {{tag(800), "true"}}, {"OPUS_TEST", ""}},
        {"force_nte8_enabled\nforce_nte8_disabled\nforce_nte48_enabled\nforce_nte48_disabled",
         {{tag(801), "true"}, {tag(802), "true"}, {tag(803), "true"}, {tag(804), "true"}},
         {}},
    };
    for (auto const& [text, values, unknown] : cases) {
        platform.flagFile(text);
        platform.clearLogs();
        DataTagValue_t read;
        DataSourceFile().readConfigFile(read);
        EXPECT_EQ(read, values) << text;
        Texts expected;
        for (auto const& word : unknown)
            expected.push_back("DataSourceFile::readConfigFile -> unknown flag " + word + " \n");
        EXPECT_EQ(platform.logs(2), expected) << text;
    }
}

TEST_F(FlagFile, IsChangedUntilReadAfterEachWriteAndOnceAfterItsRemoval)
{
    DataSourceFile file;
    DataTagValue_t values{{tag(797), "kept"}};
    EXPECT_FALSE(file.isConfigFileChanged()) << "never there";
    for (char const* text : {"", "", "\n"}) {
        platform.flagFile(text);
        EXPECT_TRUE(file.isConfigFileChanged());
        EXPECT_TRUE(file.isConfigFileChanged()) << "looking is not reading";
        file.readConfigFile(values);
        EXPECT_FALSE(file.isConfigFileChanged());
    }
    platform.removeFlagFile();
    EXPECT_TRUE(file.isConfigFileChanged());
    EXPECT_FALSE(file.isConfigFileChanged());
    file.readConfigFile(values);
    EXPECT_EQ(values, (DataTagValue_t{{tag(797), "kept"}}));
}

TEST_F(FlagFile, ReadsAsEmptyWhenItIsADirectory)
{
    std::filesystem::create_directories(platformPath("/data/database/media_config"));
    DataSourceFile file;
    DataTagValue_t values;
    EXPECT_TRUE(file.isConfigFileChanged());
    file.readConfigFile(values);
    EXPECT_EQ(values, DataTagValue_t{});
    EXPECT_EQ(platform.logs(2), Texts{});
}

// The flag file: what its lines say and when it counts as changed.
#include "Data/DataSourceFile.h"

#include "../Standard.h"
#include "ScriptedFixture.h"

#include <sys/resource.h>

using namespace Data;
using Texts = std::vector<std::string>;
using FlagFile = ScriptedTest;

TEST_F(FlagFile, TakesTheFirstTwoWordsOfEachLine)
{
    struct {
        char const* text;
        DataTagValue_t values;
        Texts unknown = {};
    } const cases[] = {
        {"", {}},
        {"opus_test false", {{eDataTagOpusTest, "false"}}},
        {" \taes256_test\t1  2 3\r\nforce_etsi\r\n", {{eDataTagAes256Test, "1"}, {eDataTagForceEtsi, "true"}}},
        {"icelite_test\nicelite_test no\n", {{eDataTagIceliteTest, "no"}}},
        {"OPUS_TEST\n\nrtcpmux_disabled\n", {{eDataTagRtcpmuxDisabled, "true"}}, {"OPUS_TEST", ""}},
        {"force_nte8_enabled 1\nforce_nte8_disabled 2", {{eDataTagForceNte8Enabled, "1"}, {eDataTagForceNte8Disabled, "2"}}},
        {"force_nte48_enabled 3\nforce_nte48_disabled 4",
         {{eDataTagForceNte48Enabled, "3"}, {eDataTagForceNte48Disabled, "4"}}}};
    platform.logLevel(5);
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
    DataTagValue_t values{{eDataTagOpusTest, "kept"}};
    EXPECT_FALSE(file.isConfigFileChanged()) << "never there";
    for (char const* text : {"", "", "\n"}) {
        platform.flagFile(text);
        EXPECT_TRUE(file.isConfigFileChanged());
        EXPECT_TRUE(file.isConfigFileChanged()) << "looking is not reading";
        file.readConfigFile(values);
        EXPECT_FALSE(file.isConfigFileChanged());
    }
    platform.flagFile("opus_test lost\n");
    rlimit limit{};
    ::getrlimit(RLIMIT_NOFILE, &limit);
    rlimit const none{0, limit.rlim_max};
    ::setrlimit(RLIMIT_NOFILE, &none);
    file.readConfigFile(values);
    ::setrlimit(RLIMIT_NOFILE, &limit);
    EXPECT_TRUE(file.isConfigFileChanged()) << "what cannot be opened was not read";
    platform.removeFlagFile();
    EXPECT_TRUE(file.isConfigFileChanged());
    EXPECT_FALSE(file.isConfigFileChanged());
    std::filesystem::create_directory(platform.directory() + "/data/database/media_config");
    file.readConfigFile(values);
    EXPECT_EQ(values, (DataTagValue_t{{eDataTagOpusTest, "kept"}}));
    EXPECT_FALSE(file.isConfigFileChanged()) << "a directory counts as an empty file";
}

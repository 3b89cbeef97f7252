// The flag file: what its lines say and when it counts as changed.
#include "Data/DataSourceFile.h"

#include "../Standard.h"
#include "ScriptedFixture.h"

using namespace Data;
using Texts = std::vector<std::string>;
using FlagFile = ScriptedTest;

TEST_F(FlagFile, TakesTheFirstTwoWordsOfEachLineAndTellsOfUnknownFlags)
{
    platform.logLevel(5);
    platform.flagFile(" \taes256_test\t1  2 3\r\nOPUS_TEST\n\nicelite_test\nicelite_test no");
    DataTagValue_t read;
    DataSourceFile().readConfigFile(read);
    EXPECT_EQ(read, (DataTagValue_t{{eDataTagAes256Test, "1"}, {eDataTagIceliteTest, "no"}}));
    EXPECT_EQ(platform.logs(2), (Texts{"DataSourceFile::readConfigFile -> unknown flag OPUS_TEST \n",
                                       "DataSourceFile::readConfigFile -> unknown flag  \n"}));
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

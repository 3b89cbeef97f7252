// The flag file: what its lines say and when it counts as changed.
#include "Data/DataSourceFile.h"

#include "ScriptedFixture.h"

#include <filesystem>

using namespace Data;
using Texts = std::vector<std::string>;

namespace {

constexpr eDataTag tag(int number)
{
    return static_cast<eDataTag>(number);
}

class FlagFile : public ScriptedTest {};

} // namespace

TEST_F(FlagFile, TakesTheFirstTwoWordsOfEachLine)
{
    struct Case {
        char const* text;
        DataTagValue_t values;
        Texts unknown;
    };
    Case const cases[] = {{"", {}, {}},
                          {"opus_test false", {{tag(797), "false"}}, {}},
                          {" \taes256_test\t1  2 3\r\nforce_etsi\r\n", {{tag(798), "1"}, {tag(805), "true"}}, {}},
                          {"icelite_test\nicelite_test no\n", {{tag(799), "no"}}, {}},
                          {"OPUS_TEST\n\nrtcpmux_disabled\n", {{tag(800), "true"}}, {"OPUS_TEST", ""}},
                          {"force_nte8_enabled\nforce_nte8_disabled\nforce_nte48_enabled\nforce_nte48_disabled",
                           {{tag(801), "true"}, {tag(802), "true"}, {tag(803), "true"}, {tag(804), "true"}},
                           {}}};
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
    std::filesystem::create_directory(platform.directory() + "/data/database/media_config");
    file.readConfigFile(values);
    EXPECT_EQ(values, (DataTagValue_t{{tag(797), "kept"}}));
    EXPECT_FALSE(file.isConfigFileChanged()) << "a directory counts as an empty file";
}

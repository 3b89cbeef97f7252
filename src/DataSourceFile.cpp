// Reads the flag file: one flag a line, a word and perhaps its value.
#include "Data/DataSourceFile.h"

#include "Log.h"
#include "Tables/SettingOptions.h"

#include "PlatformPath.h"

#include <algorithm>
#include <fstream>
#include <sstream>

#include <sys/stat.h>

/// Weak here, and not in its header, where it would make every definition weak: a platform may do without it.
// NOLINTNEXTLINE(readability-redundant-declaration): declares it weak
[[gnu::weak]] std::string platformPath(std::string const& path);

namespace Data {

namespace {

constexpr char const* unit = "./src/DataSourceFile";

std::string configFile()
{
    std::string path = "/data/database/media_config";
    return platformPath ? platformPath(path) : path;
}

} // namespace

DataSourceFile::DataSourceFile() = default;

DataSourceFile::~DataSourceFile() = default;

bool DataSourceFile::isConfigFileChanged()
{
    FileTime const recorded = m_recorded;
    if (FileTime present; readFileTime(present))
        return present != recorded;
    m_recorded = {};
    return recorded != m_recorded;
}

void DataSourceFile::readConfigFile(DataTagValue_t& values)
{
    // In the file's place a pipe would wait for its writer, and a device might never end: anything else counts as empty.
    struct stat status {};
    if (stat(configFile().c_str(), &status) != 0)
        return;
    if (!S_ISREG(status.st_mode)) {
        readFileTime(m_recorded);
        return;
    }
    std::ifstream file(configFile());
    if (!file.is_open())
        return;

    for (std::string line; std::getline(file, line);) {
        std::istringstream words(line);
        std::string flag;
        std::string value;
        words >> flag >> value;
        eDataTag const tag = findTagFor(flag);
        if (tag == eDataTagNone) {
            LOG_ERROR(unit, "DataSourceFile::readConfigFile -> unknown flag %s \n", flag.c_str());
            continue;
        }
        if (value.empty())
            value = "true";
        LOG_AT(unit, 5, "DataSourceFile::readConfigFile -> flag %s tag %i param2 %s \n", flag.c_str(), static_cast<int>(tag),
               value.c_str());
        values[tag] = value;
    }
    file.close();
    readFileTime(m_recorded);
}

eDataTag DataSourceFile::findTagFor(std::string const& flag)
{
    auto const words = Tables::flagWords();
    auto const found = std::ranges::find(words, flag, &Tables::FlagWord::word);
    return found == words.end() ? eDataTagNone : found->tag;
}

bool DataSourceFile::readFileTime(FileTime& time)
{
    struct stat status {};
    if (stat(configFile().c_str(), &status) != 0)
        return false;
    time = {static_cast<std::int32_t>(status.st_mtim.tv_sec), static_cast<std::int32_t>(status.st_mtim.tv_nsec)};
    return true;
}

void DataSourceFile::buildFlag2TagMap() {}

} // namespace Data

// The flag file: a small text file whose words switch test and field options.
#pragma once

#include "Data/DataTypes.h"
#include "Data/Export.h"

#include <cstdint>
#include <string>

namespace Data {

/// Reads "/data/database/media_config" and never writes it. Takes no lock: the cache calls it with its own lock held.
class MEDIADATA_EXPORT DataSourceFile {
public:
    DataSourceFile();
    ~DataSourceFile(); // NOLINT(performance-trivially-destructible): is exported
    DataSourceFile(DataSourceFile const&) = delete;
    DataSourceFile& operator=(DataSourceFile const&) = delete;

    /// True when the modification time is another than that of the last read; once true after the file has gone.
    bool isConfigFileChanged();
    /// Sets the tag of each flag line, the later line winning; a file that cannot be opened changes nothing. Values are not
    /// checked here.
    void readConfigFile(DataTagValue_t& values);
    /// The flag's tag, 0 for an unknown word.
    eDataTag findTagFor(std::string const& flag);
    /// Does nothing: the flags' words are the catalogue's.
    void buildFlag2TagMap();

private:
    /// The width is the telephone's; both 0: no file.
    struct FileTime {
        std::int32_t seconds = 0;
        std::int32_t nanoseconds = 0;
        bool operator==(FileTime const&) const = default;
    };

    static bool readFileTime(FileTime& time);

    FileTime m_recorded;
};

} // namespace Data

// A damaged database file. The input is the file itself, or has lines "OFFSET BYTES-IN-HEX" that change a sound one, with "w"
// before the offset its log, and "cut LENGTH" or "wcut LENGTH". Whatever it is: it opens, or it is set aside and what is
// readable is brought over, or the reason is said; then it stays readable and takes new values.
#include "../tests/Statements.h"
#include "Fuzz.h"

#include "Files.h"
#include "HostLog.h"
#include "store/Database.h"

namespace {

namespace fs = std::filesystem;

constexpr std::size_t rows = 60;
constexpr std::size_t rowsOfAPage = 45; // of 4096 bytes

struct Place {
    Place()
    {
        for (int const without : {SQLITE_CONFIG_SINGLETHREAD, SQLITE_CONFIG_MEMSTATUS}) // mutexes and counts take their time
            EXPECT_EQ(sqlite3_config(without, 0), SQLITE_OK);
        EXPECT_EQ(sqlite3_config(SQLITE_CONFIG_LOOKASIDE, 0, 0), SQLITE_OK);
        EXPECT_EQ(sqlite3_vfs_register(sqlite3_vfs_find("unix-none"), 1), SQLITE_OK); // nobody else has the file
        Statements::watch();
        Host::setLogSink([](Host::LogLine const&) {});
        std::string error;
        EXPECT_TRUE(directory.open(path, error)) << error;
        std::vector<std::string> notices;
        for (int round = 0; round < 2; ++round) { // the second round's values lie in the log, written in three transactions
            auto const database = Host::openDatabase(directory, notices, error);
            std::vector<Host::StoredItem> items;
            for (int i = 0; i < static_cast<int>(rows); ++i)
                items.push_back(
                    {"Schema" + std::to_string(i % 7), "Element" + std::to_string(i),
                     std::string(static_cast<std::size_t>(10 + 30 * round + i * i % 80), static_cast<char>('a' + i % 26))});
            for (std::span const all = items; auto const& part : {all.first(15), all.subspan(15, 15), all.last(30)})
                EXPECT_TRUE(database->write(part, {}));
            sound = contentOf(file());
            log = contentOf(file() + "-wal");
        }
    }

    std::string file() const { return path + "/mediadata.db"; }

    void clear() const
    {
        for (auto const& entry : fs::directory_iterator(path))
            if (entry.path().filename() != "mediadata.lock")
                fs::remove(entry.path());
    }

    bool const prepared = Fuzz::prepare(); // before there is a directory
    TemporaryDirectory const place;
    std::string const path = place.path();
    Host::DataDirectory directory;
    std::string sound;
    std::string log;
};

std::vector<std::string> textsOf(Host::Database& database)
{
    std::vector<std::string> texts;
    for (auto const& each : database.list(""))
        texts.push_back(each.schema + '/' + each.element + '=' + each.value);
    return texts;
}

/// Snapshot `file` or `log` as a line says.
void damage(std::string const& line, std::string& file, std::string& log)
{
    bool const inLog = line.starts_with('w');
    std::string& target = inLog ? log : file;
    std::istringstream words(line.substr(inLog ? 1 : 0));
    std::string word;
    std::string bytes;
    words >> word >> bytes;
    if (word == "cut") {
        target.resize(std::min<std::size_t>(target.size(), std::strtoul(bytes.c_str(), nullptr, 10)));
        return;
    }
    std::size_t offset = std::strtoul(word.c_str(), nullptr, 10);
    for (std::size_t i = 0; i + 1 < bytes.size() && !target.empty(); i += 2)
        target[offset++ % target.size()] = static_cast<char>(std::strtoul(bytes.substr(i, 2).c_str(), nullptr, 16));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    static Place const place;
    std::string file = place.sound;
    std::string log = place.log;
    std::string const input(reinterpret_cast<char const*>(data), size);
    if (input.starts_with("SQLite")) {
        file = input;
        log.clear();
    } else {
        for (std::string const& line : Fuzz::linesOf(data, size))
            damage(line, file, log);
    }
    // The bytes changed, beside a log that may be missing; of something else entirely they are many.
    std::size_t changed = file.size() == place.sound.size() && (log.empty() || log.size() == place.log.size()) ? 0 : 2;
    for (auto const& [now, sound] : {std::pair(&file, &place.sound), std::pair(&log, &place.log)})
        for (std::size_t i = 0; changed < 2 && i < now->size(); ++i)
            changed += (*now)[i] == (*sound)[i] ? 0 : i / 8 == 4096 / 8 ? 2 : 1; // how many rows the root has says it alone
    place.clear();
    std::ofstream(place.file(), std::ios::binary) << file;
    if (!log.empty())
        std::ofstream(place.file() + "-wal", std::ios::binary) << log;

    std::vector<std::string> kept;
    for (unsigned opening = 0; opening < 2; ++opening) {
        std::vector<std::string> notices;
        std::string error;
        auto const database = Host::openDatabase(place.directory, notices, error);
        if (!database) {
            EXPECT_FALSE(error.empty());
            EXPECT_TRUE(contentOf(place.file()) == file) << "what is not used is left alone: " << error;
            return 0;
        }
        EXPECT_TRUE(opening > 0 ? true : database->write({"Schema", "after the damage", "new"}));
        auto texts = textsOf(*database);
        EXPECT_EQ(database->read("Schema", "after the damage"), "new");
        EXPECT_EQ(changed == 0 || opening > 0 ? notices.size() : 0, 0U) << "a sound file, or one that was mended";
        EXPECT_EQ(texts, opening > 0 ? kept : texts) << "what was mended stays mended";
        EXPECT_EQ(texts.size(), changed == 0 ? rows + 1 : texts.size()) << "a sound file";
        EXPECT_GT(texts.size() + rowsOfAPage, changed == 1 ? rows : 0) << "one byte takes more than a page";
        kept = std::move(texts);
    }
    EXPECT_EQ(Statements::foreign(), "");
    return 0;
}

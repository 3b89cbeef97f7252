// A telephone under the tests that break things below it: what is written to it through the whole library, what it said was
// stored, and whether that is there. What the n-th write stores contains "#n;", so that every value tells which write it is of.
#pragma once

#include "../Standard.h"
#include "../TemporaryDirectory.h"

#include "Data/BulkData.h"
#include "Data/DataSourceDB.h"
#include "Media/MediaDataCache.h"

#include "DasCrypt.h"
#include "HostPlatform.h"
#include "ManageableData.h"
#include "ManagementService.h"
#include "store/Database.h"

#include <sqlite3.h>

namespace Telephone {

using namespace Data;
using Media::MediaDataCache;

/// What a crash leaves is the model's matter: no file system need keep anything.
inline bool const isInMemory = ::setenv("TMPDIR", "/dev/shm", 1) == 0;

struct Kind {
    char const* name;
    bool isWhole; // all of what it stores is of one write at any moment, never a mixture
    bool (*write)(Host::Platform&, std::string const& text);
    std::vector<std::pair<std::string, std::string>> places; // schema and element
    std::size_t padding = 0;                                 // before the mark
};

/// What the n-th write stores.
inline std::string textOf(Kind const& kind, int number)
{
    std::string const digits = std::to_string(number);
    return std::string(kind.padding, digits[0]) + "#" + digits + ";";
}

inline constexpr int alerts = 15;

template <eDataTag tag> bool writeText(Host::Platform&, std::string const& text)
{
    return MediaDataCache::setData(tag, text, false);
}

/// Every `step`-th item from the first.
template <int first, int count, int step> bool writeBulk(Host::Platform&, std::string const& text)
{
    BulkData bulk;
    for (int i = 0; i < count; ++i)
        bulk.addTagValue(static_cast<eDataTag>(first + step * i), text, false);
    return MediaDataCache::setDataBulk(bulk);
}

inline bool writeRecord(Host::Platform& platform, std::string const& text)
{
    ManageableData record;
    for (std::string const item : {"function-key-def-100", "function-key-def-101"})
        record.populate(item, item, text);
    return platform.management().change(record);
}

/// Cells of two tables: the identifiers of the ringing table, and names of door openers, which are single values.
inline bool writeTables(Host::Platform& platform, std::string const& text)
{
    ManageableData record;
    for (int i = 0; i < alerts; ++i)
        record.populate("alert-identifier-" + std::to_string(i), "alert-identifier-" + std::to_string(i), text);
    for (std::string const item : {"door-opener-name-1", "door-opener-name-3"})
        record.populate(item, item, text);
    return platform.management().setOwned(record);
}

inline constexpr std::size_t imported = 100;

inline std::vector<std::pair<std::string, std::string>> importedPlaces()
{
    std::vector<std::pair<std::string, std::string>> places;
    for (std::size_t i = 0; i < imported; ++i) {
        auto const& row = DataSourceDB::dataDbDescriptionTable[eDataTagDirectVideo100 + 1 + i];
        places.emplace_back(*row.schema, *row.element);
    }
    return places;
}

inline std::array<Kind, 7> const kinds{
    {{"value", false, writeText<eDataTagCamera1Url>, {{"DirectVideoSettings", "Camera1Url"}}},
     {"secret", false, writeText<eDataTagIceServerPwd0>, {{"ICESettings", "IceServerPwd0"}}},
     {"value of pages", false, writeText<eDataTagDirectVideo100>, {{"DirectVideoSettings", "direct-video-100"}}, 9000},
     {"management set",
      true,
      writeTables,
      {{"DistinctiveRinging", ""}, {"OcmsSettings", "DoorOpener1Name"}, {"OcmsSettings", "DoorOpener3Name"}}},
     {"bulk",
      true,
      writeBulk<eDataTagCamera2Url, 3, eDataTagCamera3Url - eDataTagCamera2Url>,
      {{"DirectVideoSettings", "Camera2Url"}, {"DirectVideoSettings", "Camera3Url"}, {"DirectVideoSettings", "Camera4Url"}}},
     {"import", true, writeBulk<eDataTagDirectVideo100 + 1, imported, 1>, importedPlaces()},
     {"management record",
      true,
      writeRecord,
      {{"@management/function-key-def-100", "function-key-def-100"},
       {"@management/function-key-def-101", "function-key-def-101"}}}}};

/// For each kind the last write that was begun, and for each of its places the last that the library said was stored.
struct LedgerLine {
    int begun = 0;
    bool mayBeLater = false; // also of a write that was refused
    bool isMixed = false;    // of the last write some values were refused by themselves
    std::array<int, imported> acknowledged{};
};
using Ledger = std::array<LedgerLine, std::tuple_size_v<decltype(kinds)>>;

struct Findings {
    int lost = 0;    // values of another write than the last acknowledged or one under way, or in part
    int torn = 0;    // tables and operations with parts of several writes
    int untrue = 0;  // histories that do not tell how the values came about
    int damaged = 0; // directories that could not be opened, or not without mending
    std::string examples;

    std::string text() const
    {
        return std::to_string(lost) + " acknowledged values lost, " + std::to_string(torn) + " tables or records torn, " +
               std::to_string(untrue) + " histories untrue, " + std::to_string(damaged) + " databases damaged";
    }
};
inline constexpr char const* nothingFound =
    "0 acknowledged values lost, 0 tables or records torn, 0 histories untrue, 0 databases damaged";

inline std::vector<int> marksIn(std::string const& text)
{
    std::vector<int> marks;
    for (auto at = text.find('#'); at != std::string::npos; at = text.find('#', at + 1))
        marks.push_back(std::atoi(text.c_str() + at + 1));
    return marks.empty() ? std::vector{0} : marks;
}

/// The write whose value the library holds.
inline int heldMark(std::pair<std::string, std::string> const& place)
{
    for (int tag = 1; tag <= eDataTagEnd; ++tag) {
        auto const* const row = DataSourceDB::findDescription(static_cast<eDataTag>(tag));
        std::string text;
        if (row && row->schema && row->element && *row->schema == place.first && *row->element == place.second &&
            MediaDataCache::getData(static_cast<eDataTag>(tag), text))
            return marksIn(text)[0];
    }
    return 0;
}

/// Many values beside those of each kind. A database that is made of the same values has them elsewhere.
inline std::vector<Host::StoredItem> manyItems()
{
    std::vector<Host::StoredItem> items;
    for (int i = 1300; i > 1000; --i)
        items.push_back({"Many", std::to_string(i), std::string(200, 'v')});
    return items;
}

/// What is wrong with the history; empty when each value was changed from what the entry before it says to what is stored, and no
/// number is missing.
inline std::string untruthOf(Host::Platform& platform)
{
    std::string error;
    auto const entries = platform.database().history().value_or(std::vector<Host::HistoryEntry>());
    std::string const older = platform.database().historyFile().read(error);
    std::int64_t number = entries.empty() ? 0 : entries.front().number - 1;
    if (number > 0 && older.find("{\"number\":" + std::to_string(number) + ",") == std::string::npos)
        return "entry " + std::to_string(number) + " is nowhere";
    std::map<std::pair<std::string, std::string>, std::string> latest;
    for (Host::HistoryEntry const& entry : entries) {
        if (entry.number != ++number)
            return "entry " + std::to_string(number) + " is missing";
        for (Host::HistoryChange const& each : entry.changes) {
            auto const [place, isFirst] = latest.try_emplace({each.schema, each.element}, each.before);
            if (!isFirst && place->second != each.before)
                return each.schema + "/" + each.element + " changed before entry " + std::to_string(number);
            place->second = each.after;
        }
    }
    for (Host::StoredItem const& each : platform.database().list("")) {
        auto const place = latest.find({each.schema, each.element});
        if (place != latest.end() ? place->second != each.value : older.empty())
            return each.schema + "/" + each.element + " has another value";
    }
    return error;
}

/// Opens the data directory as a start does and compares its values with the ledger, which afterwards tells what was found.
inline void check(std::string const& directory, Ledger& ledger, Findings& findings, bool mayBeMended = false)
{
    auto const find = [&](int& count, std::string const& what) {
        if (++count == 1)
            findings.examples += what + "; ";
    };
    std::string error;
    auto const platform = Host::Platform::open({directory, std::nullopt}, error);
    if (platform == nullptr || (!mayBeMended && !platform->notices().empty()))
        find(findings.damaged, platform != nullptr ? platform->notices().front() : error);
    if (platform != nullptr && mayBeMended && platform->database().list("Many").size() != manyItems().size())
        find(findings.lost, "some of many");
    if (platform != nullptr)
        if (auto const untruth = untruthOf(*platform); !untruth.empty())
            find(findings.untrue, untruth);
    for (std::size_t i = 0; platform != nullptr && i < kinds.size(); ++i) {
        std::set<int> writes;
        for (std::size_t place = 0; place < kinds[i].places.size(); ++place) {
            auto const& [schema, element] = kinds[i].places[place];
            std::string text = platform->database().read(schema, element).value_or("");
            if (text.starts_with("x1:"))
                DasCrypt::fromEncryptedText(text, text);
            std::vector<int> const marks = marksIn(text);
            writes.insert(marks.begin(), marks.end());
            int& acknowledged = ledger[i].acknowledged[place];
            bool const isWhole = element.empty() || marks[0] == 0 || text == textOf(kinds[i], marks[0]);
            bool const isRight =
                marks[0] == acknowledged || marks[0] == ledger[i].begun || (ledger[i].mayBeLater && marks[0] > acknowledged);
            if (!isRight || !isWhole)
                find(findings.lost, std::string(kinds[i].name) + " of write " + std::to_string(acknowledged) + " is of " +
                                        std::to_string(marks[0]) + (isWhole ? "" : ", in part"));
            if (element.empty() && marks[0] != 0 && marks.size() != alerts)
                find(findings.torn, "a table lacks rows");
            acknowledged = marks[0];
        }
        ledger[i].begun = -1;
        if (kinds[i].isWhole && !ledger[i].isMixed && writes.size() != 1)
            find(findings.torn, kinds[i].name);
    }
}

/// The process that writes. Relaxed, it does not wait for the disk: what the checks must notice.
class Writer {
public:
    Writer(std::string const& directory, bool relaxed)
    {
        static sqlite3* connection = nullptr; // the last one opened
        sqlite3_auto_extension(reinterpret_cast<void (*)()>(
            +[](sqlite3* opened, char**, void const*) { return connection = opened, SQLITE_OK; }));
        m_platform = Host::Platform::open({directory, std::nullopt}, m_error);
        if (m_platform == nullptr)
            return;
        if (relaxed) {
            sqlite3_set_authorizer(connection, nullptr, nullptr);
            sqlite3_exec(connection, "PRAGMA synchronous = NORMAL", nullptr, nullptr, nullptr);
        }
        MediaDataCache::init(*m_platform);
        m_platform->management().setAgent(MediaDataCache::managementAgent());
    }

    ~Writer()
    {
        if (m_platform != nullptr)
            m_platform->management().setAgent(nullptr);
        MediaDataCache::terminate();
    }

    bool isOpen() const { return m_platform != nullptr; }
    std::string const& error() const { return m_error; }

    bool write(std::size_t kind, int number)
    {
        if (m_platform == nullptr)
            return false;
        m_platform->takeFailedWrites();
        // A table that is not stored is answered as stored, as required; the platform knows better.
        return kinds[kind].write(*m_platform, textOf(kinds[kind], number)) && m_platform->takeFailedWrites().empty();
    }

private:
    std::string m_error;
    std::unique_ptr<Host::Platform> m_platform;
};

/// A telephone that is in use.
inline void leaveUsed(std::string const& directory)
{
    {
        Writer(directory, false);
    }
    std::string error;
    auto const platform = Host::Platform::open({directory, std::nullopt}, error);
    ASSERT_NE(platform, nullptr) << error;
    EXPECT_TRUE(platform->database().write(manyItems(), {}));
}

/// A telephone in use that was killed after a write of each kind, of which all are in the log alone. One bit of the log's
/// header is not what it was. What was written.
inline Ledger leaveDamagedLog(std::string const& directory)
{
    TemporaryDirectory const place;
    leaveUsed(place.path());
    Ledger ledger;
    {
        Writer writer(place.path(), false);
        for (std::size_t kind = 0; kind < kinds.size(); ++kind) {
            ledger[kind].begun = static_cast<int>(kind) + 1;
            EXPECT_TRUE(writer.write(kind, ledger[kind].begun));
            ledger[kind].acknowledged.fill(ledger[kind].begun);
        }
        std::filesystem::copy(place.path(), directory, std::filesystem::copy_options::recursive);
    }
    std::string log = contentOf(directory + "/mediadata.db-wal");
    log.at(17) = static_cast<char>(log[17] ^ 4);
    std::ofstream(directory + "/mediadata.db-wal", std::ios::binary) << log;
    return ledger;
}

/// How much to do: the number in the environment, or the usual one.
inline int amount(char const* variable, int usual)
{
    char const* const wanted = std::getenv(variable);
    return wanted != nullptr ? std::atoi(wanted) : usual;
}

} // namespace Telephone

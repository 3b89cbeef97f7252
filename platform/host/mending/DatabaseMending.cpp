// A new database always comes to its place the same way: it is built as "mediadata.db.new", renamed to
// "mediadata.db.mended", which marks it as complete; then whatever bears the database's names is set aside, and the new file
// takes the place. A ".new" found at start is unfinished and thrown away, a ".mended" found at start is carried to its
// place.
#include "mending/DatabaseMending.h"

#include "Files.h"
#include "mending/LogGaps.h"
#include "mending/Salvage.h"
#include "seam/HostLog.h"
#include "store/Database.h"
#include "store/DatabaseSeal.h"

#include <fcntl.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <system_error>

#define UNIT "DatabaseMending"

namespace Host {

namespace {

using State = DataDirectory::State;

std::string const databaseName = "mediadata.db";
std::string const newName = databaseName + ".new";
std::string const mendedName = databaseName + ".mended";
std::string const copyName = databaseName + ".copy";
constexpr std::array<char const*, 4> parts{"", "-wal", "-journal",
                                           "-shm"}; // of one database: SQLite's names for its helpers

constexpr int maximumAside = 1000;

class Mending {
public:
    Mending(DataDirectory const& directory, std::vector<std::string>& notices, std::string& error)
        : m_directory(directory), m_notices(notices), m_error(error)
    {}

    std::unique_ptr<Database> open();

private:
    bool prepare();
    std::optional<bool> isThere(std::string const& name);
    bool findSilentDamage(std::string& damage);
    std::unique_ptr<Database> look(bool isSealed, std::string& damage);
    std::unique_ptr<Database> openFile(bool isSealed, std::string& damage);
    bool lookAtAll();
    std::unique_ptr<Database> makeNew();
    bool readFirstPage(std::string& page);
    bool build(std::vector<StoredItem> const& items, std::vector<JournalEntry> const& journal,
               std::vector<HistoryEntry> const& history);
    bool takePlace();
    bool setAside();
    bool mend(std::string const& why);
    bool copyDamaged();
    void removeAll(std::string const& name) const
    {
        for (char const* part : parts)
            m_directory.remove(name + part);
    }
    void notice(std::string const& text)
    {
        HOST_LOG_ERROR(UNIT, text);
        m_notices.push_back(text);
    }

    DataDirectory const& m_directory;
    std::vector<std::string>& m_notices;
    std::string& m_error;
};

/// Refuses links and the like in every place that SQLite is going to open.
bool Mending::lookAtAll()
{
    for (std::string const& name : {databaseName, newName, mendedName, copyName})
        for (char const* part : parts)
            if (!isThere(name + part))
                return false;
    return true;
}

/// Nothing, with the error, when that cannot be told.
std::optional<bool> Mending::isThere(std::string const& name)
{
    State const state = m_directory.look(name, m_error);
    return state == State::refused ? std::nullopt : std::optional(state == State::present);
}

std::unique_ptr<Database> Mending::makeNew()
{
    removeAll(newName);
    DatabaseFault fault;
    std::unique_ptr<Database> database;
    if (m_directory.openFile(newName, O_RDWR | O_CREAT | O_EXCL, m_error)) {
        database = Database::open(m_directory.pathOf(newName), false, fault);
        if (database == nullptr)
            m_error = fault.text;
    }
    return database;
}

/// The first page of an empty database, which tells where the tables lie.
bool Mending::readFirstPage(std::string& page)
{
    if (makeNew() == nullptr)
        return false;
    FileDescriptor const file = m_directory.openFile(newName, O_RDONLY, m_error);
    page.resize(4096);
    bool const isRead = file && readUpTo(file.get(), page.data(), page.size()) == page.size();
    if (file && !isRead)
        m_error = m_directory.pathOf(newName) + ": cannot be read: " + std::generic_category().message(errno);
    removeAll(newName);
    return isRead;
}

/// Makes a complete database beside the present one. Its mark lasts: takePlace() can be carried on by any later start.
bool Mending::build(std::vector<StoredItem> const& items, std::vector<JournalEntry> const& journal,
                    std::vector<HistoryEntry> const& history)
{
    std::unique_ptr<Database> database = makeNew();
    if (database == nullptr)
        return false;
    if (!database->restore(items, journal, history)) {
        m_error = "database: cannot write " + m_directory.pathOf(newName);
        database.reset();
        removeAll(newName);
        return false;
    }
    database.reset();
    // A log that is still there means that the close could not carry it over: then the file alone is not complete.
    if (isThere(newName + "-wal") != false) {
        m_error = "database: " + m_directory.pathOf(newName) + " cannot be completed";
        return false;
    }
    return m_directory.rename(newName, mendedName, m_error) && m_directory.sync(m_error);
}

/// Durable, before a log has a name beside it that a later start would set aside.
bool Mending::takePlace()
{
    return setAside() && m_directory.rename(mendedName, databaseName, m_error) && m_directory.sync(m_error);
}

/// Gives everything that bears the database's names new ones. An old log beside a new file would be taken for its own.
bool Mending::setAside()
{
    auto const isFree = [&](std::string const& name) {
        return std::ranges::all_of(parts, [&](char const* part) { return isThere(name + part) == false; });
    };
    int number = 1;
    auto const aside = [&] { return databaseName + ".damaged-" + std::to_string(number); };
    while (!isFree(aside())) {
        // That many are not there: the system does not say what is.
        if (++number > maximumAside)
            return false;
    }
    std::string moved;
    for (char const* part : parts) {
        auto const isHere = isThere(databaseName + part);
        if (isHere == false)
            continue;
        if (!isHere || !m_directory.rename(databaseName + part, aside() + part, m_error))
            return false;
        moved += (moved.empty() ? "" : ", ") + aside() + part;
    }
    if (!moved.empty())
        notice("the previous database was set aside as " + moved);
    return m_directory.sync(m_error);
}

bool Mending::copyDamaged()
{
    removeAll(copyName);
    for (std::string const part : {"", "-wal"}) {
        auto const isHere = isThere(databaseName + part);
        if (!isHere || (*isHere && !m_directory.copyFile(databaseName + part, copyName + part, m_error)))
            return false;
    }
    return true;
}

bool Mending::mend(std::string const& why)
{
    notice("the database is damaged and is being mended. " + why);
    // What is salvaged is read from a copy, so that the damaged file stays as it was found.
    if (!copyDamaged())
        return false;
    std::string firstPage;
    if (!readFirstPage(firstPage))
        return false;
    Salvage salvage(m_directory.pathOf(copyName), firstPage);
    bool const isRead = salvage.readAll(m_error);
    removeAll(copyName);
    if (!isRead || !build(salvage.items(), salvage.journal(), salvage.history()))
        return false;
    // Told before the new database takes its place, which a later start may have to do.
    for (std::string const& each : salvage.report())
        notice(each);
    return takePlace();
}

/// Carries on what an earlier start did not finish, and makes a database where there is none.
bool Mending::prepare()
{
    removeAll(newName);
    removeAll(copyName);
    auto const isMended = isThere(mendedName);
    if (!isMended || (*isMended && !takePlace()))
        return false;
    auto const isHere = isThere(databaseName);
    return isHere && (*isHere || (build({}, {}, {}) && takePlace()));
}

/// Damage that SQLite would pass over in silence; empty when there is none. False when that cannot be told.
bool Mending::findSilentDamage(std::string& damage)
{
    constexpr std::uintmax_t headerSize = 100; // A shorter file SQLite may take for a new one. Ours never are.
    std::string const path = m_directory.pathOf(databaseName);
    std::error_code fault;
    auto const size = std::filesystem::file_size(path, fault);
    if (fault) {
        m_error = path + ": " + fault.message();
        return false;
    }
    auto const isDamaged = isLogDamaged(path + "-wal", m_error);
    if (size < headerSize)
        damage = "database: " + path + " is cut off";
    else if (isDamaged == true)
        damage = "database: " + path + "-wal is damaged amid the changes it holds";
    return isDamaged.has_value();
}

/// Null with the error, and with `damage` when mending may help.
std::unique_ptr<Database> Mending::openFile(bool isSealed, std::string& damage)
{
    if (!m_directory.openFile(databaseName, O_RDWR, m_error))
        return nullptr;
    DatabaseFault fault;
    std::unique_ptr<Database> database = Database::open(m_directory.pathOf(databaseName), isSealed, fault);
    if (database == nullptr)
        m_error = fault.text;
    if (fault.damaged)
        damage = fault.text;
    return database;
}

/// Opens the file unless it is damaged or the machine does not let us. What looks damaged is looked at twice, and then checked
/// whatever its seal says.
std::unique_ptr<Database> Mending::look(bool isSealed, std::string& damage)
{
    std::unique_ptr<Database> database;
    for (int looks = 0; looks < 2 && database == nullptr; ++looks) {
        damage.clear();
        if (findSilentDamage(damage) && damage.empty())
            database = openFile(isSealed && looks == 0, damage);
        if (database == nullptr && damage.empty())
            return nullptr;
    }
    return database;
}

std::unique_ptr<Database> Mending::open()
{
    auto seal = std::make_unique<DatabaseSeal>(m_directory, databaseName);
    if (!lookAtAll() || !seal->takeOff(m_error))
        return nullptr;
    if (seal->verdict() == DatabaseSeal::Verdict::orphaned)
        notice("the database is gone: " + m_directory.pathOf(databaseName) +
               " was closed here and is not there any more. A new one is made, with default values");
    if (!prepare())
        return nullptr;
    std::string damage;
    std::unique_ptr<Database> database = look(seal->verdict() == DatabaseSeal::Verdict::fits, damage);
    if (database != nullptr && seal->verdict() == DatabaseSeal::Verdict::differs)
        notice("the database is sound, but not the one that was sealed when it was closed: it or its seal was altered or "
               "replaced. It is used as it is, and may hold values that nobody stored");
    if (database == nullptr && !damage.empty() && mend(damage))
        database = openFile(false, damage);
    // The log and perhaps a new key have names by now, without which what is going to be stored would be lost, and the seal has
    // none any more.
    if (database == nullptr || !m_directory.sync(m_error))
        return nullptr;
    database->sealAtClose(std::move(seal));
    return database;
}

} // namespace

std::unique_ptr<Database> openDatabase(DataDirectory const& directory, std::vector<std::string>& notices, std::string& error)
{
    return Mending(directory, notices, error).open();
}

} // namespace Host

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

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <filesystem>

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

class Mending {
public:
    Mending(DataDirectory const& directory, std::vector<std::string>& notices, std::string& error)
        : m_directory(directory), m_notices(notices), m_error(error)
    {}

    std::unique_ptr<Database> open();

private:
    bool prepare();
    std::string silentDamage() const;
    std::unique_ptr<Database> openFile(std::string& damage);
    bool lookAtAll();
    bool isCutOff() const;
    std::unique_ptr<Database> makeNew();
    bool readFirstPage(std::string& page);
    bool build(std::vector<StoredItem> const& items, std::vector<JournalEntry> const& journal);
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
            if (m_directory.look(name + part, m_error) == State::refused)
                return false;
    return true;
}

/// Shorter than the header of a database: SQLite may take such a file for a new one.
bool Mending::isCutOff() const
{
    constexpr std::uintmax_t headerSize = 100;
    std::error_code ignored;
    return std::filesystem::file_size(m_directory.pathOf(databaseName), ignored) < headerSize;
}

std::unique_ptr<Database> Mending::makeNew()
{
    removeAll(newName);
    DatabaseFault fault;
    std::unique_ptr<Database> database;
    if (m_directory.openFile(newName, O_RDWR | O_CREAT | O_EXCL, m_error)) {
        database = Database::open(m_directory.pathOf(newName), fault);
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
    std::array<char, 4096> content{};
    FileDescriptor const file = m_directory.openFile(newName, O_RDONLY, m_error);
    if (file && ::read(file.get(), content.data(), content.size()) == static_cast<ssize_t>(content.size()))
        page.assign(content.data(), content.size());
    removeAll(newName);
    return !page.empty();
}

bool Mending::build(std::vector<StoredItem> const& items, std::vector<JournalEntry> const& journal)
{
    std::unique_ptr<Database> database = makeNew();
    if (database == nullptr)
        return false;
    if (!database->write(items, journal)) {
        m_error = "database: cannot write " + m_directory.pathOf(newName);
        database.reset();
        removeAll(newName);
        return false;
    }
    database.reset();
    // A log that is still there means that the close could not carry it over: then the file alone is not complete.
    if (m_directory.look(newName + "-wal", m_error) != State::absent) {
        m_error = "database: " + m_directory.pathOf(newName) + " cannot be completed";
        return false;
    }
    return m_directory.rename(newName, mendedName, m_error) && m_directory.sync(m_error) && takePlace();
}

bool Mending::takePlace()
{
    return setAside() && m_directory.rename(mendedName, databaseName, m_error) && m_directory.sync(m_error);
}

/// Gives everything that bears the database's names new ones. An old log beside a new file would be taken for its own.
bool Mending::setAside()
{
    auto const isTaken = [&](std::string const& name) {
        std::string ignored;
        for (char const* part : parts)
            if (m_directory.look(name + part, ignored) != State::absent)
                return true;
        return false;
    };
    int number = 1;
    auto const aside = [&] { return databaseName + ".damaged-" + std::to_string(number); };
    while (isTaken(aside()))
        ++number;
    std::string moved;
    for (char const* part : parts) {
        if (m_directory.look(databaseName + part, m_error) == State::absent)
            continue;
        if (!m_directory.rename(databaseName + part, aside() + part, m_error))
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
        std::error_code fault;
        if (m_directory.look(databaseName + part, m_error) != State::present)
            continue;
        if (!m_directory.openFile(copyName + part, O_RDWR | O_CREAT | O_EXCL, m_error))
            return false;
        std::filesystem::copy_file(m_directory.pathOf(databaseName + part), m_directory.pathOf(copyName + part),
                                   std::filesystem::copy_options::overwrite_existing, fault);
        if (fault) {
            m_error = "database: " + m_directory.pathOf(databaseName + part) + " cannot be copied: " + fault.message();
            return false;
        }
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
    salvage.readAll();
    removeAll(copyName);
    if (!build(salvage.items(), salvage.journal()))
        return false;
    for (std::string const& each : salvage.report())
        notice(each);
    return true;
}

/// Carries on what an earlier start did not finish, and makes a database where there is none.
bool Mending::prepare()
{
    if (!lookAtAll())
        return false;
    removeAll(newName);
    removeAll(copyName);
    if (m_directory.look(mendedName, m_error) == State::present && !takePlace())
        return false;
    return m_directory.look(databaseName, m_error) != State::absent || build({}, {});
}

/// Damage that SQLite would pass over in silence; empty when there is none.
std::string Mending::silentDamage() const
{
    std::string const path = m_directory.pathOf(databaseName);
    if (isCutOff()) // A new file is never so short when it comes to its place.
        return "database: " + path + " is cut off";
    if (changesBehindGap(path + "-wal") > 1)
        return "database: " + path + "-wal is damaged amid the changes it holds";
    return "";
}

/// Null with the error, and with `damage` when mending may help.
std::unique_ptr<Database> Mending::openFile(std::string& damage)
{
    if (!m_directory.openFile(databaseName, O_RDWR, m_error))
        return nullptr;
    DatabaseFault fault;
    std::unique_ptr<Database> database = Database::open(m_directory.pathOf(databaseName), fault);
    if (database == nullptr)
        m_error = fault.text;
    if (fault.damaged)
        damage = fault.text;
    return database;
}

std::unique_ptr<Database> Mending::open()
{
    if (!prepare())
        return nullptr;
    std::string damage = silentDamage();
    std::unique_ptr<Database> database = damage.empty() ? openFile(damage) : nullptr;
    if (database == nullptr && !damage.empty() && mend(damage))
        database = openFile(damage);
    return database;
}

} // namespace

std::unique_ptr<Database> openDatabase(DataDirectory const& directory, std::vector<std::string>& notices, std::string& error)
{
    return Mending(directory, notices, error).open();
}

} // namespace Host

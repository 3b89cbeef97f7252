// "mediadata.seal" says of the closed database what its file was: size and hash. A start at which it fits can leave the
// integrity check out, and bytes that were altered meanwhile are noticed. It is there only while nobody has the database open,
// and never synced: one that is missing or torn means nothing but a check.
#pragma once

#include <string>

namespace Host {

class DataDirectory;

/// For one thread at a time, and only while SQLite does not have the file: to close it here would give up SQLite's locks.
class DatabaseSeal {
public:
    enum class Verdict { fits, differs, orphaned, none }; ///< orphaned: there is no database any more

    /// Of a database in a directory that lives longer.
    DatabaseSeal(DataDirectory const& directory, std::string databaseName)
        : m_directory(directory), m_databaseName(std::move(databaseName))
    {}

    /// Reads the seal, compares it with the file and removes it, since the file may change from now on; durable with the
    /// directory's next sync. False with `error` when it cannot be removed or is no plain file. There is no verdict beside a
    /// log or journal: the process was killed, or somebody copied the files while they were in use.
    bool takeOff(std::string& error);
    Verdict verdict() const { return m_verdict; }

    /// Seals the file that was closed. `isChanged`: since the seal was taken off. What is not a whole database gets no seal, nor does
    /// one that cannot be had.
    void putOn(bool isChanged) const;

private:
    bool isWhole() const;
    std::string describeFile() const;

    DataDirectory const& m_directory;
    std::string const m_databaseName;
    std::string m_text; // that of the seal
    Verdict m_verdict = Verdict::none;
};

} // namespace Host

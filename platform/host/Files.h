// The data directory and the private files in it: made 0700 and 0600 whatever the umask, never reached through a link, and
// used by one process at a time.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace Host {

/// Owns one file descriptor, or none (-1).
class FileDescriptor {
public:
    explicit FileDescriptor(int descriptor = -1) : m_descriptor(descriptor) {}
    FileDescriptor(FileDescriptor const&) = delete;
    FileDescriptor& operator=(FileDescriptor const&) = delete;
    FileDescriptor(FileDescriptor&& other) noexcept : m_descriptor(std::exchange(other.m_descriptor, -1)) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept
    {
        std::swap(m_descriptor, other.m_descriptor);
        return *this;
    }
    ~FileDescriptor();

    int get() const { return m_descriptor; }
    explicit operator bool() const { return m_descriptor >= 0; }

private:
    int m_descriptor;
};

/// Opens a plain file with the open(2) flags `flags`, and never a link. No descriptor with errno.
FileDescriptor openPlain(std::string const& path, int flags);

/// Writes all of it. False with errno.
bool writeAll(int descriptor, std::string_view content);

/// Reads until `size` bytes are there or the file ends: how many there were. Nothing with errno.
std::optional<std::size_t> readUpTo(int descriptor, char* target, std::size_t size);

/// A data directory that this process has for itself as long as the object lives.
class DataDirectory {
public:
    DataDirectory() = default;
    ~DataDirectory();
    DataDirectory(DataDirectory const&) = delete;
    DataDirectory& operator=(DataDirectory const&) = delete;

    /// Makes `path` and its missing parents, takes it into possession. False with `error` naming what is wrong: not a
    /// directory, a link, another user's, somebody else's files in a directory open to others, in use (by which process).
    bool open(std::string const& path, std::string& error);

    /// open() failed since another process has the directory.
    bool isInUse() const { return m_inUse; }

    /// The absolute path, free of links.
    std::string const& path() const { return m_path; }
    std::string pathOf(std::string const& name) const { return m_path + '/' + name; }

    enum class State { absent, present, refused };

    /// Looks whether the file is there. Refused with `error` when it is anything but a plain file of this user with one
    /// name.
    State look(std::string const& name, std::string& error) const;

    /// Opens a private file with the open(2) flags `flags`. No descriptor and `error` when it cannot be had or look() would
    /// refuse it; a missing file without O_CREAT is an error, too.
    FileDescriptor openFile(std::string const& name, int flags, std::string& error) const;

    /// Copies a file into one that is not there yet.
    bool copyFile(std::string const& from, std::string const& to, std::string& error) const;

    /// Replaces a file so that a power cut leaves the old or the new content. Durable after sync().
    bool replaceFile(std::string const& name, std::string const& content, std::string& error) const;

    /// Renames within the directory. Durable after sync().
    bool rename(std::string const& from, std::string const& to, std::string& error) const;
    void remove(std::string const& name) const;
    bool sync(std::string& error) const;

    /// Makes a folder below the directory, 0700, and its missing parents.
    bool makeFolder(std::string const& relativePath, std::string& error) const;

private:
    bool takeLock(std::string& error);

    std::string m_path;
    FileDescriptor m_directory;
    FileDescriptor m_lock;
    bool m_inUse = false;
};

} // namespace Host

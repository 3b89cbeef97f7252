// The data directory and its files. Every open refuses links (O_NOFOLLOW) and does not wait for the other end of a FIFO
// (O_NONBLOCK); what was opened is then looked at through its descriptor, so that nobody can replace it in between.
#include "Files.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <filesystem>
#include <string_view>
#include <system_error>

namespace fs = std::filesystem;

namespace Host {

namespace {

constexpr mode_t directoryMode = 0700;
constexpr mode_t fileMode = 0600;
constexpr mode_t othersMode = 0077;
constexpr char const* lockName = "mediadata.lock";
// A directory in which only such names stand may be closed to others without asking anybody.
constexpr std::array<std::string_view, 2> ownPrefixes{"mediadata.", "secret.key"};
constexpr std::string_view ownFolder = "data";

std::string reason(int code)
{
    return std::generic_category().message(code);
}

/// What is wrong with the thing behind `status`; empty when it is a plain file of this user.
std::string faultOf(struct stat const& status)
{
    if (!S_ISREG(status.st_mode))
        return S_ISLNK(status.st_mode) ? "is a symbolic link" : "is not a regular file";
    if (status.st_nlink > 1)
        return "has further names (hard links)";
    return status.st_uid == ::geteuid() ? "" : "belongs to another user";
}

bool isOwn(std::string_view name)
{
    return name == ownFolder || std::any_of(ownPrefixes.begin(), ownPrefixes.end(),
                                            [&](std::string_view prefix) { return name.starts_with(prefix); });
}

/// False with the fault when that cannot be told.
bool holdsOnlyOwnFiles(std::string const& path, std::error_code& fault)
{
    fs::directory_iterator entry;
    do
        entry = fs::directory_iterator(path, fault);
    while (fault == std::errc::interrupted);
    while (!fault && entry != fs::directory_iterator()) {
        if (!isOwn(entry->path().filename().string()))
            return false;
        entry.increment(fault);
    }
    return !fault;
}

/// Repeats a call that a signal interrupted.
template <class Call> auto whole(Call const& call)
{
    auto result = call();
    while (result < 0 && errno == EINTR)
        result = call();
    return result;
}

/// Makes the names in a directory durable. Some file systems have nothing to be done for it and say so.
bool syncNames(int directory, std::string const& path, std::string& error)
{
    if (whole([&] { return ::fsync(directory); }) == 0 || errno == EINVAL)
        return true;
    error = path + ": cannot be synced: " + reason(errno);
    return false;
}

/// Makes the directory's own name durable. A parent that this user may not read is not this user's affair.
bool syncParent(fs::path const& path, std::string& error)
{
    fs::path const parent = path.has_parent_path() ? path.parent_path() : fs::path(".");
    FileDescriptor const above(whole([&] { return ::open(parent.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); }));
    if (above)
        return syncNames(above.get(), parent.string(), error);
    if (errno == EACCES)
        return true;
    error = parent.string() + ": cannot be opened: " + reason(errno);
    return false;
}

/// Makes the directory and its missing parents, each durable in its own parent.
bool makeDirectories(fs::path const& path, std::string& error)
{
    std::error_code fault;
    if (path.empty() || fs::symlink_status(path, fault).type() != fs::file_type::not_found)
        return true;
    if (!makeDirectories(path.parent_path(), error))
        return false;
    if (::mkdir(path.c_str(), directoryMode) != 0 && errno != EEXIST) {
        error = "cannot make directory " + path.string() + ": " + reason(errno);
        return false;
    }
    return syncParent(path, error);
}

std::string holderOf(int lock)
{
    std::array<char, 24> text{};
    ssize_t const length = ::pread(lock, text.data(), text.size(), 0);
    long holder = 0;
    if (length > 0)
        std::from_chars(text.data(), text.data() + length, holder);
    return holder > 0 ? "process " + std::to_string(holder) : "another process";
}

} // namespace

FileDescriptor openPlain(std::string const& path, int flags)
{
    return FileDescriptor(whole([&] { return ::open(path.c_str(), flags | O_NOFOLLOW | O_CLOEXEC); }));
}

bool writeAll(int descriptor, std::string_view content)
{
    while (!content.empty()) {
        ssize_t const written = whole([&] { return ::write(descriptor, content.data(), content.size()); });
        if (written < 0)
            return false;
        content.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

std::optional<std::size_t> readUpTo(int descriptor, char* target, std::size_t size)
{
    std::size_t done = 0;
    while (done < size) {
        ssize_t const count = whole([&] { return ::read(descriptor, target + done, size - done); });
        if (count < 0)
            return std::nullopt;
        if (count == 0)
            break;
        done += static_cast<std::size_t>(count);
    }
    return done;
}

FileDescriptor::~FileDescriptor()
{
    if (m_descriptor >= 0)
        ::close(m_descriptor);
}

// A directory that was only read is afterwards what it was before, to the byte.
DataDirectory::~DataDirectory()
{
    if (m_lock) [[maybe_unused]]
        auto const emptied = ::ftruncate(m_lock.get(), 0);
}

bool DataDirectory::open(std::string const& path, std::string& error)
{
    fs::path wanted = fs::path(path).lexically_normal();
    if (!wanted.has_filename())
        wanted = wanted.parent_path();
    auto const refuse = [&](std::string const& why) {
        error = "data directory " + wanted.string() + ": " + why;
        return false;
    };
    if (wanted.empty())
        return refuse("no path given");
    if (!makeDirectories(wanted, error))
        return false;
    m_directory =
        FileDescriptor(whole([&] { return ::open(wanted.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC); }));
    if (!m_directory) {
        int const code = errno;
        std::error_code ignored;
        return refuse(fs::is_symlink(wanted, ignored) ? "is a symbolic link" : reason(code));
    }
    std::error_code fault;
    m_path = fs::canonical(wanted, fault).string();
    struct stat status {};
    if (fault || ::fstat(m_directory.get(), &status) != 0)
        return refuse(fault ? fault.message() : reason(errno));
    if (status.st_uid != ::geteuid())
        return refuse("belongs to another user");
    if ((status.st_mode & directoryMode) != directoryMode)
        return refuse("is read-only, or closed to its own user (chmod 700)");
    if ((status.st_mode & othersMode) != 0 && !holdsOnlyOwnFiles(m_path, fault))
        return refuse(
            fault ? fault.message()
                  : "is open to other users and holds files that are not the telephone's; close it (chmod 700) or take "
                    "another");
    if ((status.st_mode & 07777) != directoryMode && ::fchmod(m_directory.get(), directoryMode) != 0)
        return refuse("cannot be closed to other users: " + reason(errno));
    // Somebody else may have made it a moment ago.
    return syncParent(m_path, error) && takeLock(error);
}

bool DataDirectory::takeLock(std::string& error)
{
    FileDescriptor lock = openFile(lockName, O_RDWR | O_CREAT, error);
    if (!lock)
        return false;
    if (whole([&] { return ::flock(lock.get(), LOCK_EX | LOCK_NB); }) != 0) {
        m_inUse = errno == EWOULDBLOCK;
        error = "data directory " + m_path + ": " +
                (m_inUse ? "in use by " + holderOf(lock.get()) : "cannot be locked: " + reason(errno));
        return false;
    }
    m_lock = std::move(lock);
    // The number is for the message only: a lock without it is as good.
    if (::ftruncate(m_lock.get(), 0) == 0)
        writeAll(m_lock.get(), std::to_string(::getpid()) + "\n");
    return true;
}

DataDirectory::State DataDirectory::look(std::string const& name, std::string& error) const
{
    struct stat status {};
    if (::fstatat(m_directory.get(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
        if (errno == ENOENT || errno == ENOTDIR)
            return State::absent;
        error = pathOf(name) + ": " + reason(errno);
        return State::refused;
    }
    std::string const fault = faultOf(status);
    if (fault.empty())
        return State::present;
    error = pathOf(name) + " " + fault;
    return State::refused;
}

FileDescriptor DataDirectory::openFile(std::string const& name, int flags, std::string& error) const
{
    if (look(name, error) == State::refused)
        return FileDescriptor();
    FileDescriptor file(whole(
        [&] { return ::openat(m_directory.get(), name.c_str(), flags | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, fileMode); }));
    struct stat status {};
    if (!file || ::fstat(file.get(), &status) != 0) {
        error = pathOf(name) + ": cannot be opened: " + reason(errno);
        return FileDescriptor();
    }
    if (std::string const fault = faultOf(status); !fault.empty()) {
        error = pathOf(name) + " " + fault;
        return FileDescriptor();
    }
    if ((status.st_mode & 07777) != fileMode && ::fchmod(file.get(), fileMode) != 0) {
        error = pathOf(name) + ": cannot be closed to other users: " + reason(errno);
        return FileDescriptor();
    }
    return file;
}

bool DataDirectory::copyFile(std::string const& from, std::string const& to, std::string& error) const
{
    FileDescriptor const source = openFile(from, O_RDONLY, error);
    FileDescriptor const target = source ? openFile(to, O_WRONLY | O_CREAT | O_EXCL, error) : FileDescriptor();
    if (!target)
        return false;
    std::array<char, 65536> block{};
    std::optional<std::size_t> size;
    while ((size = readUpTo(source.get(), block.data(), block.size())) && *size > 0)
        if (!writeAll(target.get(), {block.data(), *size})) {
            error = pathOf(to) + ": cannot be written: " + reason(errno);
            return false;
        }
    if (!size)
        error = pathOf(from) + ": cannot be read: " + reason(errno);
    return size.has_value();
}

bool DataDirectory::replaceFile(std::string const& name, std::string const& content, std::string& error) const
{
    std::string const draft = name + ".new";
    FileDescriptor const file = openFile(draft, O_WRONLY | O_CREAT | O_TRUNC, error);
    if (!file)
        return false;
    if (!writeAll(file.get(), content) || whole([&] { return ::fsync(file.get()); }) != 0) {
        error = pathOf(draft) + ": cannot be written: " + reason(errno);
        remove(draft);
        return false;
    }
    return rename(draft, name, error);
}

bool DataDirectory::rename(std::string const& from, std::string const& to, std::string& error) const
{
    if (::renameat(m_directory.get(), from.c_str(), m_directory.get(), to.c_str()) == 0)
        return true;
    error = pathOf(from) + ": cannot be renamed to " + to + ": " + reason(errno);
    return false;
}

void DataDirectory::remove(std::string const& name) const
{
    ::unlinkat(m_directory.get(), name.c_str(), 0);
}

bool DataDirectory::sync(std::string& error) const
{
    return syncNames(m_directory.get(), m_path, error);
}

bool DataDirectory::makeFolder(std::string const& relativePath, std::string& error) const
{
    int above = m_directory.get();
    FileDescriptor here;
    fs::path walked;
    for (fs::path const& part : fs::path(relativePath)) {
        walked /= part;
        bool const isNew = ::mkdirat(above, part.c_str(), directoryMode) == 0;
        if (isNew && !syncNames(above, pathOf(walked.parent_path().string()), error))
            return false;
        FileDescriptor next(
            whole([&] { return ::openat(above, part.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC); }));
        if (!next || ::fchmod(next.get(), directoryMode) != 0) {
            error = "folder " + pathOf(walked.string()) + " cannot be used: " + reason(errno);
            return false;
        }
        here = std::move(next);
        above = here.get();
    }
    return true;
}

} // namespace Host

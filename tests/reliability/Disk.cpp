#include "Disk.h"

#include "../Standard.h"
#include "../TemporaryDirectory.h"

#include <cstdarg>

#include <dirent.h>

namespace Disk {

std::vector<Call> calls;
Fault fault;
std::vector<char const*> functions;

namespace {

using Path = std::optional<std::string>; // nothing when it is not watched

std::string g_watched;
std::map<ino_t, int> g_files;
std::map<int, int> g_open;                              // by descriptor
constexpr auto position = static_cast<std::size_t>(-1); // as an offset: where the file's position was

ino_t inodeOf(std::string const& path)
{
    struct stat64 status {};
    static auto const real = reinterpret_cast<decltype(&::lstat64)>(::dlsym(RTLD_NEXT, "lstat64"));
    real(path.c_str(), &status);
    return status.st_ino;
}

/// `name` is a path, or stands in an open directory.
Path pathOf(int directory, std::string const& name)
{
    if (g_watched.empty())
        return std::nullopt;
    char place[4096];
    bool const isWhole = name.starts_with('/');
    auto const length =
        isWhole ? 0 : ::readlink(("/proc/self/fd/" + std::to_string(directory)).c_str(), place, sizeof place);
    std::string const path =
        std::string(place, static_cast<std::size_t>(std::max<ssize_t>(length, 0))) + (isWhole ? "" : "/") + name;
    return (path + "/").starts_with(g_watched + "/") ? Path(path) : std::nullopt;
}

bool isWatched(int descriptor)
{
    return !g_watched.empty() && g_open.contains(descriptor);
}

int numberOf(std::string const& path)
{
    return path == g_watched ? 0 : g_files[inodeOf(path)];
}

int newNumber(std::string const& path)
{
    return g_files[inodeOf(path)] = static_cast<int>(calls.size()) + 1;
}

void note(Call call, std::string const& path)
{
    auto const slash = path.rfind('/');
    call.text = path.substr(slash + 1);
    call.directory = numberOf(path.substr(0, slash));
    calls.push_back(std::move(call));
}

enum class Verdict { go, halfWay, fail };

Verdict verdictOn(char const* function, bool isWatchedOne)
{
    if (!isWatchedOne)
        return Verdict::go;
    functions.push_back(function);
    std::size_t const now = functions.size();
    bool const isLater = fault.call != 0 && now > fault.call && std::strcmp(function, functions[fault.call - 1]) == 0;
    if (now != fault.call && !(fault.forGood && isLater))
        return Verdict::go;
    if (fault.code == killed)
        ::raise(SIGKILL);
    errno = fault.code;
    return fault.code == 0 ? Verdict::halfWay : Verdict::fail;
}

std::size_t sizeFor(Verdict verdict, std::size_t size)
{
    return verdict == Verdict::halfWay ? (size + 1) / 2 : size;
}

ssize_t wrote(ssize_t result, int descriptor, void const* data, std::size_t at)
{
    if (result > 0 && isWatched(descriptor)) {
        auto const size = static_cast<std::size_t>(result);
        auto const offset = at == position ? static_cast<std::size_t>(::lseek64(descriptor, 0, SEEK_CUR)) - size : at;
        calls.push_back({Call::write, offset, {static_cast<char const*>(data), size}, "", g_open[descriptor]});
    }
    return result;
}

int changed(int result, int descriptor, Call call)
{
    if (result == 0 && isWatched(descriptor)) {
        call.file = g_open[descriptor];
        calls.push_back(std::move(call));
    }
    return result;
}

int named(int result, Path const& path, Call call)
{
    if (result == 0 && path) {
        if (call.kind == Call::makeDirectory)
            call.file = newNumber(*path);
        note(std::move(call), *path);
    }
    return result;
}

template <class Open> int opened(Path const& path, int flags, Open const& open)
{
    bool const isNew = path && (flags & O_CREAT) != 0 && inodeOf(*path) == 0;
    int const file = open();
    g_open.erase(file); // of a directory that was closed as one
    if (file < 0 || !path)
        return file;
    g_open[file] = isNew ? newNumber(*path) : numberOf(*path);
    if (isNew)
        note({Call::make, 0, "", "", g_open[file]}, *path);
    else if ((flags & O_TRUNC) != 0)
        changed(0, file, {Call::cut});
    return file;
}

void apply(std::map<std::string, int>& names, Call const& call)
{
    if (call.kind == Call::make || call.kind == Call::makeDirectory)
        names[call.text] = call.file;
    else if (auto const node = names.extract(call.text); node && call.kind == Call::rename)
        names[call.target] = node.mapped();
}

/// A write in pieces that end where sectors do.
template <class Wanted> void apply(std::string& content, Call const& call, Wanted const& wanted)
{
    constexpr std::size_t sector = 512;
    if (call.kind == Call::cut && wanted())
        content.resize(call.offset);
    for (std::size_t from = 0, size = 0; from < call.text.size(); from += size) {
        std::size_t const at = call.offset + from;
        size = std::min(sector - at % sector, call.text.size() - from);
        if (wanted()) {
            content.resize(std::max(content.size(), at + size));
            content.replace(at, size, call.text, from, size);
        }
    }
}

} // namespace

void watch(std::string const& directory)
{
    calls.clear();
    functions.clear();
    g_files.clear();
    g_open.clear();
    g_watched = directory;
    for (auto const& each : std::filesystem::recursive_directory_iterator(directory)) {
        std::string const path = each.path();
        int const number = newNumber(path);
        note({each.is_directory() ? Call::makeDirectory : Call::make, 0, "", "", number}, path);
        if (!each.is_directory())
            calls.push_back({Call::write, 0, contentOf(path), "", number});
        calls.push_back({Call::sync, 0, "", "", number});
        calls.push_back({Call::sync, 0, "", "", numberOf(each.path().parent_path())});
    }
    functions.clear();
}

void watchNothing()
{
    g_watched.clear();
}

void Surface::play(Call const& call)
{
    if (call.kind == Call::sync) {
        Node& node = m_nodes[call.file];
        for (Call const& each : std::exchange(node.waiting, {}))
            node.isDirectory ? apply(node.names, each) : apply(node.content, each, [] { return true; });
    } else {
        bool const isContent = call.kind == Call::write || call.kind == Call::cut;
        m_nodes[isContent ? call.file : call.directory].waiting.push_back(call);
        if (call.kind == Call::makeDirectory)
            m_nodes[call.file].isDirectory = true;
    }
}

bool Surface::isDirty() const
{
    return std::any_of(m_nodes.begin(), m_nodes.end(), [](auto const& each) { return !each.second.waiting.empty(); });
}

void Surface::leave(std::string const& directory, Rest rest, std::mt19937& random, int number) const
{
    auto const isLeft = [&] { return random() % 100 < rest.percent; };
    auto const found = m_nodes.find(number);
    Node node = found != m_nodes.end() ? found->second : Node();
    if (!node.isDirectory) {
        for (Call const& each : node.waiting) {
            bool const whole = isLeft();
            apply(node.content, each, [&] { return rest.inSectors ? isLeft() : whole; });
        }
        std::ofstream(directory, std::ios::binary) << node.content;
        return;
    }
    for (Call const& each : node.waiting) {
        if (isLeft())
            apply(node.names, each);
        else if (!rest.isReordered)
            break;
    }
    std::filesystem::create_directory(directory);
    for (auto const& [name, child] : node.names)
        leave(directory + "/" + name, rest, random, child);
}

} // namespace Disk

// The calls.

#define REAL(name) [[maybe_unused]] static auto const real = reinterpret_cast<decltype(&::name)>(::dlsym(RTLD_NEXT, #name))
// The function `name`: its parameters, what it is about, and what it does when it does not fail; it answers `failed` when it does.
#define STAND_IN_WITH(failed, result, name, parameters, watched, ...)                                                       \
    result name parameters                                                                                                  \
    {                                                                                                                       \
        REAL(name);                                                                                                         \
        using namespace Disk;                                                                                               \
        [[maybe_unused]] auto const verdict = verdictOn(#name, static_cast<bool>(watched));                                 \
        return verdict == Verdict::fail ? failed : (__VA_ARGS__);                                                           \
    }
#define STAND_IN(...) STAND_IN_WITH(-1, __VA_ARGS__)
#define OPEN(name, parameters, directory, ...)                                                                              \
    int name parameters                                                                                                     \
    {                                                                                                                       \
        std::va_list list;                                                                                                  \
        va_start(list, flags);                                                                                              \
        unsigned const mode = (flags & O_CREAT) != 0 ? va_arg(list, unsigned) : 0;                                          \
        va_end(list);                                                                                                       \
        REAL(name);                                                                                                         \
        auto const file = Disk::pathOf(directory, path);                                                                    \
        bool const fails = Disk::verdictOn(#name, file.has_value()) == Disk::Verdict::fail;                                 \
        return fails ? -1 : Disk::opened(file, flags, [&] { return real(__VA_ARGS__, flags, mode); });                      \
    }

extern "C" {

// clang-format off
OPEN(open, (char const* path, int flags, ...), AT_FDCWD, path)
OPEN(open64, (char const* path, int flags, ...), AT_FDCWD, path)
OPEN(openat, (int directory, char const* path, int flags, ...), directory, directory, path)
STAND_IN(int, close, (int file), false, (isWatched(file) ? g_open.erase(file) : 0), real(file))
STAND_IN(ssize_t, read, (int file, void* data, size_t size), isWatched(file), real(file, data, sizeFor(verdict, size)))
STAND_IN(ssize_t, pread64, (int file, void* data, size_t size, off64_t at), isWatched(file),
         real(file, data, sizeFor(verdict, size), at))
STAND_IN(ssize_t, pread, (int file, void* data, size_t size, off_t at), isWatched(file),
         real(file, data, sizeFor(verdict, size), at))
STAND_IN(off_t, lseek, (int file, off_t at, int from) noexcept, isWatched(file), real(file, at, from))
STAND_IN(ssize_t, write, (int file, void const* data, size_t size), isWatched(file),
         wrote(real(file, data, sizeFor(verdict, size)), file, data, position))
STAND_IN(ssize_t, pwrite64, (int file, void const* data, size_t size, off64_t at), isWatched(file),
         wrote(real(file, data, sizeFor(verdict, size), at), file, data, static_cast<std::size_t>(at)))
STAND_IN(int, ftruncate64, (int file, off64_t size) noexcept, isWatched(file),
         changed(real(file, size), file, {Call::cut, static_cast<std::size_t>(size)}))
STAND_IN(int, ftruncate, (int file, off_t size) noexcept, isWatched(file),
         changed(real(file, size), file, {Call::cut, static_cast<std::size_t>(size)}))
// What waits for the disk is known here; the disk itself is never waited for, by no test of this program.
STAND_IN(int, fsync, (int file), isWatched(file), changed(0, file, {Call::sync}))
STAND_IN(int, fdatasync, (int file), isWatched(file), changed(0, file, {Call::sync}))
STAND_IN(int, unlink, (char const* path) noexcept, pathOf(AT_FDCWD, path),
         named(real(path), pathOf(AT_FDCWD, path), {Call::remove}))
STAND_IN(int, unlinkat, (int in, char const* path, int flags) noexcept, pathOf(in, path),
         named(real(in, path, flags), pathOf(in, path), {Call::remove}))
STAND_IN(int, renameat, (int in, char const* path, int to, char const* target) noexcept, pathOf(in, path),
         named(real(in, path, to, target), pathOf(in, path), {Call::rename, 0, "", target}))
STAND_IN(int, mkdir, (char const* path, mode_t mode) noexcept, pathOf(AT_FDCWD, path),
         named(real(path, mode), pathOf(AT_FDCWD, path), {Call::makeDirectory}))
STAND_IN(int, mkdirat, (int in, char const* path, mode_t mode) noexcept, pathOf(in, path),
         named(real(in, path, mode), pathOf(in, path), {Call::makeDirectory}))
STAND_IN(int, flock, (int file, int operation) noexcept, isWatched(file), real(file, operation))
STAND_IN(int, fchmod, (int file, mode_t mode) noexcept, isWatched(file), real(file, mode))
STAND_IN(int, access, (char const* path, int mode) noexcept, pathOf(AT_FDCWD, path), real(path, mode))
STAND_IN(int, stat64, (char const* path, struct stat64* status) noexcept, pathOf(AT_FDCWD, path), real(path, status))
STAND_IN(int, stat, (char const* path, struct stat* status) noexcept, pathOf(AT_FDCWD, path), real(path, status))
STAND_IN(int, lstat, (char const* path, struct stat* status) noexcept, pathOf(AT_FDCWD, path), real(path, status))
STAND_IN(int, lstat64, (char const* path, struct stat64* status) noexcept, pathOf(AT_FDCWD, path), real(path, status))
STAND_IN(int, fstat64, (int file, struct stat64* status) noexcept, isWatched(file), real(file, status))
STAND_IN(int, fstat, (int file, struct stat* status) noexcept, isWatched(file), real(file, status))
STAND_IN(int, fstatat, (int in, char const* path, struct stat* status, int flags) noexcept, pathOf(in, path),
         real(in, path, status, flags))
STAND_IN(int, fchown, (int file, uid_t user, gid_t group) noexcept, isWatched(file), real(file, user, group))
STAND_IN_WITH(nullptr, char*, realpath, (char const* path, char* target) noexcept, pathOf(AT_FDCWD, path), real(path, target))
STAND_IN_WITH(nullptr, DIR*, fdopendir, (int file), isWatched(file), real(file))
STAND_IN_WITH(nullptr, dirent*, readdir, (DIR* directory), isWatched(::dirfd(directory)), real(directory))
// clang-format on

int fcntl64(int file, int command, ...)
{
    std::va_list list;
    va_start(list, command);
    void* const argument = va_arg(list, void*); // or a number; neither is looked at here
    va_end(list);
    REAL(fcntl64);
    bool const fails = Disk::verdictOn("fcntl64", Disk::isWatched(file)) == Disk::Verdict::fail;
    return fails ? -1 : real(file, command, argument);
}
}

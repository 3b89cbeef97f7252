#include "Disk.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdarg>

namespace Disk {

std::string watched;
std::vector<Call> calls;

namespace {

constexpr auto position = static_cast<std::size_t>(-1); // as an offset: where the file's position was
std::map<ino_t, int> g_files;

/// The name in the directory, "" for the directory itself. The lock file is of no account.
std::optional<std::string> nameOf(int descriptor, std::string const& relative = "")
{
    char path[4096];
    ssize_t const length =
        watched.empty() ? 0 : ::readlink(("/proc/self/fd/" + std::to_string(descriptor)).c_str(), path, sizeof path);
    std::string full(path, static_cast<std::size_t>(std::max<ssize_t>(length, 0)));
    full = relative.starts_with('/') ? relative : relative.empty() ? full : full + "/" + relative;
    if (watched.empty() || !(full + "/").starts_with(watched + "/") || full.ends_with(".lock"))
        return std::nullopt;
    full.erase(0, watched.size() + 1);
    return full.find('/') == std::string::npos ? std::optional(full) : std::nullopt;
}

ino_t inodeOf(int descriptor)
{
    struct stat status {};
    ::fstat(descriptor, &status);
    return status.st_ino;
}

/// A file was changed, or the directory synced.
template <class Result> Result changed(Result result, int descriptor, Call call)
{
    if (auto const name = result >= 0 ? nameOf(descriptor) : std::nullopt) {
        call.file = name->empty() ? 0 : g_files[inodeOf(descriptor)];
        if (call.kind == Call::write)
            call.text.resize(static_cast<std::size_t>(result));
        if (call.offset == position)
            call.offset = static_cast<std::size_t>(::lseek(descriptor, 0, SEEK_CUR)) - call.text.size();
        calls.push_back(std::move(call));
    }
    return result;
}

int renamed(int result, int directory, Call call)
{
    if (auto const name = result == 0 ? nameOf(directory, call.text) : std::nullopt) {
        call.text = *name;
        calls.push_back(std::move(call));
    }
    return result;
}

template <class Open> int opened(int directory, char const* path, int flags, Open const& open)
{
    auto const name = nameOf(directory, path);
    bool const isNew = name && (flags & O_CREAT) != 0 && ::faccessat(directory, path, F_OK, AT_SYMLINK_NOFOLLOW) != 0;
    int const file = open();
    if (file >= 0 && isNew)
        calls.push_back({Call::make, 0, *name, "", g_files[inodeOf(file)] = static_cast<int>(calls.size()) + 1});
    else if (file >= 0 && name && (flags & O_TRUNC) != 0)
        changed(0, file, {Call::cut});
    return file;
}

std::string bytes(void const* data, std::size_t size)
{
    return {static_cast<char const*>(data), watched.empty() ? 0 : size};
}

void apply(std::map<std::string, int>& names, Call const& call)
{
    if (call.kind == Call::make)
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

void Surface::play(Call const& call)
{
    if (call.kind == Call::write || call.kind == Call::cut) {
        m_files[call.file].waiting.push_back(call);
    } else if (call.kind != Call::sync) {
        m_waitingNames.push_back(call);
    } else if (call.file == 0) {
        for (Call const& each : std::exchange(m_waitingNames, {}))
            apply(m_names, each);
    } else {
        for (Call const& each : std::exchange(m_files[call.file].waiting, {}))
            apply(m_files[call.file].synced, each, [] { return true; });
    }
}

bool Surface::isDirty() const
{
    return !m_waitingNames.empty() ||
           std::any_of(m_files.begin(), m_files.end(), [](auto const& each) { return !each.second.waiting.empty(); });
}

void Surface::leave(std::string const& directory, Rest rest, std::mt19937& random) const
{
    auto const isLeft = [&] { return random() % 100 < rest.percent; };
    std::map<std::string, int> names = m_names;
    for (auto each = m_waitingNames.begin(); each != m_waitingNames.end() && isLeft(); ++each)
        apply(names, *each);
    for (auto const& [name, number] : names) {
        auto const found = m_files.find(number);
        File file = found != m_files.end() ? found->second : File();
        for (Call const& each : file.waiting) {
            bool const whole = isLeft();
            apply(file.synced, each, [&] { return rest.inSectors ? isLeft() : whole; });
        }
        std::ofstream(directory + "/" + name, std::ios::binary) << file.synced;
    }
}

} // namespace Disk

// The calls with which SQLite and the host platform change files.

#define REAL(name) static auto const real = reinterpret_cast<decltype(&::name)>(::dlsym(RTLD_NEXT, #name))
#define OPEN(directory, ...)                                                                                                \
    std::va_list list;                                                                                                      \
    va_start(list, flags);                                                                                                  \
    unsigned const mode = (flags & O_CREAT) != 0 ? va_arg(list, unsigned) : 0;                                              \
    va_end(list);                                                                                                           \
    return Disk::opened(directory, path, flags, [&] { return real(__VA_ARGS__, flags, mode); })
// The function `name`: its parameters, the arguments for the real one, which changes the file or directory `target`, and the
// call to be recorded.
#define STAND_IN(result, name, parameters, arguments, record, target, ...)                                                  \
    result name parameters                                                                                                  \
    {                                                                                                                       \
        REAL(name);                                                                                                         \
        return Disk::record(real arguments, target, {Disk::Call::__VA_ARGS__});                                             \
    }

extern "C" {

int open64(char const* path, int flags, ...)
{
    REAL(open64);
    OPEN(AT_FDCWD, path);
}

int openat(int directory, char const* path, int flags, ...)
{
    REAL(openat);
    OPEN(directory, directory, path);
}

// clang-format off
STAND_IN(ssize_t, write, (int file, void const* data, size_t size), (file, data, size),
         changed, file, write, Disk::position, Disk::bytes(data, size))
STAND_IN(ssize_t, pwrite64, (int file, void const* data, size_t size, off64_t at), (file, data, size, at),
         changed, file, write, static_cast<std::size_t>(at), Disk::bytes(data, size))
STAND_IN(int, ftruncate64, (int file, off64_t size) noexcept, (file, size), changed, file, cut, static_cast<std::size_t>(size))
STAND_IN(int, fsync, (int file), (file), changed, file, sync)
STAND_IN(int, fdatasync, (int file), (file), changed, file, sync)
STAND_IN(int, unlink, (char const* path) noexcept, (path), renamed, AT_FDCWD, remove, 0, path)
STAND_IN(int, unlinkat, (int in, char const* path, int flags) noexcept, (in, path, flags), renamed, in, remove, 0, path)
STAND_IN(int, renameat, (int in, char const* path, int to, char const* target) noexcept, (in, path, to, target),
         renamed, in, rename, 0, path, target)
// clang-format on
}

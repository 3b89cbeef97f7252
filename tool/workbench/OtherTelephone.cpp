// One process has one platform, so that another one reads the other directory. It gets a copy, taken while nobody has the
// directory, since opening a directory may mend it.
#include "workbench/OtherTelephone.h"

#include "report/Report.h"
#include "workbench/Child.h"
#include "workbench/ScratchDirectory.h"
#include "workbench/SignalBlock.h"

#include "Files.h"

#include <fstream>
#include <iterator>
#include <memory>
#include <system_error>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace Tool {

namespace {

namespace fs = std::filesystem;

constexpr char const* lockFile = "mediadata.lock";
constexpr char const* databaseFile = "mediadata.db";

/// Everything in it but links; the lock that the caller holds keeps others out meanwhile.
std::error_code copyFiles(fs::path const& from, fs::path const& to)
{
    std::error_code error;
    fs::create_directory(to, error);
    for (fs::recursive_directory_iterator at(from, error), end; !error && at != end; at.increment(error)) {
        auto const target = to / at->path().lexically_relative(from);
        auto const type = at->symlink_status(error).type();
        if (type == fs::file_type::directory)
            fs::create_directory(target, error);
        else if (type == fs::file_type::regular)
            fs::copy_file(at->path(), target, error);
    }
    return error;
}

std::string contentOf(fs::path const& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// Runs this tool over the directory; its output lies in the scratch directory then. The exit status, or -1.
int runExport(fs::path const& directory, fs::path const& out, fs::path const& err)
{
    auto const make = [](fs::path const& path) {
        return Host::FileDescriptor(::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    };
    Host::FileDescriptor const nothing(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    auto const answer = make(out);
    auto const remarks = make(err);
    if (!nothing || !answer || !remarks)
        return -1;
    auto const child = startChild({"--data-dir", directory.string(), "export", "--show-secrets"}, nothing.get(),
                                  answer.get(), remarks.get());
    return child < 0 ? -1 : endOfChild(child);
}

/// The last line that the other process said, without its name.
std::string lastWords(std::string text)
{
    text.erase(text.find_last_not_of('\n') + 1);
    auto const line = text.substr(text.rfind('\n') + 1);
    constexpr std::string_view name = "mediadata: ";
    return line.starts_with(name) ? line.substr(name.size()) : line.empty() ? "it could not be read" : line;
}

} // namespace

OtherTelephone readDirectory(fs::path const& directory)
{
    std::error_code error;
    bool const isThere = fs::exists(directory / databaseFile, error);
    if (error)
        return {exitStorage, error.message()};
    if (!isThere)
        return {exitUsage, "is no data directory: it holds no " + std::string(databaseFile)};
    SignalBlock const block; // The copy holds secrets: it goes before the process does.
    ScratchDirectory const scratch;
    Host::FileDescriptor const lock(::open((directory / lockFile).c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    bool const isFree = lock && ::flock(lock.get(), LOCK_EX | LOCK_NB) == 0;
    auto const copy = scratch.path() / "copy";
    if (scratch.path().empty())
        return {exitStorage, "cannot be copied: there is no room for temporary files"};
    if (auto const fault = isFree ? copyFiles(directory, copy) : std::error_code(); fault)
        return {exitStorage, "cannot be copied: " + fault.message()};
    auto const out = scratch.path() / "out";
    auto const err = scratch.path() / "err";
    if (runExport(isFree ? copy : directory, out, err) != 0)
        return {exitStorage, lastWords(contentOf(err))};
    return {exitOk, contentOf(out), contentOf(err)};
}

std::string packed(OtherTelephone const& directory)
{
    return Json{directory.status, directory.text, directory.remarks}.dump(-1, ' ', false, Json::error_handler_t::replace);
}

OtherTelephone unpacked(std::string const& text)
{
    auto const parts = Json::parse(text, nullptr, false);
    bool const isWhole = parts.is_array() && parts.size() == 3 && parts[0].is_number_integer() && parts[1].is_string() &&
                         parts[2].is_string();
    if (!isWhole)
        return {exitUsage, "cannot be read"};
    return {parts[0].get<int>(), parts[1].get<std::string>(), parts[2].get<std::string>()};
}

} // namespace Tool

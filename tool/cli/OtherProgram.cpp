#include "cli/OtherProgram.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include <unistd.h>

namespace Tool {

std::string becomeProgram(std::string const& name, Words words)
{
    // Under an emulator the process's own file is the emulator.
    auto const* const self = std::getenv("MEDIADATA_PROGRAM");
    std::error_code ignored;
    auto const directory = self && *self ? std::filesystem::path(self).parent_path()
                                         : std::filesystem::read_symlink("/proc/self/exe", ignored).parent_path();
    words.insert(words.begin(), name);
    std::vector<char*> arguments;
    for (auto& word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);
    for (auto const& place : {directory, directory / MEDIADATA_LIBEXEC}) {
        ::execv((place / name).c_str(), arguments.data());
        if (errno != ENOENT)
            return name + ": " + std::generic_category().message(errno);
    }
    return name + " is not installed; it has a package of its own, of this name";
}

} // namespace Tool

// A private directory among the temporary ones that goes away, with all that is in it, when the object does.
#pragma once

#include <filesystem>

namespace Tool {

class ScratchDirectory {
public:
    ScratchDirectory();
    ~ScratchDirectory();
    ScratchDirectory(ScratchDirectory const&) = delete;
    ScratchDirectory& operator=(ScratchDirectory const&) = delete;

    /// Empty when none could be made.
    std::filesystem::path const& path() const { return m_path; }

private:
    std::filesystem::path m_path;
};

} // namespace Tool

// A fresh directory, removed with all that is in it, and the bytes of a file.
#pragma once

#include "Standard.h"

class TemporaryDirectory {
public:
    TemporaryDirectory()
    {
        if (::mkdtemp(m_path.data()) == nullptr)
            std::abort();
    }
    ~TemporaryDirectory() { std::filesystem::remove_all(m_path); }
    TemporaryDirectory(TemporaryDirectory const&) = delete;
    TemporaryDirectory& operator=(TemporaryDirectory const&) = delete;

    std::string const& path() const { return m_path; }

private:
    std::string m_path = std::filesystem::temp_directory_path() / "mediadata-XXXXXX";
};

inline std::string contentOf(std::filesystem::path const& path)
{
    std::ostringstream content;
    content << std::ifstream(path, std::ios::binary).rdbuf();
    return std::move(content).str();
}

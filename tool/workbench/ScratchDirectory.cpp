#include "workbench/ScratchDirectory.h"

#include <cstdlib>
#include <system_error>

namespace Tool {

ScratchDirectory::ScratchDirectory()
{
    std::error_code ignored;
    auto name = (std::filesystem::temp_directory_path(ignored) / "mediadata.XXXXXX").string();
    if (::mkdtemp(name.data()))
        m_path = name;
}

ScratchDirectory::~ScratchDirectory()
{
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

} // namespace Tool

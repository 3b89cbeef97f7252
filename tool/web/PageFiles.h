// What CMake makes of the folder page/: each of its files as it is.
#pragma once

#include <span>
#include <string_view>

namespace Tool::Web {

struct PageFile {
    std::string_view name;
    std::string_view content;
};

std::span<PageFile const> pageFiles();

} // namespace Tool::Web

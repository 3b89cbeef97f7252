// The files of the page, which are a part of the program: every file of tool/web/page by its name.
#pragma once

#include "web/Http.h"

#include <optional>
#include <string_view>

namespace Tool::Web {

/// The file at this path, of "/" index.html; nothing when there is none.
std::optional<Answer> pageFile(std::string_view path, std::string_view knownTag);

} // namespace Tool::Web

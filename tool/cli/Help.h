// How --help looks: the parser's own layout in 80 columns.
#pragma once

#include <CLI/CLI.hpp>

#include <memory>

namespace Tool {

std::shared_ptr<CLI::FormatterBase> helpFormatter();

} // namespace Tool

// What surrounds one command: its streams, the directory it was given in, and how its output may look. A command of this
// process has the process's own; one that came through the socket has its sender's.
#pragma once

#include <filesystem>
#include <iosfwd>
#include <string>

namespace Tool {

struct Console {
    std::istream& in;
    std::ostream& out;
    std::ostream& err;
    std::filesystem::path directory = {}; ///< file names are relative to it; empty: the process's own

    /// The whole of a file, "-" for the standard input. False when it cannot be read.
    bool read(std::string const& file, std::string& text) const;
};

/// This process's streams.
Console& standardConsole();

} // namespace Tool

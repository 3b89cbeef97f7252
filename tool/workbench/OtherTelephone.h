// Another telephone's data directory, read by another process of this tool.
#pragma once

#include <filesystem>
#include <string>

namespace Tool {

/// What a data directory keeps.
struct OtherTelephone {
    int status = 0;           ///< an exit status
    std::string text = {};    ///< the exported document, secrets in plain; otherwise why there is none
    std::string remarks = {}; ///< what is to be told besides, whole lines
};

/// Reads a data directory, which stays as it is to the byte: a copy of it is read. A directory that another process has is
/// asked for through that process.
OtherTelephone readDirectory(std::filesystem::path const& directory);

/// One line of text and back, for the way through the socket.
std::string packed(OtherTelephone const& directory);
OtherTelephone unpacked(std::string const& text);

} // namespace Tool

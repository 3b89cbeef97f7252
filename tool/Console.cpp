#include "Console.h"

#include <array>
#include <fstream>
#include <iostream>

namespace Tool {

bool Console::read(std::string const& file, std::string& text) const
{
    std::ifstream opened;
    if (file != "-")
        opened.open(directory / file, std::ios::binary);
    auto& input = file == "-" ? in : opened;
    // Read in pieces: a stream that cannot be read, such as a directory, says so only there.
    text.clear();
    std::array<char, 4096> piece;
    while (input.read(piece.data(), piece.size()) || input.gcount() > 0)
        text.append(piece.data(), static_cast<std::size_t>(input.gcount()));
    return input.eof() && !input.bad();
}

Console& standardConsole()
{
    static Console console{std::cin, std::cout, std::cerr};
    return console;
}

} // namespace Tool

#include "Console.h"

#include <fstream>
#include <iostream>
#include <iterator>

namespace Tool {

bool Console::read(std::string const& file, std::string& text) const
{
    std::ifstream opened;
    if (file != "-")
        opened.open(directory / file, std::ios::binary);
    auto& input = file == "-" ? in : opened;
    text.assign(std::istreambuf_iterator<char>(input), {});
    return !input.bad() && (file == "-" || opened.is_open());
}

Console& standardConsole()
{
    static Console console{std::cin, std::cout, std::cerr};
    return console;
}

} // namespace Tool

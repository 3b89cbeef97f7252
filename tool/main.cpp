// mediadata: the workbench for the settings of a telephone's media process.
#include "CommandLine.h"

#include <exception>
#include <iostream>

int main(int count, char** words)
{
    try {
        Tool::Workbench workbench;
        return Tool::runCommand(workbench, {words + (count > 0 ? 1 : 0), words + count});
    } catch (std::exception const& error) {
        std::cerr << "mediadata: " << error.what() << '\n';
        return Tool::exitInternal;
    }
}

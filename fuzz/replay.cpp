// Runs a fuzz target over the files of the folders given, so that the ordinary tests repeat what fuzzing found.
#include "Fuzz.h"

#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>

int main(int argc, char** argv)
{
    int files = 0;
    for (int i = 1; i < argc; ++i)
        for (auto const& entry : std::filesystem::directory_iterator(argv[i])) {
            std::cerr << entry.path().filename().string() << '\n';
            std::ifstream file(entry.path(), std::ios::binary);
            std::string const text{std::istreambuf_iterator<char>(file), {}};
            LLVMFuzzerTestOneInput(reinterpret_cast<std::uint8_t const*>(text.data()), text.size());
            ++files;
        }
    std::cerr << files << " files\n";
    return files > 0 ? 0 : 1;
}

// What the fuzz targets share. A broken expectation (EXPECT_..., as in the tests) ends the process, which is the finding. Each
// target is one source file; it links with libFuzzer or with replay.cpp, which runs the files of a corpus.
#pragma once

#include "../tests/Standard.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size);

namespace Fuzz {

/// Once, before anything else: a broken expectation ends the process, and files lie in memory.
inline bool prepare()
{
    GTEST_FLAG_SET(throw_on_failure, true);
    return setenv("TMPDIR", "/dev/shm", 1) == 0;
}

/// The lines of an input, which may hold any byte but the line feed.
inline std::vector<std::string> linesOf(std::uint8_t const* data, std::size_t size)
{
    std::istringstream stream(std::string(reinterpret_cast<char const*>(data), size));
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

} // namespace Fuzz

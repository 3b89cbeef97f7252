// Where the telephone's files lie on this machine.
#pragma once

#include <string>

/// The place of the telephone's absolute `path`. A telephone answers the path itself, a workstation a path below its data
/// directory, tests one below a fresh directory. Does not touch the file system, does not fail; the cache's lock may be held.
/// Optional: where the platform has none, the library uses paths as they are.
std::string platformPath(std::string const& path);

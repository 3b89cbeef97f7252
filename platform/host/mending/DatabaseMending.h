// The one way to a data directory's database: makes the file where there is none and mends one that is damaged. Then the file
// is set aside under a new name, every row that can still be read is brought over into a new one, and what was lost is
// reported. Interrupted at any point, the next start carries on and loses nothing.
#pragma once

#include <memory>
#include <string>
#include <vector>

namespace Host {

class DataDirectory;
class Database;

/// Null with `error` when the file cannot be used for another reason than its content (a link, no permission, a newer
/// version). What had to be mended is logged, and told in `notices`.
std::unique_ptr<Database> openDatabase(DataDirectory const& directory, std::vector<std::string>& notices,
                                       std::string& error);

} // namespace Host

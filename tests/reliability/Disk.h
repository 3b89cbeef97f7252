// Records, call by call, what this process does to the files of one directory, and makes of it what a power cut after any of
// the calls may leave on the disk: everything that was synced, and any part of the rest. The recording stands in for calls of
// the C library, hence sees SQLite's, the key file's and the mending's alike.
#pragma once

#include "../Standard.h"

namespace Disk {

struct Call {
    enum Kind { make, write, cut, sync, rename, remove, mark }; // a mark is what a test notes between them
    Kind kind;
    std::size_t offset = 0; // of a write, or the size after a cut
    std::string text = {};  // the bytes written, or the file's name
    std::string target = {};
    int file = 0; // 0: the directory
};

/// What happens directly in this directory, empty at first, is appended to `calls`. No path, no recording.
extern std::string watched;
extern std::vector<Call> calls;

/// How much of what was not synced is left: each call or each sector with this chance.
struct Rest {
    unsigned percent;
    bool inSectors;
};

class Surface {
public:
    void play(Call const& call);
    /// Whether anything waits to be synced.
    bool isDirty() const;
    /// Writes into `directory` what is left.
    void leave(std::string const& directory, Rest rest, std::mt19937& random) const;

private:
    struct File {
        std::string synced;
        std::vector<Call> waiting;
    };
    std::map<int, File> m_files;
    std::map<std::string, int> m_names;
    std::vector<Call> m_waitingNames; // of these the first ones are left, as a file system's journal does
};

} // namespace Disk

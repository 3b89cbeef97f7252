// Stands in for the calls with which this process looks at and changes files, SQLite's, the key file's and the mending's alike.
// It makes any of them fail; and it records them, to make of the record what a power cut after any call may leave on the disk:
// everything that was synced, and any part of the rest.
#pragma once

#include "../Standard.h"

namespace Disk {

struct Call {
    enum Kind { make, makeDirectory, write, cut, sync, rename, remove, mark }; // a mark is what a test notes between them
    Kind kind;
    std::size_t offset = 0; // of a write, or the size after a cut
    std::string text = {};  // the bytes written, or a name in the directory
    std::string target = {};
    int file = 0;      // or directory; 0: the watched one
    int directory = 0; // in which the name stands
};

/// What happens below this directory is appended to `calls`, and can fail. What is there already comes first, as synced.
void watch(std::string const& directory);
void watchNothing();
extern std::vector<Call> calls;

/// Instead of failing, the call ends the process by SIGKILL.
constexpr int killed = -1;

/// The call that fails, counted from 1 and from watch(); 0: none. With `forGood` so do all later ones of its function.
struct Fault {
    std::size_t call = 0;
    int code = 0; // or `killed`; 0: a read or write stops half way
    bool forGood = false;
};
extern Fault fault;

/// The functions that were called below the watched directory, failed ones, too.
extern std::vector<char const*> functions;

/// How much of what was not synced is left: each call or each sector with this chance; of names the first ones, as with a file
/// system's journal, or any.
struct Rest {
    unsigned percent;
    bool inSectors;
    bool isReordered;
};

class Surface {
public:
    void play(Call const& call);
    /// Whether anything waits to be synced.
    bool isDirty() const;
    /// Makes `directory` of what is left of the watched one.
    void leave(std::string const& directory, Rest rest, std::mt19937& random, int node = 0) const;

private:
    struct Node { // a file or a directory
        std::string content;
        std::map<std::string, int> names;
        std::vector<Call> waiting;
        bool isDirectory = false;
    };
    std::map<int, Node> m_nodes{{0, {"", {}, {}, true}}};
};

} // namespace Disk

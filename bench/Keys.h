// The keys of the benchmark: the names, types and ranges of the media component's single items, taken from the catalogue, so
// that every system stores the same. A key has two values to change between, both accepted by the catalogue's validators.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

namespace Bench {

enum class Type { Int, Bool, String, Complex };

struct Key {
    int tag = 0;
    std::string name; // lower case, digits and dashes: what the strictest of the systems takes
    Type type = Type::Int;
    bool stored = false; // kept in the configuration database and in no table
    int minimum = 0;
    int maximum = 1000000;
    int step = 1;

    void value(int variant, int& out) const { out = minimum + variant * step; }
    void value(int variant, bool& out) const { out = variant != 0; }
    /// A text of 27 characters.
    void value(int variant, std::string& out) const
    {
        char text[28];
        std::snprintf(text, sizeof text, "sip:%09d-%d@example.org", tag, variant);
        out = text;
    }
};

/// Calls `use` with a value of the key's type.
template <class Use> void each(Key const& key, Use use)
{
    switch (key.type) {
    case Type::Int:
        return use(int{});
    case Type::Bool:
        return use(bool{});
    default:
        return use(std::string());
    }
}

/// A stored int, known without making all keys: what a start-up reads.
Key const& firstKey();
/// All keys, in a pseudo-random order that is the same in every run.
std::vector<Key> const& allKeys();
/// The keys of one type; `stored`: only those.
std::vector<Key> keysOf(Type type, bool stored);

} // namespace Bench

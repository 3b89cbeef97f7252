// The keys of the benchmark: the names, types and ranges of the media component's items, taken from the catalogue, so that every
// system stores the same. A key has two values to change between, both accepted by the catalogue's validators.
#pragma once

#include <cstdio>
#include <initializer_list>
#include <string>
#include <vector>

namespace Bench {

enum class Type { Int, Bool, String, Complex };

enum class Kept {
    Elsewhere,   ///< not in the configuration database, or in a ranked table
    Alone,       ///< a single setting
    InGroup,     ///< a single value that is checked with others
    InTextTable, ///< a cell of the table of ringers, which is stored as one text
};

constexpr std::size_t textLength = 27;

struct Key {
    int tag = 0;
    std::string name; // lower case, digits and dashes: what the strictest of the systems takes
    Type type = Type::Int;
    Kept kept = Kept::Elsewhere;
    int minimum = 0;
    int maximum = 1000000;
    int step = 1;
    std::size_t longest = textLength; // of a text
    std::vector<std::string> choices; // the only texts that it takes, when there are any

    bool isStored() const { return kept == Kept::Alone; }

    void value(int variant, int& out) const { out = minimum + variant * step; }
    void value(int variant, bool& out) const { out = variant != 0; }
    /// A text of `textLength`, or as long as the key allows.
    void value(int variant, std::string& out) const
    {
        char text[40];
        std::snprintf(text, sizeof text, "sip:%d.%04d@host.example.org", variant, tag);
        out = choices.empty() ? std::string(text).substr(0, longest) : choices[static_cast<std::size_t>(variant)];
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
/// The keys of one type; `stored`: only single settings, of texts those of full length.
std::vector<Key> keysOf(Type type, bool stored);
/// The keys that are kept in one of these ways.
std::vector<Key> keysKept(std::initializer_list<Kept> ways);

} // namespace Bench

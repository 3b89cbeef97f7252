// Single reads answered from one pass over all rows, as long as nothing is written. All texts lie in one block and are found
// by hash. The block is large enough for the allocator to map it by itself: unused parts of it cost no memory, and all of it
// goes back when the start-up is over.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Host {

class ReadAhead {
public:
    enum class Result { found, absent, unknown };

    /// Ready for rows; without them everything is unknown.
    ReadAhead();
    void add(std::string_view schema, std::string_view element, std::string_view value);
    /// After the last row; without this call everything stays unknown. `complete`: there are no other rows.
    void close(bool complete);

    /// After as many finds as there are rows everything is forgotten and unknown: the start-up is over.
    Result find(std::string_view schema, std::string_view element, std::string& value);

private:
    struct Row {
        std::size_t hash;
        std::uint32_t begin; ///< schema, element and value follow one another
        std::uint32_t schemaSize;
        std::uint32_t elementSize;
        std::uint32_t valueSize;
    };

    std::string m_texts;
    std::vector<Row> m_rows; ///< by hash
    std::size_t m_found = 0;
    bool m_complete = false;
};

} // namespace Host

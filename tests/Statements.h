// The statements that SQLite runs in this process, watched from inside: which texts, and whether each is one of the library's.
#pragma once

#include "TemporaryDirectory.h"
#include "mending/DatabaseMending.h"

#include <sqlite3.h>

namespace Statements {

inline sqlite3* connection = nullptr; // the last one opened
inline std::set<std::string, std::less<>> texts;

inline void watch()
{
    auto const attach = [](sqlite3* opened, char**, void const*) {
        auto const note = [](unsigned, void*, void* statement, void*) {
            std::string_view const text = sqlite3_sql(static_cast<sqlite3_stmt*>(statement));
            if (!texts.contains(text))
                texts.emplace(text);
            return 0;
        };
        return sqlite3_trace_v2(connection = opened, SQLITE_TRACE_STMT, note, nullptr);
    };
    sqlite3_auto_extension(reinterpret_cast<void (*)()>(+attach));
}

/// A text that ran and does not stand as it is in the library's file: it was put together, or is another's. Empty when there
/// is none.
inline std::string const& foreign()
{
    static std::string const library = [] {
        Dl_info info{};
        ::dladdr(reinterpret_cast<void*>(&Host::openDatabase), &info);
        return contentOf(info.dli_fname);
    }();
    static std::string found;
    static std::size_t looked = 0;
    if (looked != texts.size())
        for (std::string const& text : texts)
            if (library.find(text) == std::string::npos)
                found = text;
    looked = texts.size();
    return found;
}

} // namespace Statements

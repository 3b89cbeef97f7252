// What a verb answers: sections of rows, notes and problems, and the exit code. Every verb makes one of these; Renderers.h shows
// it as aligned text or as a JSON object, so that both always say the same.
#pragma once

#include <nlohmann/json.hpp>

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace Tool {

/// A cell's value.
using Json = nlohmann::ordered_json;

/// The process's exit status. Documented in the help text; the graver one counts when several apply.
enum ExitCode : int { exitOk = 0, exitInternal = 1, exitUsage = 2, exitUnknownItem = 3, exitRefused = 4, exitStorage = 5 };

enum class Layout {
    Table,  ///< a header and aligned rows; columns without any value are left out
    Beside, ///< as Table, but each row stands as a column beside the others
    Pairs,  ///< one row, a line a column; an object in JSON
    Values, ///< the last column alone for one row, otherwise "first = last" lines
    Text    ///< one cell, written as it is
};

struct Section {
    std::string name; ///< in JSON the key, as those of the columns in camelCase
    Layout layout = Layout::Table;
    std::vector<std::string> columns;
    std::vector<std::vector<Json>> rows; ///< null: no value
    std::string title = {};              ///< a line above the text; not in JSON
    std::size_t headings = 0; ///< so many columns of a table stand once, above the rows that share them; not in JSON
    std::string nested = {};  ///< in JSON rows that share the headings are one object, with the other columns under this key
    std::map<std::string, std::string> called = {}; ///< what the text calls columns instead of their names; not in JSON
    std::map<std::string, std::string> said = {};   ///< what pairs say in text instead of columns' values; not in JSON
    std::string brief = {};                         ///< in text instead of the title and the rows; not in JSON
    std::size_t spare = 0; ///< so many columns at the end only fill the room that a table leaves at a terminal; not in JSON
};

/// Something that went wrong, said on the error stream in text and under "errors" in JSON.
struct Problem {
    std::string item;
    std::string reason;
    std::vector<std::string> suggestions = {};
};

struct Report {
    ExitCode code = exitOk;
    std::vector<Section> sections = {};
    std::vector<std::string> notes = {}; ///< lines below the text; not in JSON
    std::vector<Problem> problems = {};
    std::string question = {}; ///< nothing was done yet: the verb is to be run again when somebody says yes to it
    std::string remarks = {};  ///< what others had to say besides: whole lines for the error stream, ahead of everything

    enum class Form { AsAsked, AsText, AsJson };
    Form form = Form::AsAsked; ///< the form in which it is shown whatever was asked for

    /// Keeps the graver of the present code and `other`.
    void raise(ExitCode other);
    void fail(ExitCode why, Problem problem);
};

/// What stands in the place of a secret.
inline constexpr std::string_view masked = "********";

Report failure(ExitCode code, std::string item, std::string reason, std::vector<std::string> suggestions = {});

} // namespace Tool

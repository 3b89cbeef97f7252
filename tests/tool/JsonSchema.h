// Checks JSON values against the part of JSON Schema (draft 2020-12) that docs/json uses.
#pragma once

#include "../Standard.h"

#include <nlohmann/json.hpp>

namespace ToolTest {

class JsonSchema {
public:
    using Json = nlohmann::json;

    explicit JsonSchema(Json root) : m_root(std::move(root)) {}

    /// What is wrong with the value, with its place; empty when it conforms.
    std::string fault(Json const& value, std::string const& definition) const
    {
        return fault(value, m_root.at("$defs").at(definition), definition);
    }
    std::string fault(Json const& value) const { return fault(value, m_root, ""); }

private:
    std::string fault(Json const& value, Json const& schema, std::string const& at) const
    {
        if (schema.contains("$ref"))
            return fault(value, m_root.at(Json::json_pointer(schema["$ref"].get<std::string>().substr(1))), at);
        auto const type = schema.value("type", Json::array());
        auto const types = type.is_array() ? type : Json::array({type});
        std::string const own = value.is_number_integer() ? "integer" : value.type_name();
        if (!types.empty() && std::count(types.begin(), types.end(), own) == 0 &&
            !(value.is_number() && std::count(types.begin(), types.end(), "number") != 0))
            return at + ": is not of type " + types.dump() + ": " + value.dump();
        auto const allowed = schema.value("enum", Json::array({value}));
        if (std::count(allowed.begin(), allowed.end(), value) == 0)
            return at + ": is none of " + allowed.dump() + ": " + value.dump();
        for (auto const& name : schema.value("required", Json::array()))
            if (value.is_object() && !value.contains(name.get<std::string>()))
                return at + ": lacks " + name.dump();
        ::testing::Matcher<std::string> const key =
            ::testing::ContainsRegex(schema.value("/propertyNames/pattern"_json_pointer, ""));
        auto const known = schema.value("properties", Json::object());
        auto const others = schema.value(value.is_array() ? "items" : "additionalProperties", Json(true));
        if (!value.is_structured())
            return "";
        std::string found;
        for (auto const& [name, member] : value.items()) {
            auto const& rule = value.is_object() && known.contains(name) ? known[name] : others;
            if (found.empty() && (rule == Json(false) || (value.is_object() && !key.Matches(name))))
                found = at + "/" + name + ": is not described";
            else if (found.empty() && rule.is_object())
                found = fault(member, rule, at + "/" + name);
        }
        return found;
    }

    Json m_root;
};

} // namespace ToolTest

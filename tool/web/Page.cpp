#include "web/Page.h"

#include "web/PageFiles.h"

#include <algorithm>
#include <array>

#include <fmt/format.h>
#include <sodium.h>

namespace Tool::Web {

namespace {

struct Type {
    std::string_view ending;
    std::string_view type;
};

constexpr std::array types{
    Type{".html", "text/html; charset=utf-8"},
    Type{".css", "text/css; charset=utf-8"},
    Type{".js", "text/javascript; charset=utf-8"},
    Type{".svg", "image/svg+xml"},
    Type{".json", "application/json"},
    Type{".png", "image/png"},
};

std::string_view typeOf(std::string_view name)
{
    auto const* const found = std::ranges::find_if(types, [=](Type const& each) { return name.ends_with(each.ending); });
    return found == types.end() ? "application/octet-stream" : found->type;
}

/// Changes when the content does.
std::string tagOf(std::string_view content)
{
    std::array<unsigned char, crypto_generichash_BYTES_MIN> hash{};
    ::crypto_generichash(hash.data(), hash.size(), reinterpret_cast<unsigned char const*>(content.data()), content.size(),
                         nullptr, 0);
    return fmt::format("\"{:02x}\"", fmt::join(hash, ""));
}

} // namespace

std::optional<Answer> pageFile(std::string_view path, std::string_view knownTag)
{
    auto const name = path == "/" ? "index.html" : path.substr(1);
    auto const files = pageFiles();
    auto const found = std::ranges::find(files, name, &PageFile::name);
    if (found == files.end())
        return std::nullopt;
    auto const tag = tagOf(found->content);
    Answer answer{200, "", std::string(typeOf(name)), {{"ETag", tag}, {"Cache-Control", "no-cache"}}};
    if (knownTag == tag)
        answer.status = 304;
    else
        answer.body = found->content;
    return answer;
}

} // namespace Tool::Web

// The event parser over Expat. The text is read inside a root element of our own, so that a plain sequence of elements is as
// welcome as one document; that root is the depth 0 below. No DOCTYPE can stand inside an element, hence no entity can be
// declared and nothing can be expanded.
#include "XmlParser.h"

#include <expat.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>

namespace {

constexpr int maximumDepth = 16;
constexpr int maximumLength = 1024 * 1024;
constexpr std::string_view blanks = " \t\r\n";
constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";

/// The length of the XML declaration at the start of `text`; 0 when there is none.
std::size_t declarationLength(std::string_view text)
{
    if (!text.starts_with("<?xml") || text.size() < 6 || blanks.find(text[5]) == std::string_view::npos)
        return 0;
    std::size_t const end = text.find("?>");
    return end == std::string_view::npos ? 0 : end + 2;
}

} // namespace

struct XmlParser::Implementation {
    using Parser = std::unique_ptr<XML_ParserStruct, decltype(&XML_ParserFree)>;
    class Reading;

    void* userData;
    StartHandler start;
    EndHandler end;
    DataHandler data;
    Parser idle{nullptr, &XML_ParserFree}; ///< what read the last text; null while a text is read

    Parser takeParser();
};

/// One text on its way through Expat.
class XmlParser::Implementation::Reading {
public:
    Reading(Implementation& owner, XML_Parser parser) : m_owner(owner), m_parser(parser) {}

    bool run(std::string_view text);

private:
    void refuse() { XML_StopParser(m_parser, XML_FALSE); }
    void deliver()
    {
        m_owner.data(m_owner.userData, m_pending.data(), static_cast<int>(m_pending.size()));
        m_pending.clear();
    }

    static Reading& of(void* self) { return *static_cast<Reading*>(self); }
    static void XMLCALL onStart(void* self, XML_Char const* name, XML_Char const** attributes);
    static void XMLCALL onEnd(void* self, XML_Char const* name);
    static void XMLCALL onText(void* self, XML_Char const* text, int length);

    Implementation& m_owner;
    XML_ParserStruct* const m_parser;
    int m_depth = -1;
    bool m_anyElement = false;
    bool m_textWanted = false; // only between a start tag and the next tag is text an element's own
    std::string m_pending;
};

void XMLCALL XmlParser::Implementation::Reading::onStart(void* self, XML_Char const* name, XML_Char const** attributes)
{
    Reading& my = of(self);
    if (++my.m_depth == 0)
        return;
    if (my.m_depth > maximumDepth) {
        my.refuse();
        return;
    }
    // Text before a first child: its element has children, so white space there is layout.
    if (my.m_pending.find_first_not_of(blanks) != std::string::npos)
        my.deliver();
    my.m_pending.clear();
    my.m_anyElement = true;
    my.m_textWanted = true;
    my.m_owner.start(my.m_owner.userData, name, attributes);
}

void XMLCALL XmlParser::Implementation::Reading::onEnd(void* self, XML_Char const* name)
{
    Reading& my = of(self);
    if (my.m_depth-- <= 0)
        return;
    if (std::exchange(my.m_textWanted, false))
        my.deliver();
    my.m_owner.end(my.m_owner.userData, name);
}

void XMLCALL XmlParser::Implementation::Reading::onText(void* self, XML_Char const* text, int length)
{
    Reading& my = of(self);
    std::string_view const received(text, static_cast<std::size_t>(length));
    if (my.m_depth == 0 && received.find_first_not_of(blanks) != std::string_view::npos)
        my.refuse();
    else if (my.m_textWanted)
        my.m_pending += received;
}

bool XmlParser::Implementation::Reading::run(std::string_view text)
{
    if (text.starts_with(byteOrderMark))
        text.remove_prefix(byteOrderMark.size());
    std::string_view const declaration = text.substr(0, declarationLength(text));
    text.remove_prefix(declaration.size());
    std::string_view const parts[] = {declaration, "<sequence>", text, "</sequence>"};
    std::size_t size = 0;
    for (auto const part : parts)
        size += part.size();
    // In one piece: between pieces Expat would count lines.
    auto* place = static_cast<char*>(XML_GetBuffer(m_parser, static_cast<int>(size)));
    if (place == nullptr)
        return false;
    for (auto const part : parts)
        place = std::copy(part.begin(), part.end(), place);
    XML_SetUserData(m_parser, this);
    XML_SetElementHandler(m_parser, onStart, onEnd);
    XML_SetCharacterDataHandler(m_parser, onText);
    return XML_ParseBuffer(m_parser, static_cast<int>(size), XML_TRUE) == XML_STATUS_OK && m_anyElement;
}

/// The idle one, without anything of the text before: Expat has its own limits and a new hash salt then, and no handlers.
XmlParser::Implementation::Parser XmlParser::Implementation::takeParser()
{
    // Always UTF-8, whatever a declaration says: all texts of this system are.
    constexpr char const* encoding = "UTF-8";
    Parser parser = std::move(idle);
    if (parser == nullptr || XML_ParserReset(parser.get(), encoding) != XML_TRUE)
        parser.reset(XML_ParserCreate(encoding));
    return parser;
}

XmlParser::XmlParser(void* userData, StartHandler start, EndHandler end, DataHandler data)
    : m_implementation(std::make_unique<Implementation>(Implementation{userData, start, end, data}))
{}

XmlParser::~XmlParser() = default;

bool XmlParser::parseMessage(char const* text, int length)
{
    if (length < 0 || length > maximumLength)
        return false;
    auto parser = m_implementation->takeParser();
    if (parser == nullptr)
        return false;
    bool const done = Implementation::Reading(*m_implementation, parser.get()).run({text, static_cast<std::size_t>(length)});
    m_implementation->idle = std::move(parser);
    return done;
}

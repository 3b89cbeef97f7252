// The event parser over Expat. The text is read inside a root element of our own, so that a plain sequence of elements is as
// welcome as one document; that root is the depth 0 below. No DOCTYPE can stand inside an element, hence no entity can be
// declared and nothing can be expanded.
#include "XmlParser.h"

#include <expat.h>

#include <new>
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
    void* userData;
    StartHandler start;
    EndHandler end;
    DataHandler data;

    XML_Parser parser = nullptr;
    int depth = -1;
    bool anyElement = false;
    bool textWanted = false; // only between a start tag and the next tag is text an element's own
    std::string pending{};

    bool run(std::string_view text);
    bool feed(std::string_view text, bool last)
    {
        return XML_Parse(parser, text.data(), static_cast<int>(text.size()), last) == XML_STATUS_OK;
    }
    void refuse() { XML_StopParser(parser, XML_FALSE); }
    void deliver()
    {
        data(userData, pending.data(), static_cast<int>(pending.size()));
        pending.clear();
    }

    static Implementation& of(void* self) { return *static_cast<Implementation*>(self); }
    static void XMLCALL onStart(void* self, XML_Char const* name, XML_Char const** attributes);
    static void XMLCALL onEnd(void* self, XML_Char const* name);
    static void XMLCALL onText(void* self, XML_Char const* text, int length);
};

void XMLCALL XmlParser::Implementation::onStart(void* self, XML_Char const* name, XML_Char const** attributes)
{
    Implementation& my = of(self);
    if (++my.depth == 0)
        return;
    if (my.depth > maximumDepth) {
        my.refuse();
        return;
    }
    // Text before a first child: its element has children, so white space there is layout.
    if (my.pending.find_first_not_of(blanks) != std::string::npos)
        my.deliver();
    my.pending.clear();
    my.anyElement = true;
    my.textWanted = true;
    my.start(my.userData, name, attributes);
}

void XMLCALL XmlParser::Implementation::onEnd(void* self, XML_Char const* name)
{
    Implementation& my = of(self);
    if (my.depth-- <= 0)
        return;
    if (std::exchange(my.textWanted, false))
        my.deliver();
    my.end(my.userData, name);
}

void XMLCALL XmlParser::Implementation::onText(void* self, XML_Char const* text, int length)
{
    Implementation& my = of(self);
    std::string_view const received(text, static_cast<std::size_t>(length));
    if (my.depth == 0 && received.find_first_not_of(blanks) != std::string_view::npos)
        my.refuse();
    else if (my.textWanted)
        my.pending += received;
}

bool XmlParser::Implementation::run(std::string_view text)
{
    if (text.starts_with(byteOrderMark))
        text.remove_prefix(byteOrderMark.size());
    std::size_t const declaration = declarationLength(text);
    depth = -1;
    anyElement = textWanted = false;
    pending.clear();
    XML_SetUserData(parser, this);
    XML_SetElementHandler(parser, onStart, onEnd);
    XML_SetCharacterDataHandler(parser, onText);
    return feed(text.substr(0, declaration), false) && feed("<sequence>", false) && feed(text.substr(declaration), false) &&
           feed("</sequence>", true) && anyElement;
}

XmlParser::XmlParser(void* userData, StartHandler start, EndHandler end, DataHandler data)
    : m_implementation(std::make_unique<Implementation>(Implementation{userData, start, end, data}))
{}

XmlParser::~XmlParser() = default;

bool XmlParser::parseMessage(char const* text, int length)
{
    if (length < 0 || length > maximumLength)
        return false;
    // Always UTF-8, whatever a declaration says: all texts of this system are.
    Implementation& my = *m_implementation;
    std::unique_ptr<XML_ParserStruct, decltype(&XML_ParserFree)> const parser(XML_ParserCreate("UTF-8"), &XML_ParserFree);
    if (parser == nullptr)
        return false;
    my.parser = parser.get();
    bool const done = my.run({text, static_cast<std::size_t>(length)});
    my.parser = nullptr;
    return done;
}

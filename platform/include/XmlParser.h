// An event parser for the small XML texts in which tables are stored (Extensible Markup Language 1.0).
#pragma once

#include <memory>

/// Reads one text after the other, also one within a callback of another. It hands over each element's text in one `data`
/// call and nothing between elements (no white space between tags); an element with neither text nor elements in it makes
/// one `data` call of length 0 at its end tag. It takes one document or a plain sequence of elements without a common root.
/// For one thread at a time; does not throw unless a callback does.
class XmlParser {
public:
    using StartHandler = void (*)(void* userData, char const* name, char const** attributes);
    using EndHandler = void (*)(void* userData, char const* name);
    using DataHandler = void (*)(void* userData, char const* text, int length);

    /// `userData` is borrowed and handed to each callback; `attributes` is a null-terminated list of name, value, name ...
    /// Texts handed to callbacks are valid for the call; `data` text is not null-terminated.
    XmlParser(void* userData, StartHandler start, EndHandler end, DataHandler data);
    ~XmlParser();
    XmlParser(XmlParser const&) = delete;
    XmlParser& operator=(XmlParser const&) = delete;

    /// Parses `length` bytes. False when the text is not well-formed, has a DOCTYPE, nests deeper than 16 or is longer than
    /// 1 MiB; the last three are refused at once. Callbacks made before the fault was met have been made.
    bool parseMessage(char const* text, int length);

private:
    struct Implementation;
    std::unique_ptr<Implementation> m_implementation;
};

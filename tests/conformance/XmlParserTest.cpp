// The event parser: which events a text gives, and which texts are refused.
#include "XmlParser.h"
#include "PlatformUnderTest.h"

namespace {

/// The events of texts: "+name(attribute=value)", "'text'", "-name".
class Recorder {
public:
    /// "refused" when the parser refuses the text.
    std::string read(std::string const& xml)
    {
        m_log.clear();
        return m_parser.parseMessage(xml.data(), static_cast<int>(xml.size())) ? m_log : "refused";
    }

private:
    static std::string& log(void* self) { return static_cast<Recorder*>(self)->m_log; }
    static void onStart(void* self, char const* name, char const** attributes)
    {
        log(self) += "+" + std::string(name);
        for (; *attributes != nullptr; attributes += 2)
            log(self) += "(" + std::string(attributes[0]) + "=" + attributes[1] + ")";
        if (name == std::string_view("again"))
            static_cast<Recorder*>(self)->m_parser.parseMessage("<i>1</i>", 8);
    }
    static void onEnd(void* self, char const* name) { log(self) += "-" + std::string(name); }
    static void onText(void* self, char const* text, int length)
    {
        log(self) += "'" + std::string(text, static_cast<std::size_t>(length)) + "'";
    }

    std::string m_log;
    XmlParser m_parser{this, onStart, onEnd, onText};
};

/// What a parser of the text's own finds, and one that has read all texts before it as well.
std::string events(std::string const& xml)
{
    static Recorder seasoned;
    std::string const result = Recorder().read(xml);
    EXPECT_EQ(seasoned.read(xml), result) << "depends on what was read before: " << xml.substr(0, 100);
    return result;
}

std::string repeated(int count, std::function<std::string(int)> const& part)
{
    std::string text;
    for (int i = 0; i < count; ++i)
        text += part(i);
    return text;
}

std::string nested(int depth)
{
    return repeated(depth, [](int) { return "<e>"; }) + "x" + repeated(depth, [](int) { return "</e>"; });
}

} // namespace

class XmlParserPromise : public testing::Test {
    std::unique_ptr<PlatformUnderTest> m_platform = PlatformUnderTest::make();
};

TEST_F(XmlParserPromise, GivesEachElementItsTextOnceAndNothingBetweenElements)
{
    std::pair<char const*, char const*> const cases[] = {
        {"<a>1</a>", "+a'1'-a"},
        {"<S name=\"N\"><E><A>1</A><B>true</B></E></S>", "+S(name=N)+E+A'1'-A+B'true'-B-E-S"},
        {"<?xml version=\"1.0\"?>\n<S>\n  <A>1</A>\n\t<B>2</B>\r\n</S>\n", "+S+A'1'-A+B'2'-B-S"},
        {"<A></A><B/><C>3</C>", "+A''-A+B''-B+C'3'-C"},
        {"<a><![CDATA[]]></a><b><!-- remark --></b><c> </c>", "+a''-a+b''-b+c' '-c"},
        {"<S>\n <E><A/></E> <E/></S>", "+S+E+A''-A-E+E''-E-S"},
        {"<E><A>1</A></E> \n <E><A>2</A></E>", "+E+A'1'-A-E+E+A'2'-A-E"},
        {"<a>x&lt;y&amp;z&#65;</a>", "+a'x<y&zA'-a"},
        {"<a>x<![CDATA[<y>]]>z</a>", "+a'x<y>z'-a"},
        {"<a>one\ntwo</a>", "+a'one\ntwo'-a"},
        {"<a>x<!-- remark -->y</a>", "+a'xy'-a"},
        {"<a p='1' q='2'/>", "+a(p=1)(q=2)''-a"},
        {"<?xml version='1.0' encoding='ISO-8859-1'?><a>\xC3\xB6</a>", "+a'\xC3\xB6'-a"},
        {"<a>0<again/>2</a>", "+a'0'+again+i'1'-i''-again-a"},
    };
    for (auto const& [xml, expected] : cases)
        EXPECT_EQ(events(xml), expected) << xml;
    std::string const longText(200000, 'x');
    EXPECT_EQ(events("<a>" + longText + "</a>"), "+a'" + longText + "'-a");
}

TEST_F(XmlParserPromise, RefusesWhatIsNotWellFormed)
{
    for (std::string const xml : {"<a>", "</a>", "<a></b>", "<a><b></a></b>", "<a>&unknown;</a>", "<a>1 & 2</a>", "<a b=c/>",
                                  "<a><", "<a/></root><root>", "<a>\xff</a>", "<a b='1' b='2'/>"})
        EXPECT_EQ(events(xml), "refused") << xml;
    EXPECT_EQ(events(std::string("<a>\0</a>", 8)), "refused");
}

/// What is made to exhaust a parser: refused wherever it comes, below the limit of size and beyond it.
TEST_F(XmlParserPromise, RefusesDepthAndSizeAndWhatIsMadeToExhaustIt)
{
    auto const chain = [&](int links) {
        return "<!DOCTYPE a [<!ENTITY e0 \"x\">" +
               repeated(links,
                        [](int i) { return "<!ENTITY e" + std::to_string(i + 1) + " \"&e" + std::to_string(i) + ";\">"; }) +
               "]><a>&e" + std::to_string(links) + ";</a>";
    };
    auto const opened = [&](int depth) { return repeated(depth, [](int) { return "<e>"; }); };
    auto const filled = [](std::size_t size) {
        return "<e>" + std::string(size - std::string("<e></e>").size(), 'x') + "</e>";
    };
    auto const attribute = [](std::size_t size) { return "<e a='" + std::string(size, 'x') + "'/>"; };
    constexpr std::size_t mebibyte = 1024 * 1024;
    std::pair<char const*, std::string> const cases[] = {
        {"an entity chain of 60,000 links", chain(60000)},
        {"a document type", "<!DOCTYPE a><a>1</a>"},
        {"the chain behind an element", "<a/>" + chain(20000)},
        {"a DOCTYPE inside the declaration", "<?xml version='1.0' <!DOCTYPE a [<!ENTITY e 'x'>]> ?><a>&e;</a>"},
        {"a parameter entity", "<!DOCTYPE a [<!ENTITY % p SYSTEM 'file:///etc/hostname'> %p;]><a/>"},
        {"1,000,000 nested elements", nested(1000000)},
        {"opened elements within the limit of size", opened(300000)},
        {"an attribute of 8 MiB", attribute(8 * mebibyte)},
        {"an attribute without end within the limit of size", attribute(mebibyte / 2).substr(0, mebibyte / 2)},
        {"1,000,000 attributes", "<e" + repeated(1000000, [](int i) { return " a" + std::to_string(i) + "=''"; }) + "/>"},
        {"one level too many", nested(17)},
        {"the same behind a row", "<row>1</row>" + nested(17)},
        {"one byte too many", filled(mebibyte + 1)},
        {"the end of our own root", "</sequence><sequence>" + opened(17)},
    };
    std::chrono::duration<double, std::milli> slowest{};
    for (auto const& [name, xml] : cases) {
        auto const begin = std::chrono::steady_clock::now();
        EXPECT_EQ(events(xml), "refused") << name;
        slowest = std::max<decltype(slowest)>(slowest, std::chrono::steady_clock::now() - begin);
    }
    std::printf("hostile XML: the slowest of %zu texts took %.1f ms\n", std::size(cases), slowest.count());
    EXPECT_NE(events(nested(16)), "refused");
    EXPECT_NE(events(filled(mebibyte)), "refused");
}

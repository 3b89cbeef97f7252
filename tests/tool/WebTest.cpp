// The page's server: real processes and sockets, what its document says, what it refuses, and how its events go on.
#include "JsonSchema.h"
#include "ToolRunner.h"

#include "web/Access.h"
#include "web/Routes.h"

#include <netinet/in.h>
#include <regex>
#include <sys/socket.h>

namespace ToolTest {

struct Response {
    int status = 0;
    std::string head;
    std::string body;
    nlohmann::json json() const { return nlohmann::json::parse(body, nullptr, false); }
};

struct Web : ToolRunner {
    static void SetUpTestSuite() { ::setenv("TMPDIR", "/dev/shm", 0); }

    void serve(Words const& more = {})
    {
        Words words{"web", "--listen", "127.0.0.1:0", "--token-file", (root() / "token").string()};
        words.insert(words.end(), more.begin(), more.end());
        m_server.reset();
        m_server.reset(new Process(start("web" + std::to_string(m_starts++), words)));
        ASSERT_TRUE(m_server->says("serving "));
        std::smatch parts;
        auto const out = m_server->out();
        ASSERT_TRUE(std::regex_search(out, parts, std::regex(":([0-9]+)/\\?token=(.*)\n"))) << out;
        m_port = parts[1];
        m_token = parts[2];
        m_known =
            "Host: localhost:" + m_port + "\r\nAuthorization: Bearer " + contentOf(root() / "token").substr(0, 24) + "\r\n";
    }

    int connect() const
    {
        auto const socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(static_cast<std::uint16_t>(std::stoi(m_port)));
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        timeval const limit{20, 0};
        ::setsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
        EXPECT_EQ(::connect(socket, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
        return socket;
    }

    /// Sends the bytes and reads up to a text or the end.
    std::string exchange(std::string const& bytes, std::string const& last = "\n\n\n") const
    {
        auto const socket = connect();
        [[maybe_unused]] auto const sent = ::send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        return readAll(socket, last);
    }

    Response raw(std::string const& bytes) const
    {
        auto const text = exchange(bytes);
        auto const end = std::min(text.find("\r\n\r\n"), text.size());
        return {text.size() > 12 ? std::atoi(text.c_str() + 9) : 0, text.substr(0, end),
                text.substr(std::min(end + 4, text.size()))};
    }

    /// With the program's token, "METHOD TARGET".
    Response api(std::string const& request, std::string const& body = {}) const
    {
        auto const length =
            body.empty() ? "" : "Content-Type: application/json\r\nContent-Length: " + std::to_string(body.size()) + "\r\n";
        return raw(request + " HTTP/1.1\r\n" + m_known + "Connection: close\r\n" + length + "\r\n" + body);
    }

    /// The events behind a place, up to this text.
    std::string events(std::string const& after, std::string const& last) const
    {
        return exchange("GET /api/v1/events HTTP/1.1\r\n" + m_known + "Last-Event-ID: " + after + "\r\n\r\n", last);
    }

    std::unique_ptr<Process> m_server;
    int m_starts = 0;
    std::string m_port;
    std::string m_token;
    std::string m_known; ///< the headers of a program that is let in
};

/// What docs/api.json says, with what it refers to.
struct ApiDocument {
    ApiDocument()
    {
        auto text = contentOf(MEDIADATA_SOURCE_DIR "/docs/api.json");
        text = std::regex_replace(text, std::regex("json/answers.json#"), "#");
        root = nlohmann::json::parse(text);
        root["$defs"] = nlohmann::json::parse(contentOf(MEDIADATA_SOURCE_DIR "/docs/json/answers.json"))["$defs"];
    }

    /// The operation of "METHOD TARGET".
    nlohmann::json find(std::string const& request) const
    {
        auto const method = request.substr(0, request.find(' '));
        auto const path = request.substr(method.size() + 1, request.find('?') - method.size() - 1);
        for (auto const& [pattern, operations] : root["paths"].items()) {
            auto const form = std::regex_replace(pattern, std::regex("\\{[^}]*\\}"), "[^/]+");
            for (auto const& [name, operation] : operations.items())
                if (::strcasecmp(name.c_str(), method.c_str()) == 0 && std::regex_match(path, std::regex(form)))
                    return operation;
        }
        return nullptr;
    }

    /// What is wrong with an answer to the operation.
    std::string fault(nlohmann::json const& operation, Response const& response) const
    {
        auto const& all = operation["responses"];
        auto described = all.value(std::to_string(response.status), all["default"]);
        if (described.contains("$ref"))
            described = root["components"]["responses"]["problem"];
        if (!described.contains("content"))
            return response.body;
        auto const content = described["content"].begin();
        if (response.head.find("Content-Type: " + content.key()) == std::string::npos)
            return "another type: " + response.head;
        auto rules = root;
        rules.update((*content)["schema"]);
        return JsonSchema(rules).fault(response.json());
    }

    nlohmann::json root;
};

TEST_F(Web, AnswersWhatItsDocumentSays)
{
    serve();
    ApiDocument const document;
    Words undone;
    Words documented;
    for (auto const& [path, operations] : document.root["paths"].items()) {
        for (auto const& [method, operation] : operations.items()) {
            undone.push_back(operation["operationId"]);
            auto name = method + ' ' + std::regex_replace(path, std::regex("\\{[^}]*\\}"), "{}");
            std::ranges::transform(name.begin(), name.begin() + static_cast<int>(method.size()), name.begin(), ::toupper);
            documented.push_back(std::move(name));
        }
    }
    auto routes = Tool::Web::routeNames();
    for (auto const* const other :
         {"GET /api/v1/session", "POST /api/v1/session", "DELETE /api/v1/session", "GET /api/v1/events"})
        routes.emplace_back(other);
    std::ranges::sort(routes);
    std::ranges::sort(documented);
    EXPECT_EQ(routes, documented);

    std::string const secret = "Unmistakable1";
    struct Case {
        char const* request;
        int status;
        std::string body = {};
    };
    auto const all = api("GET /api/v1/export").body;
    auto const members = [](int count) {
        std::string text = R"("0": "")";
        for (int number = 1; number < count; ++number)
            text += ", \"" + std::to_string(number) + "\": \"\"";
        return text;
    };
    for (auto const& [request, status, body] : std::vector<Case>{
             {"GET settings", 200},
             {"GET settings?pattern=no+such&changed=1", 404},
             {"GET settings?family=sound&changed=true", 200},
             {"GET settings?family=nothing", 400},
             {"GET settings/ringer-volume", 200},
             {"HEAD settings/ringer-volume", 200},
             {"GET settings/AudioSettings%2FRingerVolume", 200},
             {"GET settings/--show-secrets", 404},
             {"GET settings/61/description", 200},
             {"GET settings/61/explanation", 200},
             {"GET settings/none/explanation", 404},
             {"PUT settings/61?dryRun=1", 200, R"({"value": 8})"},
             {"PUT settings/61", 200, R"({"value": "7"})"},
             {"PUT settings/61", 422, R"({"value": 9})"},
             {"PUT settings/61", 400, R"({"value": [9]})"},
             {"PUT settings/61", 400, R"({"value": 5, "more": 1})"},
             {"PUT settings/61?dryrun=1", 400, R"({"value": 5})"},
             {"PUT settings/camera-password-1", 200, R"({"value": ")" + secret + "\"}"},
             {"PATCH settings", 200, R"({"door-opener-type-1": 1, "door-opener-address-1": "gate"})"},
             {"PUT settings/door-opener-type-1", 409, R"({"value": 0})"},
             {"PUT settings/door-opener-type-1?yes=1", 200, R"({"value": 0})"},
             {"PATCH settings", 200, R"({"61": 6, "ringer-melody": 2})"},
             {"PATCH settings?atomic=1", 422, R"({"61": 9, "ringer-melody": 3})"},
             {"PATCH settings", 400, R"({"61=3;62": 9})"},
             {"PATCH settings", 400, R"({"[61": "3,62=9]"})"},
             {"PATCH settings", 400, R"({"61": 3, "61": 4})"},
             {"PATCH settings", 400, "{" + members(3000) + "}"},
             {"PATCH settings", 413, "{" + members(100000) + "}"},
             {"PATCH settings", 400, R"([1])"},
             {"PATCH settings", 404, R"({"--show-secrets": 9})"},
             {"DELETE settings/61?dryRun=1", 200},
             {"DELETE settings/61", 200},
             {"DELETE settings/61", 400, R"({"dryRun": true})"},
             {"DELETE settings/nothing", 404},
             {"GET groups", 200},
             {"GET tables", 200},
             {"GET tables/codec", 200},
             {"GET tables/none", 400},
             {"GET history?item=ringer-volume&limit=2", 200},
             {"GET history?since=never", 400},
             {"GET history?item=&limit=2", 400},
             {"GET history/1", 200},
             {"GET history/1000", 404},
             {"POST undo?dryRun=1", 200, "{}"},
             {"POST undo", 409, R"({"number": 1})"},
             {"POST undo", 200, "{}"},
             {"GET diff", 200},
             {"POST diff", 200, all},
             {"POST diff", 400, "{}"},
             {"GET export", 200},
             {"POST import?dryRun=1", 200, all},
             {"POST import", 400, "nothing"},
             {"POST import", 400, R"({"format": "mediadata export", "version": 1, "flags": {)" + members(3000) + "}}"},
             {"POST reset?dryRun=1", 200, R"({"what": ["codec", "61"]})"},
             {"POST reset", 200, R"({"what": "audio"})"},
             {"POST reset", 400, R"({"all": true, "what": "audio"})"},
             {"GET flags", 200},
             {"PATCH flags?dryRun=1", 200, R"({"opus_test": true})"},
             {"PATCH flags", 200, R"({"force_etsi": true})"},
             {"PATCH flags", 200, R"({"force_etsi": null})"},
             {"GET device", 200},
             {"PUT device", 200, R"({"model": "top", "usb": true})"},
             {"PUT device", 400, R"({"model": "--help"})"},
             {"GET country", 200},
             {"PUT country", 200, R"({"code": "FR"})"},
             {"GET mobility", 200},
             {"POST mobility?dryRun=1", 200, R"({"type": "all"})"},
             {"POST mobility", 200, R"({"type": ""})"},
             {"GET management?item=codecSettings&item=61", 200},
             {"GET management", 400},
             {"PATCH management", 200, R"({"ringer-volume": 4})"},
             {"POST management/changed", 200, R"({"country": "IT"})"},
             {"POST management/reset", 200, "{}"},
             {"GET management/journal", 200},
             {"POST session", 200},
             {"GET session", 200},
             {"DELETE session", 204},
             {"PATCH session", 405},
             {"GET nothing", 404},
         }) {
        std::string const line = request;
        auto const target = line.substr(0, line.find(' ') + 1) + "/api/v1/" + line.substr(line.find(' ') + 1);
        auto const response = api(target, body);
        auto const operation = document.find(target);
        EXPECT_EQ(response.status, status) << line << body << response.body;
        EXPECT_EQ(response.body.find(secret), std::string::npos) << line;
        if (operation.is_null())
            continue;
        EXPECT_EQ(document.fault(operation, response), "") << line;
        std::erase(undone, operation["operationId"]);
    }
    EXPECT_EQ(undone, Words{"followChanges"}) << "no case";
    EXPECT_EQ(tool({"get", "camera-password-1", "--show-secrets"}).out, secret + "\n");
}

TEST_F(Web, LetsNobodyInWithoutLeave)
{
    serve({"--read-only", "--name", "phone.example"});
    auto const known = m_known.substr(m_known.find("Auth"));
    auto const host = "Host: 127.0.0.1:" + m_port + "\r\n";
    auto const type = std::string("Content-Type: application/json\r\n");
    struct Case {
        int status;
        std::string head;
    };
    for (auto const& [status, head] : std::vector<Case>{
             {200, "GET /api/v1/session HTTP/1.1\r\n" + host + known},
             {200, "GET /api/v1/session HTTP/1.1\r\nHost: Phone.Example:" + m_port + "\r\n" + known},
             {200, "GET /api/v1/session HTTP/1.1\r\n" + host + known + "Origin: http://127.0.0.1:" + m_port + "\r\n"},
             {401, "GET /api/v1/session HTTP/1.1\r\n" + host},
             {401, "GET /api/v1/session HTTP/1.1\r\n" + host + "Authorization: Bearer nothing\r\n"},
             {401, "GET /api/v1/session HTTP/1.1\r\n" + host + "Cookie: mediadata-" + m_port + "=\r\n"},
             {401, "GET /?token=nothing HTTP/1.1\r\n" + host},
             {421, "GET /api/v1/session HTTP/1.1\r\nHost: attacker.example:" + m_port + "\r\n" + known},
             {421, "GET / HTTP/1.1\r\nHost: attacker.example\r\n"},
             {200, "GET /api/v1/session HTTP/1.1\r\n" + host + known +
                       "Cookie: " + std::regex_replace(std::string(150, 'x'), std::regex("x"), "a=b; ") + "\r\n"},
             {431, "GET /api/v1/session HTTP/1.1\r\n" + host + known + "Cookie: a=" + std::string(8500, 'a') + "\r\n"},
             {403, "GET /api/v1/session HTTP/1.1\r\n" + host + known + "Origin: http://attacker.example\r\n"},
             {403, "GET /api/v1/session HTTP/1.1\r\n" + host + known + "Sec-Fetch-Site: same-site\r\n"},
             {403, "DELETE /api/v1/settings/61 HTTP/1.1\r\n" + host + known},
             {200, "DELETE /api/v1/settings/61?dryRun=1 HTTP/1.1\r\n" + host + known},
             {403, "GET /api/v1/management?item=codecSettings HTTP/1.1\r\n" + host + known},
             {413, "PATCH /api/v1/settings HTTP/1.1\r\n" + host + known + type + "Content-Length: 16777217\r\n"},
             {415, "PATCH /api/v1/settings HTTP/1.1\r\n" + host + known + "Content-Length: 2\r\n"},
             {400,
              "PATCH /api/v1/settings HTTP/1.1\r\n" + host + known + type + "Content-Length: 2\r\nContent-Length: 3\r\n"},
             {400, "PATCH /api/v1/settings HTTP/1.1\r\n" + host + known + type +
                       "Content-Length: 2\r\nTransfer-Encoding: chunked\r\n"},
             {400, "PATCH /api/v1/settings HTTP/1.1\r\n" + host + known + type + "Transfer-Encoding: gzip, chunked\r\n"},
             {400, "PATCH /api/v1/settings HTTP/1.1\r\n" + host + known + type + "Content-Length: -2\r\n"},
             {400, "GET /api/v1/session HTTP/1.1\r\n" + host + known + "Content-Length : 2\r\n"},
             {400, "GET /api/v1/session HTTP/1.1\r\n" + host + known + "Content-Length:\r\n 2\r\n"},
             {400, "GET /api/v1/session HTTP/1.1\r\n" + host + known + "X: y\r\n Content-Length: 2\r\n"},
             {400, "GET /api/v1/session HTTP/1.1\r\n" + host + host + known},
             {400, "GET http://127.0.0.1/api/v1/session HTTP/1.1\r\n" + host + known},
             {400, "GET /api/v1/settings/%00 HTTP/1.1\r\n" + host + known},
             {404, "GET /../../etc/passwd HTTP/1.1\r\n" + host + known},
             {404, "GET /%2e%2e%2fmain.cpp HTTP/1.1\r\n" + host + known},
             {404, "GET //index.html HTTP/1.1\r\n" + host + known},
             {405, "POST / HTTP/1.1\r\n" + host + known},
         }) {
        EXPECT_EQ(raw(head + "Connection: close\r\n\r\n").status, status) << head;
    }
    EXPECT_TRUE(m_server->says("refused a token from 127.0.0.1"));
    EXPECT_FALSE(Tool::Web::Access({.port = 80}).refuse({"GET", "/", {{"Host", "localhost"}}}));
}

TEST_F(Web, TakesATokenOnceForACookie)
{
    serve();
    auto const host = " HTTP/1.1\r\nHost: 127.0.0.1:" + m_port + "\r\nConnection: close\r\n";
    auto const first = raw("GET /?token=" + m_token + host + "\r\n");
    EXPECT_EQ(first.status, 303);
    std::smatch cookie;
    ASSERT_TRUE(std::regex_search(
        first.head, cookie, std::regex("Set-Cookie: (mediadata-" + m_port + "=[^;]+); Path=/; HttpOnly; SameSite=Strict")))
        << first.head;
    EXPECT_EQ(raw("GET /?token=" + m_token + host + "\r\n").status, 401);
    auto const session = host + "Cookie: other=1; mediadata-" + m_port + "=another's; " + cookie[1].str() + "\r\n\r\n";
    EXPECT_EQ(raw("GET /api/v1/session" + session).status, 200);
    EXPECT_EQ(raw("DELETE /api/v1/session" + session).status, 204);
    EXPECT_EQ(raw("GET /api/v1/session" + session).status, 401);
    EXPECT_TRUE(m_server->says("another browser: "));
    auto const page = raw("GET /" + host + "\r\n");
    std::smatch tag;
    ASSERT_TRUE(std::regex_search(page.head, tag, std::regex("ETag: (\"[0-9a-f]+\")"))) << page.head;
    EXPECT_NE(page.head.find("Content-Security-Policy: default-src 'none'; script-src 'self'"), std::string::npos);
    EXPECT_EQ(raw("GET /" + host + "If-None-Match: " + tag[1].str() + "\r\n\r\n").status, 304);
}

/// The values that the events tell of, and the place of the last one.
std::pair<std::string, std::string> told(std::string const& events)
{
    std::pair<std::string, std::string> result;
    for (auto const& line : split(events, '\n')) {
        if (line.starts_with("id: "))
            result.second = line.substr(4);
        if (line.starts_with("data: {\"number\"") && line.find("\"new\":") != std::string::npos)
            result.first += std::to_string(nlohmann::json::parse(line.substr(6))["new"].get<int>());
    }
    return result;
}

TEST_F(Web, EventsGoOnWhereAReaderWas)
{
    serve();
    auto const hello = told(events("", "\n\n"));
    EXPECT_EQ(api("HEAD /api/v1/events").body, "");
    auto const set = [&](int value) { tool({"set", "ringer-volume=" + std::to_string(value)}); };
    for (int const value : {1, 2})
        set(value);
    auto const [first, place] = told(events(hello.second, "\"new\":2}\n\n"));
    EXPECT_EQ(first, "12") << "out of the history";
    set(4);
    auto const live = told(events(place, "\"new\":4}\n\n"));
    EXPECT_EQ(live.first, "4");
    set(5);
    auto const [listed, last] = told(events(live.second, "\"new\":5}\n\n"));
    EXPECT_EQ(listed, "5") << "out of the list";
    EXPECT_EQ(std::count(last.begin(), last.end(), '-'), std::count(live.second.begin(), live.second.end(), '-'));
    set(6);
    serve();
    set(7);
    auto const again = events(last, "\"new\":7}\n\n");
    EXPECT_NE(again.find("\"resumed\":true"), std::string::npos) << again;
    EXPECT_EQ(told(again).first, "67") << "of another process";
    EXPECT_NE(events("9999", "\n\n").find("\"resumed\":false"), std::string::npos);
}

/// One request that means harm, of the kind `which`.
std::string hostile(std::mt19937& random, std::string const& known, int which)
{
    auto const any = [&](Words const& all) { return all[random() % all.size()]; };
    auto const head = [&](std::string const& line, std::string const& more) {
        return line + " HTTP/1.1\r\n" + known + "Content-Type: application/json\r\n" + more + "\r\n";
    };
    auto const put = "PUT /api/v1/settings/ringer-volume";
    auto const sized = [&](std::string const& body) {
        return head(put, "Content-Length: " + std::to_string(body.size()) + "\r\n") + body;
    };
    std::string const body = R"({"value": 0})";
    switch (which) {
    case 0:
        return head(put, "Content-Length: " +
                             any({"-1", "99999999999999999999", "0x9", "1 1", "+12", "12,12", "", "16777217"}) + "\r\n") +
               body;
    case 1:
        return head(put, any({"Transfer-Encoding: chunked\r\nContent-Length: 4\r\n", "Transfer-Encoding: xchunked\r\n",
                              "Transfer-Encoding : chunked\r\n", "Transfer-Encoding: chunked\r\n",
                              "X: y\r\n Content-Length: 9\r\n"})) +
               any({"0\r\n\r\n", "ffffffffffffffff\r\n", "-1\r\n", "5;" + std::string(20000, 'x') + "\r\n", "zz\r\n"}) +
               "GET /api/v1/export HTTP/1.1\r\nHost: x\r\n\r\n";
    case 2:
        return head("GET " +
                        any({"/../../../etc/passwd", "/%2e%2e/%2e%2e/etc/passwd", "/..%5c..%5cboot.ini", "/%c0%ae%c0%ae/x",
                             "/api/v1/settings/%", "/api/v1/settings/%zz", "/api/v1/../session", "/api/v1//settings", "*",
                             "/api/v1/settings/%2d%2dshow-secrets", "\\\\x\\y", "/?token=" + std::string(9000, 'a')}),
                    "");
    case 3:
        return any({"GET /" + std::string(60000, 'a') + " HTTP/1.1\r\n\r\n",
                    head("GET /", "X: " + std::string(60000, 'b') + "\r\n"),
                    head(put, "Transfer-Encoding: chunked\r\n") + "1000000\r\n" + std::string(100000, ' '),
                    std::string(70000, '\r')});
    case 4:
        return sized(any({std::string(50000, '['), R"({"value": )" + std::string(9000, '[') + "}",
                          "{\"value\": \"\xff\xfe\"}", R"({"value": 1e999})", R"({"value": 99999999999999999999})",
                          R"({"value": "\u0000"})", "{", "\xef\xbb\xbf{}"}));
    default:
        auto text = sized(body);
        for (auto count = random() % 8 + 1; count > 0; --count)
            text[random() % text.size()] = static_cast<char>(random());
        return text;
    }
}

TEST_F(Web, HasRoomForOneMore)
{
    serve();
    auto const unread = "GET /settings.js HTTP/1.1\r\nHost: localhost:" + m_port + "\r\n\r\n";
    auto const half =
        "PATCH /api/v1/settings HTTP/1.1\r\n" + m_known + "Content-Type: application/json\r\nContent-Length: 2\r\n\r\n{";
    for (auto const& [text, times] : {std::pair(unread, 2000), std::pair(half, 1)}) {
        std::vector<int> held;
        for (int count = 0; count < 80; ++count) {
            held.push_back(connect());
            ssize_t sent = 1;
            for (int time = 0; time < times && sent > 0; ++time)
                sent = ::send(held.back(), text.data(), text.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        }
        ::usleep(300000); // Until the answers fill what the sockets hold.
        EXPECT_EQ(api("GET /api/v1/settings/61").status, 200) << text;
        std::ranges::for_each(held, ::close);
    }
}

TEST_F(Web, AnswersWhileOthersMeanHarm)
{
    serve();
    auto const* const wanted = std::getenv("MEDIADATA_HOSTILE");
    auto const count = wanted ? std::atoi(wanted) : 600;
    std::mt19937 random(1);
    std::deque<int> held; // More half-open connections than are served.
    std::chrono::duration<double, std::milli> slowest{};
    auto const descriptors = [&] {
        auto const all = std::filesystem::directory_iterator("/proc/" + m_server->number() + "/fd");
        return std::distance(begin(all), end(all));
    };
    auto const before = descriptors();
    for (int number = 0; number < count; ++number) {
        auto text = hostile(random, number % 2 == 0 ? m_known : "Host: localhost\r\n", number % 6);
        bool const isHalf = number % 7 == 0;
        held.push_back(connect());
        ::send(held.back(), text.data(), isHalf ? random() % text.size() : text.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        if (!isHalf) {
            timeval const limit{0, 20000}; // Some are waited for on purpose.
            ::setsockopt(held.back(), SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
            char answer[16]{};
            [[maybe_unused]] auto const got = ::read(held.back(), answer, 12);
            EXPECT_NE(answer[9], '2') << text.substr(0, 300);
        }
        if (held.size() == 80) {
            ::close(held.front());
            held.pop_front();
        }
        if (number % 50 == 0) {
            auto const begin = std::chrono::steady_clock::now();
            EXPECT_EQ(api("GET /api/v1/settings/ringer-volume").json()["items"][0]["value"], 3);
            slowest = std::max<decltype(slowest)>(slowest, std::chrono::steady_clock::now() - begin);
        }
    }
    std::ranges::for_each(held, ::close);
    EXPECT_EQ(out("get ringer-volume"), "3\n");
    std::cout << count << " hostile requests: the slowest answer took " << slowest.count() << " ms\n";
    for (int round = 0; round < 1000 && descriptors() > before; ++round)
        ::usleep(10000);
    EXPECT_LE(descriptors(), before);
    EXPECT_EQ(m_server->end(SIGTERM), 0);
}

} // namespace ToolTest

// Bytes that come through the socket of the tool; an input that begins with no digit has a text of one message in each line.
#include "ToolUnderFuzz.h"

#include "cli/Answer.h"
#include "holder/Protocol.h"

using namespace Tool;

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    std::string const input(reinterpret_cast<char const*>(data), size);
    bool const isRaw = size > 0 && data[0] >= '0' && data[0] <= '9';
    std::string bytes = isRaw ? input : encode(Fuzz::linesOf(data, size));
    for (Message message;;) {
        auto const before = bytes;
        if (auto const state = takeMessage(bytes, message); state != Decoded::Whole) {
            EXPECT_EQ(bytes, isRaw ? before : "");
            return 0;
        }
        auto part = before.substr(0, (before.size() - bytes.size()) / 2);
        Message again;
        EXPECT_TRUE(takeMessage(part, again) == Decoded::Partial) << "what becomes a message is none yet";
        auto encoded = encode(message);
        EXPECT_TRUE(takeMessage(encoded, again) == Decoded::Whole);
        EXPECT_EQ(again, message);
        Request request;
        Request same;
        std::string error;
        if (bool const good = parseRequest(message, request, error); good) {
            EXPECT_TRUE(parseRequest(toMessage(request), same, error));
            EXPECT_TRUE(toMessage(same) == toMessage(request));
        }
        auto& tool = Fuzz::ToolUnderFuzz::ready();
        auto const reply = answer(tool.invocation, message, {});
        std::string said;
        for (auto const& each : reply.messages)
            said += each.back();
        auto const& last = reply.watcher ? Message{"end", "0"} : reply.messages.back();
        EXPECT_EQ(reply.asks ? "ask" : "end", last.front());
        tool.check(reply.asks ? 0 : std::atoi(last.back().c_str()), input, said);
    }
}

// The tool over a data directory in memory, kept from input to input. What an input changed is set back by an import of what
// was there, and the library starts anew when that fails.
#pragma once

#include "../tests/Statements.h"
#include "Fuzz.h"

#include "cli/CommandLine.h"
#include "holder/ChangeFeed.h"
#include "report/Renderers.h"
#include "workbench/Document.h"
#include "workbench/Import.h"
#include "workbench/Items.h"
#include "workbench/PastEntries.h"

#include "HostPlatform.h"

#include <sodium.h>

/// In the place of the one that takes time and memory on purpose.
extern "C" int crypto_pwhash(unsigned char* const key, unsigned long long keyLength, char const* const words,
                             unsigned long long length, unsigned char const* const salt, unsigned long long, std::size_t,
                             int)
{
    return crypto_generichash(key, static_cast<std::size_t>(keyLength), reinterpret_cast<unsigned char const*>(words),
                              length, salt, 16);
}

namespace Fuzz {

class ToolUnderFuzz {
public:
    static ToolUnderFuzz& ready()
    {
        static ToolUnderFuzz tool;
        if (tool.isChanged()) {
            Tool::importDocument(tool.workbench(), tool.m_base, {});
            if (tool.kept() != tool.m_text)
                tool.start();
            // The history would soon be so long that whoever reads it takes most of the time.
            if (++tool.m_changes % 32 == 0)
                Tool::forget(tool.workbench(), std::nullopt, true);
            tool.m_state = tool.state();
        }
        return tool;
    }
    ~ToolUnderFuzz() { invocation.workbench.reset(); }

    Tool::Workbench& workbench() { return *invocation.workbench; }

    /// Everything that an export holds.
    std::string kept() { return Tool::textOf(Tool::documentOf(workbench())); }
    std::string const& keptBefore() const { return m_text; }

    /// Something was written since ready().
    bool isChanged() const { return state() != m_state; }

    /// What holds after every command.
    static void check(int status, std::string const& input, std::string const& said)
    {
        EXPECT_GE(status, Tool::exitOk) << said;
        EXPECT_LE(status, Tool::exitStorage) << said;
        EXPECT_NE(status, Tool::exitInternal) << said;
        bool const isAskedFor = input.find("--show-secrets") != std::string::npos || input.find(secret) != std::string::npos;
        EXPECT_EQ(isAskedFor ? std::string::npos : said.find(secret), std::string::npos) << said;
        EXPECT_EQ(Statements::foreign(), "");
    }

    Tool::Invocation invocation;

private:
    static constexpr char const* secret = "Unmistakable1";

    ToolUnderFuzz()
    {
        Statements::watch();
        invocation.feed = &m_feed;
        start();
        for (auto const tag : Tool::allTags())
            if (Tool::isSecret(tag) && Tool::isKept(tag))
                m_base.settings[tag] = secret;
        Tool::importDocument(workbench(), m_base, {});
        m_base = Tool::documentOf(workbench());
        m_text = kept();
        EXPECT_NE(m_text.find(secret), std::string::npos);
        start();
        m_state = state();
    }

    void start()
    {
        invocation.workbench.reset();
        std::filesystem::remove_all(m_path + "/data");
        invocation.options.dataDirectory = m_path + "/data";
        std::string error;
        bool inUse = false;
        invocation.workbench = Tool::Workbench::open(invocation.options, error, inUse);
        EXPECT_TRUE(invocation.workbench) << error;
        Tool::importDocument(workbench(), m_base, {});
    }

    /// Names, sizes and times of the files.
    std::vector<std::string> state() const
    {
        std::vector<std::string> result;
        for (auto const& each : std::filesystem::recursive_directory_iterator(m_path))
            if (each.is_regular_file())
                result.push_back(each.path().string() + ' ' + std::to_string(each.file_size()) + ' ' +
                                 std::to_string(each.last_write_time().time_since_epoch().count()));
        return result;
    }

    [[maybe_unused]] bool const m_isPrepared = prepare(); // before there is a directory
    TemporaryDirectory const m_place;
    std::string const m_path = m_place.path();
    Tool::ChangeFeed m_feed;
    Tool::Document m_base;
    std::string m_text;
    std::vector<std::string> m_state;
    int m_changes = 0;
};

} // namespace Fuzz

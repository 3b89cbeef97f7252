// Runs the built tool in a fresh data directory and keeps what it printed.
#pragma once

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace ToolTest {

struct Answer {
    int status = -1;
    std::string out;
    std::string err;

    nlohmann::json json() const { return nlohmann::json::parse(out, nullptr, false); }
};

inline std::string slurp(std::filesystem::path const& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

class ToolRunner : public ::testing::Test {
protected:
    void SetUp() override
    {
        auto name = (std::filesystem::temp_directory_path() / "mediadata-tool.XXXXXX").string();
        ASSERT_NE(::mkdtemp(name.data()), nullptr);
        m_root = name;
    }

    void TearDown() override { std::filesystem::remove_all(m_root); }

    std::filesystem::path const& root() const { return m_root; }
    std::filesystem::path dataDirectory() const { return m_root / "telephone"; }

    void write(std::string const& name, std::string const& text) const
    {
        std::ofstream(m_root / name, std::ios::binary) << text;
    }

    /// One process of the tool with these words, its standard input out of `input`.
    Answer tool(std::vector<std::string> words, std::string const& input = {}) const
    {
        write("stdin", input);
        words.insert(words.begin(), {MEDIADATA_TOOL, "--data-dir", dataDirectory().string()});
        auto const child = ::fork();
        if (child == 0) {
            std::vector<char*> arguments;
            for (auto& word : words)
                arguments.push_back(word.data());
            arguments.push_back(nullptr);
            redirect("stdin", O_RDONLY, STDIN_FILENO);
            redirect("stdout", O_WRONLY | O_CREAT | O_TRUNC, STDOUT_FILENO);
            redirect("stderr", O_WRONLY | O_CREAT | O_TRUNC, STDERR_FILENO);
            ::execv(arguments.front(), arguments.data());
            ::_exit(127);
        }
        int status = 0;
        while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
        }
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, slurp(m_root / "stdout"), slurp(m_root / "stderr")};
    }

private:
    void redirect(char const* name, int flags, int target) const
    {
        auto const file = ::open((m_root / name).c_str(), flags, 0600);
        if (file < 0 || ::dup2(file, target) < 0)
            ::_exit(126);
        ::close(file);
    }

    std::filesystem::path m_root;
};

} // namespace ToolTest

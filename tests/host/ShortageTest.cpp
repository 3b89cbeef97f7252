// Where nothing can be written: refused with the thing's name, and what was stored before is there afterwards.
#include "HostTest.h"

#include <sched.h>
#include <sys/mount.h>

namespace fs = std::filesystem;

namespace {

struct HostShortage : HostTest {
    HostShortage()
    {
        Host::setLogSink([this](Host::LogLine const& line) { m_log = line.text; });
    }

    /// Starts and writes until something is refused; then, with room again, looks at what was stored.
    void writeUntilRefused(std::function<void()> const& makeRoom)
    {
        constexpr int enough = 300;
        std::string const value(3000, 'v');
        int stored = 0;
        bool const started = open();
        while (started && stored < enough && write("Many", std::to_string(stored), value))
            ++stored;
        EXPECT_LT(stored, enough);
        EXPECT_NE((started ? m_log : m_error).find(m_directory), std::string::npos) << m_log << m_error;
        close();
        makeRoom();
        ASSERT_TRUE(open()) << m_error;
        EXPECT_TRUE(m_platform->notices().empty()) << m_platform->notices().front();
        for (int i = 0; i < stored; ++i)
            EXPECT_EQ(read("Many", std::to_string(i)), value);
        EXPECT_TRUE(write("Many", "after", value));
        close();
    }

    std::string m_log;
};

} // namespace

TEST_F(HostShortage, FilesThatCannotGrowBeyondAnySizeLoseNothing)
{
    for (rlim_t limit = 0; limit < 150'000; limit = limit * 3 / 2 + 30) {
        limitFiles(limit);
        writeUntilRefused([] { limitFiles(); });
        fs::remove_all(m_directory);
    }
}

TEST_F(HostShortage, AFullDiskLosesNothingAndAReadOnlyOneIsRefused)
{
    fs::create_directory(m_directory);
    auto const mount = [this](unsigned long flags, char const* options) {
        return ::mount("tmpfs", m_directory.c_str(), "tmpfs", flags, options) == 0;
    };
    if (::unshare(CLONE_NEWNS) != 0 || ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
        !mount(0, "size=400k,mode=0700"))
        GTEST_SKIP() << "a small file system needs root";
    writeUntilRefused([&] { ASSERT_TRUE(mount(MS_REMOUNT, "size=4m")); });
    EXPECT_TRUE(mount(MS_REMOUNT | MS_RDONLY, nullptr));
    EXPECT_FALSE(open());
    EXPECT_NE(m_error.find("Read-only file system"), std::string::npos) << m_error;
    ::umount(m_directory.c_str());
}

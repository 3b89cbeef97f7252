// The host platform under the conformance suite, over a data directory of its own.
#include "PlatformUnderTest.h"

#include "HostPlatform.h"

#include <cstdlib>
#include <filesystem>
#include <stdexcept>

namespace {

class HostUnderTest : public PlatformUnderTest {
public:
    HostUnderTest()
    {
        m_directory = (std::filesystem::temp_directory_path() / "conformance-XXXXXX").string();
        if (mkdtemp(m_directory.data()) == nullptr)
            throw std::runtime_error("no temporary directory");
        open();
    }

    ~HostUnderTest() override
    {
        m_platform.reset();
        std::filesystem::remove_all(m_directory);
    }

    SvcRTEContext& context() override { return *m_platform; }

    void restart() override
    {
        m_platform.reset();
        open();
    }

private:
    void open()
    {
        std::string error;
        m_platform = Host::Platform::open({m_directory, std::nullopt}, error);
        if (m_platform == nullptr)
            throw std::runtime_error(error);
    }

    std::string m_directory;
    std::unique_ptr<Host::Platform> m_platform;
};

} // namespace

std::unique_ptr<PlatformUnderTest> PlatformUnderTest::make()
{
    return std::make_unique<HostUnderTest>();
}

// The host platform under the conformance suite, over a data directory of its own.
#include "PlatformUnderTest.h"

#include "../TemporaryDirectory.h"

#include "DasCrypt.h"
#include "HostPlatform.h"

namespace {

class HostUnderTest : public PlatformUnderTest {
public:
    HostUnderTest() { open(); }

    SvcRTEContext& context() override { return *m_platform; }

    void restart() override
    {
        m_platform.reset();
        open();
    }

    std::string failedEncryption(std::string const& plain) override
    {
        std::string left;
        m_platform.reset();
        EXPECT_FALSE(DasCrypt::toEncryptedText(plain, left)) << "without a data directory there is no key";
        open();
        return left;
    }

private:
    void open()
    {
        std::string error;
        m_platform = Host::Platform::open({m_directory.path(), std::nullopt}, error);
        if (m_platform == nullptr)
            throw std::runtime_error(error);
    }

    TemporaryDirectory const m_directory;
    std::unique_ptr<Host::Platform> m_platform;
};

} // namespace

std::unique_ptr<PlatformUnderTest> PlatformUnderTest::make()
{
    return std::make_unique<HostUnderTest>();
}

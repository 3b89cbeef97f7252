// The scripted platform under the conformance suite.
#include "PlatformUnderTest.h"

#include "DasCrypt.h"
#include "ScriptedPlatform.h"

namespace {

class ScriptedUnderTest : public PlatformUnderTest {
public:
    ScriptedUnderTest() { start({}); }

    SvcRTEContext& context() override { return *m_platform; }

    void restart() override
    {
        Scripted::Stored const kept = m_platform->stored();
        m_platform.reset();
        start(kept);
    }

    std::string failedEncryption(std::string const& plain) override
    {
        std::string left;
        m_platform->failCall(1);
        EXPECT_FALSE(DasCrypt::toEncryptedText(plain, left));
        return left;
    }

private:
    void start(Scripted::Stored const& stored)
    {
        m_platform = std::make_unique<Scripted::GroupingPlatform>(stored);
        m_platform->answerOrdinarily();
    }

    std::unique_ptr<Scripted::GroupingPlatform> m_platform;
};

} // namespace

std::unique_ptr<PlatformUnderTest> PlatformUnderTest::make()
{
    return std::make_unique<ScriptedUnderTest>();
}

// The platform that is being made under the conformance suite.
#include "../Platform.h"
#include "PlatformUnderTest.h"

#include <DasCrypt.h>

namespace {

class TelephoneUnderTest : public PlatformUnderTest {
public:
    SvcRTEContext& context() override { return m_telephone; }

    /// To do: end the platform, and start it over what it has stored.
    void restart() override {}

    std::string failedEncryption(std::string const& plain) override
    {
        std::string left;
        DasCrypt::toEncryptedText(plain, left);
        return left;
    }

private:
    Telephone m_telephone;
};

} // namespace

std::unique_ptr<PlatformUnderTest> PlatformUnderTest::make()
{
    return std::make_unique<TelephoneUnderTest>();
}

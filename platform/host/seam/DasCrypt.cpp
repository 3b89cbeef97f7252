// Secrets under the key of the process's platform. Both texts of a call may be one string, hence results apart.
#include "DasCrypt.h"

#include "seam/HostPlatform.h"
#include "secrets/SecretBox.h"

bool DasCrypt::toEncryptedText(std::string const& plain, std::string& stored)
{
    Host::Platform const* const platform = Host::Platform::current();
    stored = platform != nullptr ? platform->secrets().encrypt(plain) : "";
    return platform != nullptr;
}

bool DasCrypt::fromEncryptedText(std::string const& stored, std::string& plain)
{
    std::string result;
    Host::Platform const* const platform = Host::Platform::current();
    bool const done = platform != nullptr && platform->secrets().decrypt(stored, result);
    plain = std::move(result);
    return done;
}

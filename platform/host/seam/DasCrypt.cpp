// Secrets under the key of the process's platform. Both texts of a call may be one string, hence results apart.
#include "DasCrypt.h"

#include "seam/HostLog.h"
#include "seam/HostPlatform.h"
#include "secrets/SecretBox.h"

#define UNIT "DasCrypt"

bool DasCrypt::toEncryptedText(std::string const& plain, std::string& stored)
{
    Host::Platform const* const platform = Host::Platform::current();
    if (platform == nullptr) {
        HOST_LOG_ERROR(UNIT, "a secret cannot be encrypted: no data directory is open");
        stored = "failure"; // the text that no database stores
        return false;
    }
    stored = platform->secrets().encrypt(plain);
    return true;
}

bool DasCrypt::fromEncryptedText(std::string const& stored, std::string& plain)
{
    std::string result;
    Host::Platform const* const platform = Host::Platform::current();
    bool const done = platform != nullptr && platform->secrets().decrypt(stored, result);
    plain = std::move(result);
    return done;
}

// What the conformance suite needs to know of a platform. Each platform implements it once in its own adapter; the suite is
// linked with one of them and otherwise uses the seam alone.
#pragma once

#include "../Standard.h"
#include "DataStorage.h"
#include "StorageGroup.h"
#include "SvcRTEContext.h"

class PlatformUnderTest {
public:
    /// A fresh platform with an empty database; the only one until it is destroyed.
    static std::unique_ptr<PlatformUnderTest> make();
    virtual ~PlatformUnderTest() = default;

    virtual SvcRTEContext& context() = 0;

    /// Ends the platform and starts it again over what it keeps. Contexts and storages of before are gone.
    virtual void restart() = 0;

    /// Null when the platform does without.
    StorageGroup* group() { return dynamic_cast<StorageGroup*>(&context()); }

    /// What DasCrypt::toEncryptedText leaves of a text when it fails.
    virtual std::string failedEncryption(std::string const& plain) = 0;

    std::unique_ptr<DataStorage> storage(std::string const& schema)
    {
        return std::make_unique<DataStorage>(context(), schema);
    }
};

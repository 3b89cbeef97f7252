// The text and its parameters are sealed as one: a box whose parameters were changed does not open.
#include "secrets/PassphraseBox.h"

#include "secrets/Sealing.h"

#include <sodium.h>

namespace Host {

namespace {

constexpr int usualPasses = 3;
constexpr int usualMemoryKiB = 64 * 1024;

bool isSalt(std::string const& text, Bytes& salt)
{
    return fromBase64(text, salt) && salt.size() == crypto_pwhash_SALTBYTES;
}

/// False when the machine cannot, or the box's salt is none.
bool deriveKey(PassphraseBox const& box, std::string const& passphrase, SealingKey& key)
{
    Bytes salt;
    return sealingWorks() && isSalt(box.salt, salt) &&
           crypto_pwhash(key.bytes.data(), key.bytes.size(), passphrase.data(), passphrase.size(), salt.data(),
                         static_cast<unsigned long long>(box.passes), static_cast<std::size_t>(box.memoryKiB) * 1024,
                         crypto_pwhash_ALG_ARGON2ID13) == 0;
}

/// What is authenticated with the sealed text.
std::string parametersOf(PassphraseBox const& box)
{
    return "argon2id13 " + std::to_string(box.passes) + " " + std::to_string(box.memoryKiB) + " " + box.salt;
}

} // namespace

bool PassphraseBox::isSane() const
{
    Bytes bytes;
    return passes >= 1 && passes <= mostPasses && memoryKiB >= leastMemoryKiB && memoryKiB <= mostMemoryKiB &&
           isSalt(salt, bytes);
}

bool PassphraseBox::seal(std::string const& plain, std::string const& passphrase)
{
    if (!sealingWorks())
        return false;
    passes = usualPasses;
    memoryKiB = usualMemoryKiB;
    salt = toBase64(randomBytes(crypto_pwhash_SALTBYTES));
    SealingKey key;
    if (!deriveKey(*this, passphrase, key))
        return false;
    sealed = toBase64(Host::seal(plain, parametersOf(*this), key));
    return true;
}

bool PassphraseBox::open(std::string const& passphrase, std::string& plain) const
{
    plain.clear();
    Bytes bytes;
    SealingKey key;
    // A text too short to be one costs no derivation.
    return isSane() && fromBase64(sealed, bytes) && bytes.size() >= sealingSize && deriveKey(*this, passphrase, key) &&
           unseal(bytes, parametersOf(*this), key, plain);
}

} // namespace Host

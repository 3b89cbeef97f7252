#include "secrets/PassphraseBox.h"

#include <sodium.h>

#include <vector>

namespace Host {

namespace {

constexpr int usualPasses = 3;
constexpr int usualMemoryKiB = 64 * 1024;
constexpr int mostPasses = 8; // What comes from elsewhere must not keep the machine busy for a minute.
constexpr int leastMemoryKiB = 8;
constexpr int mostMemoryKiB = 256 * 1024;
constexpr std::size_t nonceSize = crypto_aead_xchacha20poly1305_ietf_NPUBBYTES;
constexpr std::size_t tagSize = crypto_aead_xchacha20poly1305_ietf_ABYTES;
constexpr int base64 = sodium_base64_VARIANT_URLSAFE_NO_PADDING;

using Bytes = std::vector<unsigned char>;

std::string encoded(Bytes const& bytes)
{
    std::string text(sodium_base64_encoded_len(bytes.size(), base64), '\0');
    sodium_bin2base64(text.data(), text.size(), bytes.data(), bytes.size(), base64);
    text.pop_back(); // the terminating zero
    return text;
}

bool decoded(std::string const& text, Bytes& bytes)
{
    bytes.resize(text.size());
    std::size_t length = 0;
    if (sodium_base642bin(bytes.data(), bytes.size(), text.data(), text.size(), nullptr, &length, nullptr, base64) != 0)
        return false;
    bytes.resize(length);
    return encoded(bytes) == text; // only the one text that encoded() makes of these bytes
}

/// The key of a box, wiped when it goes.
class Key {
public:
    Key(PassphraseBox const& box, std::string const& passphrase)
    {
        Bytes salt;
        m_good = sodium_init() >= 0 && decoded(box.salt, salt) && salt.size() == crypto_pwhash_SALTBYTES &&
                 crypto_pwhash(m_bytes, sizeof m_bytes, passphrase.data(), passphrase.size(), salt.data(),
                               static_cast<unsigned long long>(box.passes), static_cast<std::size_t>(box.memoryKiB) * 1024,
                               crypto_pwhash_ALG_ARGON2ID13) == 0;
    }
    ~Key() { sodium_memzero(m_bytes, sizeof m_bytes); }
    Key(Key const&) = delete;
    Key& operator=(Key const&) = delete;

    explicit operator bool() const { return m_good; }
    unsigned char const* bytes() const { return m_bytes; }

private:
    unsigned char m_bytes[crypto_aead_xchacha20poly1305_ietf_KEYBYTES]{};
    bool m_good;
};

/// What is authenticated with the sealed text.
std::string parametersOf(PassphraseBox const& box)
{
    return "argon2id13 " + std::to_string(box.passes) + " " + std::to_string(box.memoryKiB) + " " + box.salt;
}

unsigned char const* bytesOf(std::string const& text)
{
    return reinterpret_cast<unsigned char const*>(text.data());
}

} // namespace

bool PassphraseBox::isSane() const
{
    Bytes bytes;
    return passes >= 1 && passes <= mostPasses && memoryKiB >= leastMemoryKiB && memoryKiB <= mostMemoryKiB &&
           decoded(salt, bytes) && bytes.size() == crypto_pwhash_SALTBYTES;
}

bool PassphraseBox::seal(std::string const& plain, std::string const& passphrase)
{
    if (sodium_init() < 0)
        return false;
    passes = usualPasses;
    memoryKiB = usualMemoryKiB;
    Bytes fresh(crypto_pwhash_SALTBYTES);
    randombytes_buf(fresh.data(), fresh.size());
    salt = encoded(fresh);
    Key const key(*this, passphrase);
    if (!key)
        return false;
    Bytes bytes(nonceSize + plain.size() + tagSize);
    randombytes_buf(bytes.data(), nonceSize);
    auto const parameters = parametersOf(*this);
    crypto_aead_xchacha20poly1305_ietf_encrypt(bytes.data() + nonceSize, nullptr, bytesOf(plain), plain.size(),
                                               bytesOf(parameters), parameters.size(), nullptr, bytes.data(), key.bytes());
    sealed = encoded(bytes);
    return true;
}

bool PassphraseBox::open(std::string const& passphrase, std::string& plain) const
{
    plain.clear();
    Bytes bytes;
    if (!isSane() || !decoded(sealed, bytes) || bytes.size() < nonceSize + tagSize)
        return false;
    Key const key(*this, passphrase);
    std::string text(bytes.size() - nonceSize - tagSize, '\0');
    auto const parameters = parametersOf(*this);
    if (!key || crypto_aead_xchacha20poly1305_ietf_decrypt(
                    reinterpret_cast<unsigned char*>(text.data()), nullptr, nullptr, bytes.data() + nonceSize,
                    bytes.size() - nonceSize, bytesOf(parameters), parameters.size(), bytes.data(), key.bytes()) != 0)
        return false;
    plain = std::move(text);
    return true;
}

} // namespace Host

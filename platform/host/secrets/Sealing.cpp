// The ciphers are libsodium's. Encrypting cannot fail: there is nothing in it that depends on the machine.
#include "secrets/Sealing.h"

#include <sodium.h>

namespace Host {

namespace {

constexpr std::size_t nonceSize = crypto_aead_xchacha20poly1305_ietf_NPUBBYTES;
constexpr int base64 = sodium_base64_VARIANT_URLSAFE_NO_PADDING;

static_assert(SealingKey::size == crypto_aead_xchacha20poly1305_ietf_KEYBYTES);
static_assert(sealingSize == nonceSize + crypto_aead_xchacha20poly1305_ietf_ABYTES);

unsigned char const* bytesOf(std::string_view text)
{
    return reinterpret_cast<unsigned char const*>(text.data());
}

} // namespace

SealingKey::~SealingKey()
{
    sodium_memzero(bytes.data(), bytes.size());
}

bool sealingWorks()
{
    return sodium_init() >= 0;
}

Bytes randomBytes(std::size_t count)
{
    Bytes bytes(count);
    randombytes_buf(bytes.data(), bytes.size());
    return bytes;
}

Bytes seal(std::string_view plain, std::string_view context, SealingKey const& key)
{
    Bytes sealed = randomBytes(nonceSize);
    sealed.resize(plain.size() + sealingSize);
    crypto_aead_xchacha20poly1305_ietf_encrypt(sealed.data() + nonceSize, nullptr, bytesOf(plain), plain.size(),
                                               bytesOf(context), context.size(), nullptr, sealed.data(), key.bytes.data());
    return sealed;
}

bool unseal(Bytes const& sealed, std::string_view context, SealingKey const& key, std::string& plain)
{
    plain.clear();
    if (sealed.size() < sealingSize)
        return false;
    std::string opened(sealed.size() - sealingSize, '\0');
    if (crypto_aead_xchacha20poly1305_ietf_decrypt(reinterpret_cast<unsigned char*>(opened.data()), nullptr, nullptr,
                                                   sealed.data() + nonceSize, sealed.size() - nonceSize, bytesOf(context),
                                                   context.size(), sealed.data(), key.bytes.data()) != 0)
        return false;
    plain = std::move(opened);
    return true;
}

std::string toBase64(Bytes const& bytes)
{
    std::string text(sodium_base64_encoded_len(bytes.size(), base64), '\0');
    sodium_bin2base64(text.data(), text.size(), bytes.data(), bytes.size(), base64);
    text.pop_back(); // the terminating zero
    return text;
}

bool fromBase64(std::string_view text, Bytes& bytes)
{
    bytes.resize(text.size());
    std::size_t length = 0;
    if (sodium_base642bin(bytes.data(), bytes.size(), text.data(), text.size(), nullptr, &length, nullptr, base64) != 0)
        return false;
    bytes.resize(length);
    return toBase64(bytes) == text; // the decoder lets some foreign characters pass
}

} // namespace Host

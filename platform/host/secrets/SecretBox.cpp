// The encrypted form: the prefix, then base64 of nonce, cipher text and tag. The prefix is authenticated with the rest.
#include "secrets/SecretBox.h"

#include "Files.h"
#include "seam/HostLog.h"

#include <sodium.h>

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <vector>

#define UNIT "SecretBox"

namespace Host {

namespace {

constexpr char const* keyName = "secret.key";
constexpr std::size_t keySize = crypto_aead_xchacha20poly1305_ietf_KEYBYTES;
constexpr std::size_t nonceSize = crypto_aead_xchacha20poly1305_ietf_NPUBBYTES;
constexpr std::size_t tagSize = crypto_aead_xchacha20poly1305_ietf_ABYTES;
constexpr int base64 = sodium_base64_VARIANT_URLSAFE_NO_PADDING;

using Bytes = std::vector<unsigned char>;

std::string encoded(unsigned char const* data, std::size_t size)
{
    std::string text(sodium_base64_encoded_len(size, base64), '\0');
    sodium_bin2base64(text.data(), text.size(), data, size, base64);
    text.pop_back(); // the terminating zero
    return text;
}

unsigned char const* bytes(std::string_view text)
{
    return reinterpret_cast<unsigned char const*>(text.data());
}

} // namespace

SecretBox::~SecretBox()
{
    sodium_memzero(m_key.data(), m_key.size());
}

bool SecretBox::open(DataDirectory const& directory, bool& made, std::string& error)
{
    made = false;
    if (sodium_init() < 0) {
        error = "encryption is not available on this machine";
        return false;
    }
    DataDirectory::State const state = directory.look(keyName, error);
    if (state == DataDirectory::State::refused)
        return false;
    if (state == DataDirectory::State::absent) {
        m_key.resize(keySize);
        randombytes_buf(m_key.data(), m_key.size());
        made = directory.replaceFile(keyName, m_key, error);
        return made;
    }
    FileDescriptor const file = directory.openFile(keyName, O_RDONLY, error);
    if (!file)
        return false;
    std::array<char, keySize + 1> content{};
    ssize_t const length = ::read(file.get(), content.data(), content.size());
    bool const isKey = length == static_cast<ssize_t>(keySize);
    if (isKey)
        m_key.assign(content.data(), keySize);
    else
        error = directory.pathOf(keyName) + " is damaged: it does not hold a key of " + std::to_string(keySize) +
                " bytes. Put the right file back, or remove it and set the secrets again";
    sodium_memzero(content.data(), content.size());
    return isKey;
}

bool SecretBox::encrypt(std::string const& plain, std::string& stored) const
{
    stored.clear();
    if (m_key.size() != keySize)
        return false;
    // There is nothing to hide, and a reader takes an empty decrypted text for none at all.
    if (plain.empty())
        return true;
    Bytes sealed(nonceSize + plain.size() + tagSize);
    randombytes_buf(sealed.data(), nonceSize);
    if (crypto_aead_xchacha20poly1305_ietf_encrypt(sealed.data() + nonceSize, nullptr, bytes(plain), plain.size(),
                                                   bytes(prefix), prefix.size(), nullptr, sealed.data(), bytes(m_key)) != 0)
        return false;
    stored = std::string(prefix) + encoded(sealed.data(), sealed.size());
    return true;
}

bool SecretBox::decrypt(std::string const& stored, std::string& plain) const
{
    plain.clear();
    if (stored.empty())
        return m_key.size() == keySize;
    if (m_key.size() != keySize || !stored.starts_with(prefix))
        return false;
    std::string_view const text = std::string_view(stored).substr(prefix.size());
    Bytes sealed(text.size());
    std::size_t length = 0;
    // Only the one text that encrypt() makes of these bytes counts: the decoder lets some foreign characters pass.
    if (sodium_base642bin(sealed.data(), sealed.size(), text.data(), text.size(), nullptr, &length, nullptr, base64) != 0 ||
        length < nonceSize + tagSize || encoded(sealed.data(), length) != text)
        return false;
    std::string opened(length - nonceSize - tagSize, '\0');
    if (crypto_aead_xchacha20poly1305_ietf_decrypt(reinterpret_cast<unsigned char*>(opened.data()), nullptr, nullptr,
                                                   sealed.data() + nonceSize, length - nonceSize, bytes(prefix),
                                                   prefix.size(), sealed.data(), bytes(m_key)) != 0) {
        if (!m_told.test_and_set())
            HOST_LOG_ERROR(UNIT, std::string("a secret cannot be read: it was altered, or encrypted under another key"));
        return false;
    }
    plain = std::move(opened);
    return true;
}

} // namespace Host

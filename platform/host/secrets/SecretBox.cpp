// The encrypted form: the prefix, then base64 of nonce, cipher text and tag. The prefix is authenticated with the rest.
#include "secrets/SecretBox.h"

#include "Files.h"
#include "seam/HostLog.h"

#include <sodium.h>

#include <fcntl.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <system_error>

#define UNIT "SecretBox"

namespace Host {

namespace {

constexpr char const* keyName = "secret.key";

/// Its name is durable when the database is open, which syncs the directory: no secret is stored before.
bool makeKey(DataDirectory const& directory, SealingKey& key, std::string& error)
{
    randombytes_buf(key.bytes.data(), key.bytes.size());
    std::string content(key.bytes.begin(), key.bytes.end());
    bool const kept = directory.replaceFile(keyName, content, error);
    sodium_memzero(content.data(), content.size());
    return kept;
}

bool readKey(DataDirectory const& directory, SealingKey& key, std::string& error)
{
    FileDescriptor const file = directory.openFile(keyName, O_RDONLY, error);
    if (!file)
        return false;
    std::array<char, SealingKey::size + 1> content{}; // one more, to see whether the file goes on
    auto const size = readUpTo(file.get(), content.data(), content.size());
    int const code = errno;
    bool const isKey = size == SealingKey::size;
    if (isKey)
        std::copy_n(content.begin(), SealingKey::size, key.bytes.begin());
    else if (!size)
        error = directory.pathOf(keyName) + ": cannot be read: " + std::generic_category().message(code);
    else
        error = directory.pathOf(keyName) + " is damaged: it does not hold a key of " + std::to_string(SealingKey::size) +
                " bytes. Put the right file back, or remove it and set the secrets again";
    sodium_memzero(content.data(), content.size());
    return isKey;
}

} // namespace

std::unique_ptr<SecretBox> SecretBox::open(DataDirectory const& directory, bool& made, std::string& error)
{
    made = false;
    if (!sealingWorks()) {
        error = "encryption is not available on this machine";
        return nullptr;
    }
    std::unique_ptr<SecretBox> box(new SecretBox);
    switch (directory.look(keyName, error)) {
    case DataDirectory::State::refused:
        return nullptr;
    case DataDirectory::State::absent:
        made = makeKey(directory, box->m_key, error);
        return made ? std::move(box) : nullptr;
    case DataDirectory::State::present:
        break;
    }
    return readKey(directory, box->m_key, error) ? std::move(box) : nullptr;
}

std::string SecretBox::encrypt(std::string const& plain) const
{
    // Nothing is to be hidden, and the library takes a secret that decrypts to nothing for one that is not encrypted.
    if (plain.empty())
        return "";
    Threads::Lock const lock(m_mutex);
    std::string said;
    auto const found =
        std::ranges::find_if(m_reused, [&](std::string const& stored) { return decrypt(stored, said) && said == plain; });
    if (found == m_reused.end())
        return std::string(prefix) + toBase64(seal(plain, prefix, m_key));
    std::string stored = std::move(*found);
    m_reused.erase(found);
    return stored;
}

void SecretBox::reuse(std::vector<std::string> stored) const
{
    Threads::Lock const lock(m_mutex);
    m_reused = std::move(stored);
}

bool SecretBox::isEncrypted(std::string_view text)
{
    Bytes sealed;
    return text.starts_with(prefix) && fromBase64(text.substr(prefix.size()), sealed) && sealed.size() >= sealingSize;
}

bool SecretBox::decrypt(std::string const& stored, std::string& plain) const
{
    plain.clear();
    if (stored.empty())
        return true;
    Bytes sealed;
    if (!stored.starts_with(prefix) || !fromBase64(std::string_view(stored).substr(prefix.size()), sealed) ||
        sealed.size() < sealingSize)
        return false;
    if (unseal(sealed, prefix, m_key, plain))
        return true;
    if (!m_told.test_and_set())
        HOST_LOG_ERROR(UNIT, std::string("a secret cannot be read: it was altered, or encrypted under another key"));
    return false;
}

} // namespace Host

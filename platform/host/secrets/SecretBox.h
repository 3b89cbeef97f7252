// Encrypts the secrets that lie in the database, with XChaCha20-Poly1305 under a key file of its own.
#pragma once

#include "AnnotatedMutex.h"
#include "secrets/Sealing.h"

#include <atomic>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace Host {

class DataDirectory;

/// For any thread.
class SecretBox {
public:
    /// What every encrypted text begins with: the version of the form.
    static constexpr std::string_view prefix = "x1:";

    /// Reads the key file, or makes it when there is none (then `made` is true). Null with `error` when the file is not a
    /// plain private file of this user or not a key.
    static std::unique_ptr<SecretBox> open(DataDirectory const& directory, bool& made, std::string& error);

    /// The printable encrypted form; an empty text stays empty.
    std::string encrypt(std::string const& plain) const;

    /// Has encrypt() answer these texts, which it once made, again: each once, for what it says.
    void reuse(std::vector<std::string> stored) const;

    /// False, and `plain` empty, unless encrypt() made the text under this key and nobody altered it since.
    bool decrypt(std::string const& stored, std::string& plain) const;

    /// The text has the form of what encrypt() makes, under whatever key.
    static bool isEncrypted(std::string_view text);

private:
    SecretBox() = default;

    SealingKey m_key; // does not change
    mutable Threads::Mutex m_mutex;
    mutable std::vector<std::string> m_reused MEDIADATA_GUARDED_BY(m_mutex);
    mutable std::atomic_flag m_told; ///< that a secret could not be decrypted
};

} // namespace Host

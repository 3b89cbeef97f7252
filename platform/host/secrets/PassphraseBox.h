// A text sealed under a passphrase, to be kept outside the data directory: the key is derived with Argon2id, the text encrypted
// with XChaCha20-Poly1305. The parameters travel with the text and are authenticated with it.
#pragma once

#include <string>

namespace Host {

struct PassphraseBox {
    // What comes from elsewhere must not keep the machine busy for a minute.
    static constexpr int mostPasses = 8;
    static constexpr int leastMemoryKiB = 8;
    static constexpr int mostMemoryKiB = 256 * 1024;

    int passes = 0;     ///< Argon2id: how often the memory is gone over
    int memoryKiB = 0;  ///< Argon2id: how much memory
    std::string salt;   ///< base64
    std::string sealed; ///< base64 of nonce, cipher text and tag

    /// Seals `plain` with a fresh salt. False when the machine cannot (no memory).
    bool seal(std::string const& plain, std::string const& passphrase);

    /// False, and `plain` empty, for another passphrase, a box that was altered, and one that is not sane.
    bool open(std::string const& passphrase, std::string& plain) const;

    /// The parameters are within the limits above (one pass at the least), and the salt is one.
    bool isSane() const;
};

} // namespace Host

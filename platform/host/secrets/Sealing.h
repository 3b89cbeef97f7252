// What both boxes are made of: bytes sealed under a key with XChaCha20-Poly1305 and a random nonce, and bytes as text.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace Host {

using Bytes = std::vector<unsigned char>;

/// A key, wiped when it goes. Whoever has one fills it.
struct SealingKey {
    static constexpr std::size_t size = 32;

    SealingKey() = default;
    ~SealingKey();
    SealingKey(SealingKey const&) = delete;
    SealingKey& operator=(SealingKey const&) = delete;

    std::array<unsigned char, size> bytes{};
};

/// The random generator and the ciphers can be used; to be asked before anything else here. False: not on this machine.
bool sealingWorks();

Bytes randomBytes(std::size_t count);

/// How many bytes a sealed text has more than the plain one: the nonce before, the tag behind.
inline constexpr std::size_t sealingSize = 24 + 16;

/// Nonce, cipher text and tag. `context` is authenticated with them.
Bytes seal(std::string_view plain, std::string_view context, SealingKey const& key);

/// False, and `plain` empty, unless seal() made the bytes with this context and key and nobody altered them since.
bool unseal(Bytes const& sealed, std::string_view context, SealingKey const& key, std::string& plain);

/// Base64 for URLs, without padding.
std::string toBase64(Bytes const& bytes);

/// False for everything but what toBase64() makes.
bool fromBase64(std::string_view text, Bytes& bytes);

} // namespace Host

// Encryption of secret values on their way to and from the configuration database.
#pragma once

#include <string>

/// Stateless for the caller; safe from any thread. The library calls both with the cache's lock held.
class DasCrypt {
public:
    /// Encrypts `plain` into a printable text. False when no key can be had: `stored` is then a mark that
    /// DataStorage::setDataItem refuses, so that whoever writes it all the same keeps the secret of before. Never plain text.
    static bool toEncryptedText(std::string const& plain, std::string& stored);

    /// Recovers the plain text. False when `stored` was not made by `toEncryptedText` under this device's key or was altered
    /// since; `plain` is then empty.
    static bool fromEncryptedText(std::string const& stored, std::string& plain);
};

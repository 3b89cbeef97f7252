// What rows of settings.def say of their items beside type, default and checks: secrets, audio settings that are reset together,
// words of the flag file.
#pragma once

#include "Data/DataTypes.h"

#include <span>

namespace Data::Tables {

/// A password or PIN.
bool isSecret(eDataTag tag);

/// What a reset of the user's audio settings takes back, in the order in which it is listed.
std::span<eDataTag const> audioResetTags();

struct FlagWord {
    char const* word;
    eDataTag tag;
};

/// The words of the flag file in the order of their tags.
std::span<FlagWord const> flagWords();

/// The word that sets an item, null for items that the flag file does not set.
char const* flagWordOf(eDataTag tag);

} // namespace Data::Tables

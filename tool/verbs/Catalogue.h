// The catalogue as people and programs read it: every column of every row, in three formats: `catalogue`.
#pragma once

#include "verbs/Verb.h"

#include "Data/DataItemBuilder.h"

namespace Tool::Verbs::Catalogue {

struct Options {
    std::string format = "tsv"; ///< tsv, json or markdown
    General general;
};

/// "IntRange(1,8)+StringAllDigits", the steps in the record's order; "-" without steps.
std::string chainText(Data::DataCache::DataItemBuilder::ValidatorAndParams const* chain);

/// One section "catalogue" with the rows of all tags from 0 to 806.
Report run(Options const& options);
Verb verb();

} // namespace Tool::Verbs::Catalogue

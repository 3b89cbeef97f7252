// The catalogue as people and programs read it: every column of every row, in three formats.
#pragma once

#include "report/Report.h"

#include "Data/DataItemBuilder.h"

#include <string>

namespace Tool {

enum class CatalogueFormat { Tsv, Objects, Markdown };

/// "IntRange(1,8)+StringAllDigits", the steps in the record's order; "-" without steps.
std::string chainText(Data::DataCache::DataItemBuilder::ValidatorAndParams const* chain);

/// One section "catalogue" with the rows of all tags from 0 to 806.
Report catalogue(CatalogueFormat format);

} // namespace Tool

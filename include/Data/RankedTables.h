// Sorting of ranked tables: lists of choices of which each row has a rank, 1 being the most preferred.
#pragma once

#include "Data/DataTypes.h"
#include "Data/Export.h"

#include <vector>

namespace Data::Utils {

/// Exchanges the texts of the cells column + a and column + b; does nothing when either is missing.
MEDIADATA_EXPORT void swapIndexedValues(DataTagValue_t& values, eDataTag column, unsigned int a, unsigned int b);

/// Orders `count` rows so that row i holds rank i + 1, moving every column that `columns` names by its first tag. Bounded for
/// duplicate and missing ranks; ranks outside the table are the caller's business and swap whatever cells lie there.
MEDIADATA_EXPORT void sortTableByRank(DataTagValue_t& values, int count, eDataTag firstRankTag, eDataTag lastRankTag,
                                      std::vector<eDataTag>& columns);

/// The packet sizes and hardware flags of codecs stay in their rows; those of the other two tables travel with the rank.
MEDIADATA_EXPORT void sortCodecsByRank(DataTagValue_t& values, int count);
MEDIADATA_EXPORT void sortSRTPEncryptionsByRank(DataTagValue_t& values, int count);
MEDIADATA_EXPORT void sortHeadsetsByRank(DataTagValue_t& values, int count);

} // namespace Data::Utils

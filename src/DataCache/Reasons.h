// Why a value was not taken, where no validator says it.
#pragma once

namespace Data {

constexpr char const* refusedByTable = "the table's check refused it";
constexpr char const* notStored = "the database did not store it";
constexpr char const* notYetStored = "it is not stored before the next change";
constexpr char const* notTaken = "the management service did not take it";

} // namespace Data

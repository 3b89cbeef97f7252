// What becomes of a value that is to be set.
#pragma once

#include "Data/DataTypes.h"

#include <string>
#include <utility>

namespace Media {

class [[nodiscard]] Result {
public:
    enum Kind {
        Ok,      ///< it is the setting's value, and as durable as MediaDataCache::setData says
        Refused, ///< by its validator or by the check of its table; the old value stands
        NotStored, ///< the database did not take it, and the old value stands; or the management service did not, and it stays;
                   ///< or its table waits for the next change, with which it is stored
        Absent     ///< there is no cache
    };

    Result() = default;
    Result(Kind kind, std::string reason) : m_kind(kind), m_reason(std::move(reason)) {}

    bool ok() const { return m_kind == Ok; }
    Kind kind() const { return m_kind; }
    /// The validator's text, or a sentence; empty when it is ok.
    std::string const& reason() const { return m_reason; }

private:
    Kind m_kind = Ok;
    std::string m_reason;
};

/// A setting of a batch that was not taken.
struct Refusal {
    Data::eDataTag tag = Data::eDataTagNone;
    Result::Kind kind = Result::Refused;
    std::string reason;
};

} // namespace Media

// Validators: links of a chain that each check one rule of a value and say exactly why they refuse it.
#pragma once

#include "Data/Export.h"

#include <memory>
#include <string>
#include <vector>

namespace Data {

class DataObject;

/// One link. Owns its successor. Immutable, so that a chain may be used from any thread that holds the item's owner lock.
/// `validate` answers true when this link and all after it accept the value; on a refusal `reason` is overwritten, otherwise
/// it is left as it was. The overloads of the base are traps for a validator applied to the wrong type: they print one line to
/// standard output and answer false.
class MEDIADATA_EXPORT DataValidator {
public:
    explicit DataValidator(DataValidator* next);
    virtual ~DataValidator();
    DataValidator(DataValidator const&) = delete;
    DataValidator& operator=(DataValidator const&) = delete;

    virtual bool validate(bool const& value, std::string& reason) const;
    virtual bool validate(int const& value, std::string& reason) const;
    virtual bool validate(std::string const& value, std::string& reason) const;
    virtual bool validate(std::vector<DataObject*> const& value, std::string& reason) const;

protected:
    /// The rest of the chain's verdict; true at its end.
    bool checkNextValidator(bool const& value, std::string& reason) const;
    bool checkNextValidator(int const& value, std::string& reason) const;
    bool checkNextValidator(std::string const& value, std::string& reason) const;
    bool checkNextValidator(std::vector<DataObject*> const& value, std::string& reason) const;

private:
    template <class T> MEDIADATA_HIDDEN bool checkNext(T const& value, std::string& reason) const;

    std::unique_ptr<DataValidator> m_next;
};

/// Passes when minimum <= value <= maximum.
class MEDIADATA_EXPORT DataValidatorIntRange : public DataValidator {
public:
    DataValidatorIntRange(int first, int second, DataValidator* next);
    using DataValidator::validate;
    bool validate(int const& value, std::string& reason) const override;

private:
    int m_first;
    int m_second;
};

/// Passes when the value is even and minimum <= value <= maximum (the RTP port of a pair, RFC 3550 section 11).
class MEDIADATA_EXPORT DataValidatorBasePort : public DataValidator {
public:
    DataValidatorBasePort(int first, int second, DataValidator* next);
    using DataValidator::validate;
    bool validate(int const& value, std::string& reason) const override;

private:
    int m_first;
    int m_second;
};

/// Passes when value < first and value > second: both must hold, so that only values strictly between the second and the
/// first parameter are admitted. That is required, odd as it looks.
class MEDIADATA_EXPORT DataValidatorIntRangeNot : public DataValidator {
public:
    DataValidatorIntRangeNot(int first, int second, DataValidator* next);
    using DataValidator::validate;
    bool validate(int const& value, std::string& reason) const override;

private:
    int m_first;
    int m_second;
};

/// Passes when no character is outside "0123456789"; the empty text passes.
class MEDIADATA_EXPORT DataValidatorStringAllDigits : public DataValidator {
public:
    explicit DataValidatorStringAllDigits(DataValidator* next);
    using DataValidator::validate;
    bool validate(std::string const& value, std::string& reason) const override;
};

/// Passes without space, tab, line feed, vertical tab, form feed and carriage return.
class MEDIADATA_EXPORT DataValidatorStringNoWhitespace : public DataValidator {
public:
    explicit DataValidatorStringNoWhitespace(DataValidator* next);
    using DataValidator::validate;
    bool validate(std::string const& value, std::string& reason) const override;
};

/// Passes for "true" and "false" in any letter case.
class MEDIADATA_EXPORT DataValidatorStringBoolean : public DataValidator {
public:
    explicit DataValidatorStringBoolean(DataValidator* next);
    using DataValidator::validate;
    bool validate(std::string const& value, std::string& reason) const override;
};

/// Passes when minimum <= length in bytes <= maximum.
class MEDIADATA_EXPORT DataValidatorStringLength : public DataValidator {
public:
    DataValidatorStringLength(int first, int second, DataValidator* next);
    using DataValidator::validate;
    bool validate(std::string const& value, std::string& reason) const override;

private:
    int m_first;
    int m_second;
};

/// Passes for a non-empty text equal to one of a list. The list is cut at every occurrence of the separator's first
/// character; adjacent separators keep an empty piece, one at the very end adds none.
class MEDIADATA_EXPORT DataValidatorStringsAllowed : public DataValidator {
public:
    DataValidatorStringsAllowed(std::string const& list, std::string const& separator, DataValidator* next);
    using DataValidator::validate;
    bool validate(std::string const& value, std::string& reason) const override;

private:
    std::vector<std::string> m_allowed;
};

} // namespace Data

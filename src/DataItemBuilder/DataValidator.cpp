// The validators: one rule each, the refusal texts, and the walk along a chain.
#include "Data/DataValidator.h"

#include <algorithm>
#include <cctype>
#include <cstdio>

#include "ClientUtils.h"

namespace Data {

namespace {

/// Says that a validator was put before a value of another type. Leaves the reason alone.
bool refuseType(char const* type)
{
    std::printf("!ERR wrong validator type ; %s\n", type);
    return false;
}

std::string provided(std::string const& value)
{
    return "The provided value '" + value + "'";
}

bool refuseRange(int value, int minimum, int maximum, std::string& reason)
{
    reason = provided(ClientUtils::itos(value)) + " is not in valid range " + ClientUtils::itos(minimum) + ".." +
             ClientUtils::itos(maximum);
    return false;
}

} // namespace

DataValidator::DataValidator(DataValidator* next) : m_next(next) {}

DataValidator::~DataValidator() = default;

bool DataValidator::validate(bool const&, std::string&) const
{
    return refuseType("bool");
}

bool DataValidator::validate(int const&, std::string&) const
{
    return refuseType("int");
}

bool DataValidator::validate(std::string const&, std::string&) const
{
    return refuseType("string");
}

bool DataValidator::validate(std::vector<DataObject*> const&, std::string&) const
{
    return refuseType("complex");
}

template <class T> bool DataValidator::checkNext(T const& value, std::string& reason) const
{
    return !m_next || m_next->validate(value, reason);
}

bool DataValidator::checkNextValidator(bool const& value, std::string& reason) const
{
    return checkNext(value, reason);
}

bool DataValidator::checkNextValidator(int const& value, std::string& reason) const
{
    return checkNext(value, reason);
}

bool DataValidator::checkNextValidator(std::string const& value, std::string& reason) const
{
    return checkNext(value, reason);
}

bool DataValidator::checkNextValidator(std::vector<DataObject*> const& value, std::string& reason) const
{
    return checkNext(value, reason);
}

DataValidatorIntRange::DataValidatorIntRange(int first, int second, DataValidator* next)
    : DataValidator(next), m_first(first), m_second(second)
{}

bool DataValidatorIntRange::validate(int const& value, std::string& reason) const
{
    if (value < m_first || value > m_second)
        return refuseRange(value, m_first, m_second, reason);
    return checkNextValidator(value, reason);
}

DataValidatorBasePort::DataValidatorBasePort(int first, int second, DataValidator* next)
    : DataValidator(next), m_first(first), m_second(second)
{}

bool DataValidatorBasePort::validate(int const& value, std::string& reason) const
{
    if (value % 2 != 0) {
        reason = provided(ClientUtils::itos(value)) + " is not even.";
        return false;
    }
    if (value < m_first || value > m_second)
        return refuseRange(value, m_first, m_second, reason);
    return checkNextValidator(value, reason);
}

DataValidatorIntRangeNot::DataValidatorIntRangeNot(int first, int second, DataValidator* next)
    : DataValidator(next), m_first(first), m_second(second)
{}

bool DataValidatorIntRangeNot::validate(int const& value, std::string& reason) const
{
    // Both conditions must hold: that this admits only what lies between the second and the first is required.
    if (value < m_first && value > m_second)
        return checkNextValidator(value, reason);
    reason = provided(ClientUtils::itos(value)) + " is not in valid range";
    return false;
}

DataValidatorStringAllDigits::DataValidatorStringAllDigits(DataValidator* next) : DataValidator(next) {}

bool DataValidatorStringAllDigits::validate(std::string const& value, std::string& reason) const
{
    if (value.find_first_not_of("0123456789") == std::string::npos)
        return checkNextValidator(value, reason);
    reason = "The provided value must contain only digits";
    return false;
}

DataValidatorStringNoWhitespace::DataValidatorStringNoWhitespace(DataValidator* next) : DataValidator(next) {}

bool DataValidatorStringNoWhitespace::validate(std::string const& value, std::string& reason) const
{
    if (value.find_first_of(" \t\n\v\f\r") == std::string::npos)
        return checkNextValidator(value, reason);
    reason = "The provided value contains white spaces";
    return false;
}

DataValidatorStringBoolean::DataValidatorStringBoolean(DataValidator* next) : DataValidator(next) {}

bool DataValidatorStringBoolean::validate(std::string const& value, std::string& reason) const
{
    std::string lower = value;
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    if (lower == "true" || lower == "false")
        return checkNextValidator(value, reason);
    reason = "The provided value is not valid";
    return false;
}

DataValidatorStringLength::DataValidatorStringLength(int first, int second, DataValidator* next)
    : DataValidator(next), m_first(first), m_second(second)
{}

bool DataValidatorStringLength::validate(std::string const& value, std::string& reason) const
{
    auto const length = static_cast<long long>(value.size());
    if (length >= m_first && length <= m_second)
        return checkNextValidator(value, reason);
    reason = "The provided value must have length from " + ClientUtils::itos(m_first) + " to " +
             ClientUtils::itos(m_second) + " characters!";
    return false;
}

DataValidatorStringsAllowed::DataValidatorStringsAllowed(std::string const& list, std::string const& separator,
                                                         DataValidator* next)
    : DataValidator(next)
{
    for (std::size_t begin = 0; begin < list.size();) {
        std::size_t const end = std::min(list.find(separator[0], begin), list.size());
        m_allowed.push_back(list.substr(begin, end - begin));
        begin = end + 1;
    }
}

bool DataValidatorStringsAllowed::validate(std::string const& value, std::string& reason) const
{
    if (value.empty()) {
        reason = "The provided value is empty!";
        return false;
    }
    if (std::find(m_allowed.begin(), m_allowed.end(), value) != m_allowed.end())
        return checkNextValidator(value, reason);
    reason = provided(value) + " is not supported! Allowed: ";
    for (std::string const& allowed : m_allowed)
        reason += allowed + ";";
    return false;
}

} // namespace Data

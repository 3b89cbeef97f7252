// The data items: validation, the changed mark, the callbacks, and the typed values with their texts.
#include "Data/DataItem.h"

#include <algorithm>
#include <functional>
#include <type_traits>

#include "ClientUtils.h"

namespace Data {

DataItemBase::DataItemBase(eDataTag tag, eDataSource source, DataValidator* stringChain, DataValidator* valueChain)
    : m_tag(tag), m_source(source), m_stringChain(stringChain), m_valueChain(valueChain)
{}

DataItemBase::~DataItemBase() = default;

bool DataItemBase::getValue(bool&) const
{
    return false;
}

bool DataItemBase::setValue(bool const&, std::string&)
{
    return false;
}

bool DataItemBase::getValue(int&) const
{
    return false;
}

bool DataItemBase::setValue(int const&, std::string&)
{
    return false;
}

bool DataItemBase::getValue(std::string&) const
{
    return false;
}

bool DataItemBase::setValue(std::string const&, std::string&)
{
    return false;
}

bool DataItemBase::getValueString(std::string&) const
{
    return false;
}

bool DataItemBase::setValueString(std::string const&, std::string&)
{
    return false;
}

bool DataItemBase::validateValue(bool const& value, std::string& reason) const
{
    return !m_valueChain || m_valueChain->validate(value, reason);
}

bool DataItemBase::validateValue(int const& value, std::string& reason) const
{
    return !m_valueChain || m_valueChain->validate(value, reason);
}

bool DataItemBase::validateValue(std::string const& value, std::string& reason) const
{
    return !m_valueChain || m_valueChain->validate(value, reason);
}

bool DataItemBase::validateStringValue(std::string const& text, std::string& reason) const
{
    return !m_stringChain || m_stringChain->validate(text, reason);
}

void DataItemBase::setStringChain(DataValidator* chain)
{
    m_stringChain.reset(chain);
}

void DataItemBase::setValueChain(DataValidator* chain)
{
    m_valueChain.reset(chain);
}

void DataItemBase::addCallback(DataUpdateCallback* callback)
{
    if (!m_callbacks)
        m_callbacks = std::make_unique<std::vector<DataUpdateCallback*>>();
    auto const place = std::ranges::lower_bound(*m_callbacks, callback, std::less<>());
    if (place == m_callbacks->end() || *place != callback)
        m_callbacks->insert(place, callback);
}

void DataItemBase::removeCallback(DataUpdateCallback* callback)
{
    if (m_callbacks)
        std::erase(*m_callbacks, callback);
}

bool DataItemBase::getCallbacks(std::set<DataUpdateCallback*>& out)
{
    if (!takeChange() || callbacks().empty())
        return false;
    out = {m_callbacks->begin(), m_callbacks->end()};
    return true;
}

template <class T>
DataItem<T>::DataItem(eDataTag tag, eDataSource source, DataValidator* stringChain, DataValidator* valueChain)
    : DataItemBase(tag, source, stringChain, valueChain)
{}

template <class T> bool DataItem<T>::getValue(T& value) const
{
    value = m_value;
    return true;
}

template <class T> bool DataItem<T>::setValue(T const& value, std::string& reason)
{
    if (!validateValue(value, reason))
        return false;
    m_value = value;
    markChanged();
    return true;
}

template <class T> bool DataItem<T>::getValueString(std::string& text) const
{
    if constexpr (std::is_same_v<T, bool>)
        text = ClientUtils::btos(m_value);
    else if constexpr (std::is_same_v<T, int>)
        text = ClientUtils::itos(m_value);
    else
        text = m_value;
    return true;
}

template <class T> bool DataItem<T>::setValueString(std::string const& text, std::string& reason)
{
    if constexpr (std::is_same_v<T, std::string>) {
        // The value chain runs here and once more in setValue, and the string chain never: both are required.
        return validateValue(text, reason) && setValue(text, reason);
    } else {
        if (!validateStringValue(text, reason))
            return false;
        if constexpr (std::is_same_v<T, bool>)
            return setValue(ClientUtils::stob(text), reason);
        else
            return setValue(ClientUtils::stoi(text), reason);
    }
}

template class DataItem<bool>;
template class DataItem<int>;
template class DataItem<std::string>;

} // namespace Data

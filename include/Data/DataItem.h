// The typed items: DataItem<int>, DataItem<bool> and DataItem<std::string>, instantiated in the library and nowhere else.
#pragma once

#include "Data/DataItemBase.h"

namespace Data {

template <class T> class MEDIADATA_EXPORT DataItem : public DataItemBase {
public:
    /// Starts with T's default value, not changed.
    DataItem(eDataTag tag, eDataSource source, DataValidator* stringChain = nullptr, DataValidator* valueChain = nullptr);

    using DataItemBase::getValue;
    using DataItemBase::setValue;
    bool getValue(T& value) const override;
    bool setValue(T const& value, std::string& reason) override;
    bool getValueString(std::string& text) const override;
    bool setValueString(std::string const& text, std::string& reason) override;

private:
    T m_value{};
};

extern template class DataItem<bool>;
extern template class DataItem<int>;
extern template class DataItem<std::string>;

} // namespace Data

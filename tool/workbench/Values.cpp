#include "workbench/Values.h"

#include "workbench/Items.h"
#include "workbench/Workbench.h"

#include "Data/DataItemBase.h"
#include "Data/DataItemBuilder.h"
#include "Data/DataSourceDB.h"
#include "Media/MediaDataCache.h"

#include "DasCrypt.h"
#include "DataStorage.h"
#include "HostPlatform.h"
#include "ManagementService.h"
#include "secrets/SecretBox.h"

#include <memory>
#include <utility>

namespace Tool {

using namespace Data;

namespace {

template <class T> std::optional<Json> readAs(eDataTag tag)
{
    T value{};
    if (!Media::MediaDataCache::getData(tag, value))
        return std::nullopt;
    return Json(std::move(value));
}

bool isUndeciphered(eDataTag tag)
{
    auto* const platform = isSecret(tag) ? Host::Platform::current() : nullptr;
    auto const& row = DataSourceDB::dataDbDescriptionTable[tag];
    return platform && row.schema && platform->isUndeciphered(*row.schema, *row.element);
}

} // namespace

bool isUnreadable(eDataTag tag, Json const& value)
{
    if (!isSecret(tag) || !value.is_string())
        return false;
    auto const& text = value.get_ref<std::string const&>();
    return text == unreadable || Host::SecretBox::isEncrypted(text);
}

std::optional<Json> readValue(eDataTag tag)
{
    if (isUndeciphered(tag))
        return Json(unreadable);
    switch (typeOf(tag)) {
    case eDataItemTypeInt:
        return readAs<int>(tag);
    case eDataItemTypeBool:
        return readAs<bool>(tag);
    case eDataItemTypeString:
    case eDataItemTypeComplex:
        return readAs<std::string>(tag);
    default:
        return std::nullopt;
    }
}

ServiceValues serviceValues(Workbench& workbench)
{
    ServiceValues values;
    for (auto const& item : workbench.service().items())
        values.emplace(item.subItem, item.value);
    return values;
}

Json knownValue(eDataTag tag, ServiceValues const& others)
{
    if (isHeld(tag))
        return readValue(tag).value_or(Json());
    auto const other = others.find(nameOf(tag));
    std::string ignored;
    return other == others.end() ? Json() : validate(tag, other->second, ignored);
}

std::optional<std::string> storedText(Host::Platform& platform, eDataTag tag)
{
    auto const& row = DataSourceDB::dataDbDescriptionTable[tag];
    DataStorage storage(platform, *row.schema);
    auto text = storage.getDataItem(*row.element, row.isTable ? 0 : 1);
    if (text == databaseFailure)
        return std::nullopt;
    std::string plain;
    if (!isSecret(tag))
        return text;
    return DasCrypt::fromEncryptedText(text, plain) ? plain : unreadable;
}

Json validate(eDataTag tag, std::string const& text, std::string& reason)
{
    std::unique_ptr<DataItemBase> const item(DataCache::DataItemBuilder::createDataItem(tag, eDataSourceNone));
    if (!item || !item->setValueString(text, reason))
        return {};
    int number = 0;
    if (item->getValue(number))
        return number;
    bool flag = false;
    if (item->getValue(flag))
        return flag;
    std::string value;
    item->getValue(value);
    return value;
}

Json typedValue(eDataTag tag, std::string const& text)
{
    std::string ignored;
    auto value = validate(tag, text, ignored);
    return value.is_null() ? Json(text) : value;
}

Json typedValue(std::string const& name, Json const& text)
{
    auto const tag = findItem(name.substr(name.find('/') + 1));
    return tag && text.is_string() ? typedValue(*tag, text.get_ref<std::string const&>()) : text;
}

Json defaultOf(eDataTag tag)
{
    std::string ignored;
    return exists(tag) ? validate(tag, DataCache::DataItemBuilder::dataItemDefaultTable[tag].value.text, ignored) : Json();
}

std::string textOf(Json const& value)
{
    return value.is_string() ? value.get<std::string>() : value.dump();
}

Json shown(eDataTag tag, Json value, bool showSecrets)
{
    if (isUnreadable(tag, value))
        return unreadableWord;
    if (!showSecrets && isSecret(tag) && value.is_string() && !value.get_ref<std::string const&>().empty())
        return masked;
    return value;
}

} // namespace Tool

// Applies the flag file to the items whose source it is, and to those that follow from its flags.
#include "Data/DataCache.h"
#include "Data/DataItemBase.h"
#include "Data/DataItemBuilder.h"
#include "Data/DataSourceFile.h"

#include "DataCache/CacheLock.h"
#include "DataCache/TextValues.h"

namespace Data {

void DataCache::readDataFromSourceFile()
{
    bool applied = false;
    {
        ScopedLock const held(*m_lock);
        applied = applyChangedConfigFile();
    }
    if (applied)
        updateCallbacks();
}

bool DataCache::applyChangedConfigFile()
{
    if (!m_sourceFile->isConfigFileChanged())
        return false;

    DataTagValue_t flags;
    for (auto* const item : m_dataMap) {
        if (item && item->tag() >= eDataTagOpusTest && item->source() == eDataSourceFile)
            flags.emplace(item->tag(), "");
    }
    // No flag is user data, so this drops them all: a flag that left the file keeps its last value until the next start.
    DataItemBuilder::getDefaultValues(flags, eDataComponentNone, true);
    m_sourceFile->readConfigFile(flags);

    auto const says = [&flags](eDataTag flag, char const* text) {
        auto const found = flags.find(flag);
        return found != flags.end() && found->second == text;
    };
    flags.emplace(eDataTagCodecHardwareAllowed3, says(eDataTagOpusTest, "false") ? "false" : "true");

    DataTagValue_t methods;
    for (int tag = eDataTagSRTPEncryptionMethod1; tag <= eDataTagSRTPEncryptionMethod5; ++tag)
        methods.emplace(static_cast<eDataTag>(tag), "");
    getTexts(methods);
    constexpr int fromMethodToFlag = eDataTagSRTPEncryptionHardwareAllowed1 - eDataTagSRTPEncryptionMethod1;
    for (auto const& [tag, text] : methods) {
        int method = 0;
        convertFromString(text, method);
        if (method >= 2 && method <= 4)
            flags.emplace(static_cast<eDataTag>(tag + fromMethodToFlag),
                          says(eDataTagAes256Test, "true") ? "true" : "false");
    }

    DataTagValue_t scratch;
    setTexts(flags, scratch, false, false);
    updateDataInSourceDB();
    return true;
}

} // namespace Data

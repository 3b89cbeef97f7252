// Applies the flag file to the items whose source it is, and to those that follow from its flags.
#include "Data/DataCache.h"
#include "Data/DataItemBase.h"
#include "Data/DataItemBuilder.h"
#include "Data/DataSourceFile.h"

#include "DataCache/CacheLock.h"
#include "Tables/Rules.h"

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

    DataTagValue_t methods;
    for (int row = 0; row < Tables::encryptions.rows; ++row)
        methods.emplace(Tables::encryptions.cell(eDataTagSRTPEncryptionMethod1, row), "");
    getTexts(methods);
    flags.merge(Tables::hardwareFlagsByFile(flags, methods));

    DataTagValue_t scratch;
    setTexts(flags, scratch, false, false);
    updateDataInSourceDB();
    return true;
}

} // namespace Data

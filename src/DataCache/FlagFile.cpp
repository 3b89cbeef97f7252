// Applies the flag file to the items whose source it is, and to those that follow from its flags.
#include "Data/DataCache.h"
#include "Data/DataItemBase.h"
#include "Data/DataItemBuilder.h"
#include "Data/DataSourceFile.h"

#include "DataCache/Operation.h"
#include "Tables/Rules.h"

namespace Data {

void DataCache::readDataFromSourceFile()
{
    bool applied = false;
    {
        Operation const operation(*this);
        applied = applyChangedConfigFile();
    }
    if (applied)
        updateCallbacks();
}

bool DataCache::applyChangedConfigFile()
{
    if (!m_sourceFile || !m_sourceFile->isConfigFileChanged())
        return false;

    DataTagValue_t flags;
    m_sourceFile->readConfigFile(flags);

    DataTagValue_t methods;
    for (int row = 0; row < Tables::encryptions.rows; ++row)
        methods.emplace(Tables::encryptions.cell(eDataTagSRTPEncryptionMethod1, row), "");
    getTexts(methods);
    flags.merge(Tables::hardwareFlagsByFile(flags, methods));

    // Last, since a flag that the file does not name is no verdict on the hardware, whatever its default.
    DataTagValue_t defaults;
    for (auto* const item : m_dataMap) {
        if (item && item->source() == eDataSourceFile)
            defaults.emplace(item->tag(), "");
    }
    DataItemBuilder::getDefaultValues(defaults, eDataComponentNone, false);
    flags.merge(defaults);

    setTexts(flags, nullptr, false, false);
    flushTables();
    return true;
}

} // namespace Data

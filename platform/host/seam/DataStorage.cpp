// The data access service over the host's database.
#include "DataStorage.h"

#include "seam/HostLog.h"
#include "seam/HostPlatform.h"
#include "store/Database.h"
#include "store/TableWrite.h"

#define UNIT "DataStorage"

namespace {

char const* const failure = "failure";

} // namespace

struct DataStorage::Implementation {
    Implementation(Host::Database* reached, std::string const& name) : database(reached), schema(name), table(name) {}

    Host::Database* database; // null: this context is not the host platform, or the schema is the platform's own
    std::string schema;
    Host::TableWrite table;
};

DataStorage::DataStorage(Context& context, std::string const& schemaName)
{
    auto* const platform = dynamic_cast<Host::Platform*>(&context);
    bool const reachable = platform != nullptr && !schemaName.starts_with('@');
    m_implementation = std::make_unique<Implementation>(reachable ? &platform->database() : nullptr, schemaName);
}

DataStorage::~DataStorage() = default;

bool DataStorage::findDataAccessService()
{
    m_implementation->table.abandon();
    return m_implementation->database != nullptr;
}

bool DataStorage::setDataItems(std::string const& xmlFragment)
{
    Implementation& my = *m_implementation;
    if (my.database == nullptr)
        return false;
    std::string text;
    switch (my.table.add(xmlFragment, text)) {
    case Host::TableWrite::Result::gathered:
        return true;
    case Host::TableWrite::Result::complete:
        return my.database->store({my.schema, "", text});
    case Host::TableWrite::Result::dropped:
        break;
    case Host::TableWrite::Result::refused:
        HOST_LOG_ERROR(UNIT, "a row of the table " + my.schema + " was refused; the table stays as it was");
    }
    my.database->noteFailedWrite({my.schema, ""});
    return false;
}

std::string DataStorage::getDataItem(std::string const& element, int flag)
{
    Implementation& my = *m_implementation;
    my.table.abandon();
    // Only a whole table has the name "".
    if (my.database == nullptr || element.empty() != (flag == 0))
        return failure;
    return my.database->read(my.schema, element).value_or(failure);
}

bool DataStorage::setDataItem(std::string const& element, std::string const& text)
{
    Implementation& my = *m_implementation;
    my.table.abandon();
    if (my.database == nullptr)
        return false;
    if (!element.empty() && text != failure)
        return my.database->store({my.schema, element, text});
    if (text == failure)
        HOST_LOG_ERROR(UNIT, my.schema + "/" + element + " was refused: \"" + failure + "\" is read as never stored");
    my.database->noteFailedWrite({my.schema, element});
    return false;
}

// A platform that stores nothing and answers at once: what is left is the library's own cost. The lock is the host's.
#include "LibraryContext.h"

#include "AppLog.h"
#include "DasCrypt.h"
#include "DataStorage.h"
#include "HardwareVersion.h"

namespace {

class NullContext : public SvcRTEContext {
public:
    Executable* findService(std::string const&) override { return nullptr; }
};

} // namespace

std::unique_ptr<SvcRTEContext> Bench::makeContext(std::string const&)
{
    return std::make_unique<NullContext>();
}

struct DataStorage::Implementation {};

DataStorage::DataStorage(Context&, std::string const&) {}
DataStorage::~DataStorage() = default;

bool DataStorage::findDataAccessService()
{
    return true;
}

bool DataStorage::setDataItems(std::string const&)
{
    return true;
}

std::string DataStorage::getDataItem(std::string const&, int)
{
    return "failure";
}

bool DataStorage::setDataItem(std::string const&, std::string const&)
{
    return true;
}

void logAppUni(char const*, char const*, int, int, char const*, ...) {}

bool loggingOnAppUni(char const*, int)
{
    return false;
}

bool DasCrypt::toEncryptedText(std::string const& plain, std::string& stored)
{
    stored = plain;
    return true;
}

bool DasCrypt::fromEncryptedText(std::string const&, std::string& plain)
{
    plain.clear();
    return false;
}

bool HardwareVersion::is_TL20()
{
    return false;
}

bool HardwareVersion::is_TL70()
{
    return false;
}

bool HardwareVersion::is_USBSupported()
{
    return false;
}

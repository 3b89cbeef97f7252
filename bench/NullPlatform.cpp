// A platform that stores nothing and answers at once: what is left is the library's own cost. The lock is the host's, the rest
// that of the platform with which a port begins.
#include "LibraryContext.h"

#include "AppLog.h"
#include "DasCrypt.h"
#include "DataStorage.h"
#include "Platform.h"

std::unique_ptr<SvcRTEContext> Bench::makeContext(std::string const&)
{
    return std::make_unique<Telephone>();
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

void logAppUni(char const*, char const*, int, int, char const*, ...) {}

bool loggingOnAppUni(char const*, int)
{
    return false;
}

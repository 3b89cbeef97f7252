// What a telephone keeps: the configuration database, and the secrets in it.
#include <DasCrypt.h>
#include <DataStorage.h>

// The configuration database. To do: all of it. Out of reach, every setting has its default and cannot be changed.

struct DataStorage::Implementation {};

DataStorage::DataStorage(Context&, std::string const&) {}
DataStorage::~DataStorage() = default;

bool DataStorage::findDataAccessService()
{
    return false;
}

bool DataStorage::setDataItems(std::string const&)
{
    return false;
}

std::string DataStorage::getDataItem(std::string const&, int)
{
    return "failure";
}

bool DataStorage::setDataItem(std::string const&, std::string const&)
{
    return false;
}

// Secrets. To do: a key of the device. Without one nothing can be encrypted, and the mark keeps it from being stored.

bool DasCrypt::toEncryptedText(std::string const&, std::string& stored)
{
    stored = "failure";
    return false;
}

bool DasCrypt::fromEncryptedText(std::string const&, std::string& plain)
{
    plain.clear();
    return false;
}

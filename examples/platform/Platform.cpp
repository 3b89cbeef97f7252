// Each header of the platform with the answer that it prescribes while the thing itself is out of reach. The conversions, the
// management record and the XML parser come from platform/common; the lock and the log are ready for use.
#include "Platform.h"

#include <AppLog.h>
#include <DasCrypt.h>
#include <DataStorage.h>
#include <HardwareVersion.h>
#include <Semaphore.h>

#include <chrono>
#include <condition_variable>
#include <cstdarg>
#include <cstdio>
#include <list>
#include <mutex>
#include <thread>

Executable* Telephone::findService(std::string const&)
{
    return nullptr;
}

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

// The device. To do: which model it is.

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

// The lock of one unit that the library needs: its holder may take it again when it is recursive.

class Semaphore::State {
public:
    std::mutex mutex;
    std::condition_variable given;
    std::list<std::thread::id> waiting;
    std::thread::id holder;
    int holds = 0;
    bool recursive = false;
};

Semaphore::Semaphore(int, int initial, bool recursive) : m_state(std::make_unique<State>())
{
    m_state->recursive = recursive;
    if (initial == 0)
        take(0);
}

Semaphore::~Semaphore() = default;

bool Semaphore::take(int timeoutMs)
{
    State& my = *m_state;
    auto const self = std::this_thread::get_id();
    std::unique_lock lock(my.mutex);
    if (my.recursive && my.holds > 0 && my.holder == self) {
        ++my.holds;
        return true;
    }
    auto const place = my.waiting.insert(my.waiting.end(), self); // in order of arrival, so that nobody waits without bound
    auto const isOurs = [&] { return my.holds == 0 && place == my.waiting.begin(); };
    bool isTaken = true;
    if (timeoutMs < 0)
        my.given.wait(lock, isOurs);
    else
        isTaken = my.given.wait_for(lock, std::chrono::milliseconds(timeoutMs), isOurs);
    my.waiting.erase(place);
    if (isTaken) {
        my.holder = self;
        my.holds = 1;
    } else {
        my.given.notify_all();
    }
    return isTaken;
}

bool Semaphore::give()
{
    State& my = *m_state;
    std::unique_lock const lock(my.mutex);
    if (my.holds == 0 || my.holder != std::this_thread::get_id())
        return false;
    if (--my.holds == 0)
        my.given.notify_all();
    return true;
}

// The log: errors on standard error. To do: the telephone's own.

bool loggingOnAppUni(char const*, int level)
{
    return level <= 2;
}

void logAppUni(char const* module, char const* sourceFile, int level, int line, char const* format, ...)
{
    if (!loggingOnAppUni(module, level))
        return;
    std::fprintf(stderr, "%s %s:%d ", module, sourceFile, line);
    std::va_list arguments;
    va_start(arguments, format);
    std::vfprintf(stderr, format, arguments);
    va_end(arguments);
}

// The platform of the tests: it answers what a test scripted, keeps a journal of every call in order, fails the calls that a
// test names, and takes a question that nobody scripted as a mistake of the test or of the library.
// Exactly one Scripted::Platform may exist at a time; the static functions of the seam go through it.
#pragma once

#include "AnnotatedMutex.h"
#include "ManageableData.h"
#include "StorageGroup.h"
#include "SvcRTEContext.h"

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace Scripted {

/// One call of the library to the platform.
struct Call {
    std::string name;                   ///< "setDataItem", "readData", ...
    std::vector<std::string> arguments; ///< a record is one argument per sub-item: "item", "item/subItem", "item=value"
    std::string result;                 ///< "true", "false" or the text answered; "" for calls without result
    int lockDepth = 0;                  ///< how often the calling thread holds the semaphores that were made held
    std::thread::id thread;
    bool injected = false; ///< the result is a fault that failCall asked for

    /// "setDataItem AudioSettings RingerVolume 5 -> true"
    std::string text() const;
};

/// One line of the log.
struct LogLine {
    int level = 0;
    std::string file; ///< the unit's path, "./src/DataCache"
    std::string text;
};

/// What the database holds; copied from one platform to the next it survives a restart.
struct Stored {
    std::map<std::pair<std::string, std::string>, std::string> values; ///< by schema and element
    std::map<std::string, std::string> tables;                         ///< whole XML text by schema
};

/// All operations may be called from any thread. The context to hand to the library is the platform itself.
class Platform : public SvcRTEContext {
public:
    explicit Platform(Stored stored = {});
    ~Platform() override;
    Platform(Platform const&) = delete;
    Platform& operator=(Platform const&) = delete;

    /// The platform that exists now; aborts with a message when there is none.
    static Platform& current();

    // --- Answers of the database. Writes of the library change what it holds. ---

    void database(std::string const& schema, std::string const& element, std::string const& text);
    void table(std::string const& schema, std::string const& xml);
    /// "failure" for everything that is not stored becomes a scripted answer.
    void emptyDatabase();
    /// The service of this schema is out of reach.
    void schemaMissing(std::string const& schema);
    /// What is stored now; nothing when the element or table was never stored.
    std::optional<std::string> databaseText(std::string const& schema, std::string const& element) const;
    std::optional<std::string> databaseTable(std::string const& schema) const;
    Stored stored() const;
    /// The stored form of a secret, as DasCrypt makes it here.
    static std::string encrypted(std::string const& plain);
    /// What an encryption that fails leaves in its output: "failure", which the database refuses, until this is called.
    void failedEncryptionLeaves(std::string const& text);

    // --- Answers of the management service ---

    /// What readData answers; an item that stands for itself has its own name as sub-item.
    void management(std::string const& item, std::string const& subItem, std::string const& value);
    /// An item that was not scripted stays without a value, as a scripted answer.
    void managementAnswersNothing();
    /// What reportChanged and requestSet answer. Not scripted until this is called.
    void managementAccepts(bool accepts);
    /// The three together: nothing is stored, the management service has nothing and accepts everything.
    void answerOrdinarily();
    /// findService answers null.
    void managementMissing();

    // --- Device, files, log ---

    /// The device is an ordinary model without USB until this is called.
    void hardware(bool entryModel, bool topModel, bool usb);
    /// Writes or replaces the flag file; its modification time differs from every earlier one.
    void flagFile(std::string const& text);
    void removeFlagFile();
    /// The fresh directory that platformPath puts before a path; removed with the platform.
    std::string const& directory() const { return m_directory; }
    /// The highest level wanted; 2 (errors only) until this is called.
    void logLevel(int level);

    // --- Journal ---

    std::vector<Call> journal() const;
    /// The calls of these names, in order.
    std::vector<Call> calls(std::set<std::string> const& names) const;
    /// Their texts; without names the texts of the whole journal.
    std::vector<std::string> lines(std::set<std::string> const& names = {}) const;
    void clearJournal();
    /// Long runs go without a journal. Faults, hooks and counts are not affected.
    void keepJournal(bool keep);

    std::vector<LogLine> logs() const;
    /// The texts of one level, in order.
    std::vector<std::string> logs(int level) const;
    void clearLogs();

    /// What the library asked or did that no test scripted: empty at the end of every test.
    std::vector<std::string> unscripted() const;

    /// Called on the calling thread during each call, after its journal entry and before its result is returned, and behind
    /// each line of the log ("log"), with none of the platform's own locks held. Calls made from within the hook do not call
    /// it again.
    void onCall(std::function<void(Call const&)> hook);

    // --- Faults ---

    /// The k-th fallible call from now (k = 1: the next) fails, once or from then on: getDataItem answers "failure",
    /// findService null; setDataItem, setDataItems, findDataAccessService, toEncryptedText, fromEncryptedText, readData,
    /// reportChanged, requestSet and beginGroup answer false and do nothing; endGroup answers false and stores nothing.
    /// Replaces an earlier order; 0 revokes it.
    void failCall(std::size_t k, bool forGood = false);
    /// From now on no group is stored, or each is again.
    void failGroups(bool fail);
    /// Fallible calls since the platform was made.
    std::size_t fallibleCalls() const;

    // --- Locks ---

    /// Holds of all semaphores, by all threads.
    static int heldLocks();
    /// Successful takes of all semaphores since the process began.
    static std::size_t takenLocks();

    // --- The seam ---

    Executable* findService(std::string const& name) override;

private:
    friend struct Seam;
    class Management;

    std::string call(std::string const& name, std::vector<std::string> arguments, char const* failure,
                     std::function<std::string()> const& answer);
    void tellHook(Call const& call);
    void complain(std::string const& what) MEDIADATA_REQUIRES(m_mutex);
    /// What the calling thread writes into: its group, or else the database.
    Stored& target() MEDIADATA_REQUIRES(m_mutex);

    struct Group {
        std::thread::id thread;
        Stored waiting;
    };

    mutable Threads::Mutex m_mutex;
    std::string m_directory;
    Stored m_stored MEDIADATA_GUARDED_BY(m_mutex);
    std::optional<Group> m_group MEDIADATA_GUARDED_BY(m_mutex);
    std::size_t m_groupLimits MEDIADATA_GUARDED_BY(m_mutex) = 0; ///< how many were begun or ended
    std::string m_failedEncryption MEDIADATA_GUARDED_BY(m_mutex) = "failure";
    bool m_emptyDatabase MEDIADATA_GUARDED_BY(m_mutex) = false;
    std::set<std::string> m_missingSchemas MEDIADATA_GUARDED_BY(m_mutex);
    std::unique_ptr<Management> m_management;
    std::map<std::pair<std::string, std::string>, std::string> m_managementValues MEDIADATA_GUARDED_BY(m_mutex);
    bool m_managementAnswersNothing MEDIADATA_GUARDED_BY(m_mutex) = false;
    bool m_managementMissing MEDIADATA_GUARDED_BY(m_mutex) = false;
    std::optional<bool> m_managementAccepts MEDIADATA_GUARDED_BY(m_mutex);
    bool m_entryModel MEDIADATA_GUARDED_BY(m_mutex) = false;
    bool m_topModel MEDIADATA_GUARDED_BY(m_mutex) = false;
    bool m_usb MEDIADATA_GUARDED_BY(m_mutex) = false;
    int m_flagFileVersion MEDIADATA_GUARDED_BY(m_mutex) = 0;
    int m_logLevel MEDIADATA_GUARDED_BY(m_mutex) = 2;
    bool m_keepJournal MEDIADATA_GUARDED_BY(m_mutex) = true;
    std::vector<Call> m_journal MEDIADATA_GUARDED_BY(m_mutex);
    std::vector<LogLine> m_logs MEDIADATA_GUARDED_BY(m_mutex);
    std::vector<std::string> m_unscripted MEDIADATA_GUARDED_BY(m_mutex);
    std::function<void(Call const&)> m_hook MEDIADATA_GUARDED_BY(m_mutex);
    std::size_t m_fallibleCalls MEDIADATA_GUARDED_BY(m_mutex) = 0;
    std::size_t m_failAt MEDIADATA_GUARDED_BY(m_mutex) = 0;
    bool m_failForGood MEDIADATA_GUARDED_BY(m_mutex) = false;
    bool m_failGroups MEDIADATA_GUARDED_BY(m_mutex) = false;
};

/// The same platform with groups of writes.
class GroupingPlatform : public Platform, public StorageGroup {
public:
    using Platform::Platform;

    bool beginGroup() override;
    bool endGroup() override;
};

} // namespace Scripted

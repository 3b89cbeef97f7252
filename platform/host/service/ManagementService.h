// The management service of the host, in this process: it holds the items that other parts of the telephone own, answers and
// takes what the library reads, reports and requests, and calls the library in the service's name.
#pragma once

#include "AnnotatedMutex.h"
#include "JournalEntry.h"
#include "LocalMgmtIfc.h"
#include "LockMark.h"
#include "ManageableData.h"

#include <string>
#include <vector>

class MgmtAgentIfc;

namespace Host {

class Database;
class SecretBox;

/// True for names with a part "password", "pwd" or "pin", as in "door-opener-pin-1".
bool isSecretItem(std::string const& item);

/// Safe from any thread. The library may call with the cache's lock held, also from inside a call of this service: the
/// service never waits for that lock, and never holds its own mutex while it calls the library.
class ManagementService : public LocalMgmtIfc {
public:
    struct Item {
        std::string item;
        std::string subItem;
        std::string value;
    };

    ManagementService(Database& database, SecretBox const& secrets);
    ~ManagementService() override;
    ManagementService(ManagementService const&) = delete;
    ManagementService& operator=(ManagementService const&) = delete;

    bool readData(ManageableData& record) override;
    bool reportChanged(ManageableData& record, std::vector<std::string> const& rootIds) override;

    /// Takes the values as their owners would, durable when true; the library hears of them at the next dispatch().
    bool requestSet(ManageableData& record) override;

    /// Whom the service calls: the library's management source. Null takes it away, which must be done before it is
    /// destroyed and while no call of this service runs.
    void setAgent(MgmtAgentIfc* agent);

    /// Other parts of the telephone changed these items: stores them, durable when true, and reports them to the library.
    bool change(ManageableData& record);

    /// Other parts of the telephone have these items no longer: they are held no more, durable when true, and the library is told
    /// what is in force without them.
    bool withdraw(ManageableData& record);

    /// Reports every item held, as a telephone's service does after start-up. An announcement of how user data is handled was
    /// used up when it was made, but for "managed", which goes on.
    void reportAll();

    /// Reports what requests have changed since the last dispatch, of each item the last value.
    void dispatch();

    /// The library's own items: its answer, or false when there is no agent.
    bool setOwned(ManageableData& record);
    bool getOwned(ManageableData& record);
    bool resetUserData();

    /// What the service holds, by name.
    std::vector<Item> items();

    /// The last `limit` entries, oldest first. Secrets are masked.
    std::vector<JournalEntry> journal(int limit = journalLimit);

private:
    void note(std::string const& kind, ManageableData const& record) MEDIADATA_REQUIRES(m_mutex);
    bool keepJournal() MEDIADATA_REQUIRES(m_mutex);
    bool store(ManageableData const& record) MEDIADATA_REQUIRES(m_mutex);
    MgmtAgentIfc* agent();

    Database& m_database;
    SecretBox const& m_secrets;

    Threads::Mutex m_mutex; // taken before the database's
    MgmtAgentIfc* m_agent MEDIADATA_GUARDED_BY(m_mutex) = nullptr;
    // Saved with the next durable change and at the end; when there are many the database takes them.
    std::vector<JournalEntry> m_unsaved MEDIADATA_GUARDED_BY(m_mutex);
    LockMark m_noted MEDIADATA_GUARDED_BY(m_mutex);        // when the last of them was
    std::int64_t m_time MEDIADATA_GUARDED_BY(m_mutex) = 0; // of the last operation
    std::size_t m_operations MEDIADATA_GUARDED_BY(m_mutex) = 0;
    ManageableData m_requested MEDIADATA_GUARDED_BY(m_mutex); // the last value of each item
};

} // namespace Host

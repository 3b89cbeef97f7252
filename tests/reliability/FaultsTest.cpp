// One system call at a time fails under the host platform, or the process is killed at it: every one of four runs, each in a
// process of its own. Whatever fails, the process answers truthfully and neither hangs nor aborts; what was acknowledged is there
// after the next start, or the start is refused with a reason and the next one finds everything whole.
#include "Disk.h"
#include "Telephone.h"

#include "HostLog.h"
#include "MgmtAgentIfc.h"

namespace fs = std::filesystem;
using namespace Telephone;

namespace {

/// What a run leaves behind in memory that outlives its process.
struct Outcome {
    Ledger ledger;
    int refusals = 0;         // starts and writes
    bool isUntrue = false;    // a value is not what the library answered
    bool isLogUntrue = false; // as the host said: what was refused may be there
    bool lacksReason = false; // a refused start, or it calls what is sound damaged
    std::array<char, 256> reason{};
    std::size_t calls = 0;
    std::size_t written = 0; // of Disk::calls, when the last write was answered
    std::array<char const*, 8192> functions{};
};

struct Job {
    char const* name;
    void (*prepare)(std::string const& directory);
    void (*work)(std::string const& directory, Outcome& outcome);
    bool isMending;
    int step; // one in so many calls fails, unless more are wanted, and every sync and read of the host
};

/// Takes note of a start that was refused.
void refuse(Outcome& outcome, std::string const& reason, bool mayBeDamaged)
{
    ++outcome.refusals;
    outcome.lacksReason |= reason.empty() || (!mayBeDamaged && reason.find("is damaged") != std::string::npos);
    reason.copy(outcome.reason.data(), outcome.reason.size() - 1);
}

void writeAllKinds(Writer& writer, Outcome& outcome, int& number)
{
    for (std::size_t kind = 0; kind < kinds.size(); ++kind) {
        LedgerLine& line = outcome.ledger[kind];
        int const before = line.begun;
        line.begun = ++number;
        if (writer.write(kind, number)) {
            line.acknowledged.fill(number);
            line.isMixed = false;
            continue;
        }
        ++outcome.refusals;
        line.begun = before;
        // Nothing of it may be stored, save in a bulk of which some values were refused and others not.
        for (std::size_t place = 0; place < kinds[kind].places.size(); ++place)
            if (heldMark(kinds[kind].places[place]) == number) {
                line.acknowledged[place] = number;
                line.isMixed = true;
            }
    }
    outcome.written = Disk::calls.size();
    outcome.isUntrue |= heldMark(kinds[0].places[0]) != outcome.ledger[0].acknowledged[0];
}

/// The user's settings are read again; what the cache then holds must be what is stored.
void rereadUserData(Outcome& outcome)
{
    ManageableData mobility;
    mobility.populate("mobility-user-data-update", "mobility-user-data-update", "all");
    MediaDataCache::managementAgent()->manageableDataChanged(mobility);
    outcome.isUntrue |= heldMark(kinds[2].places[0]) != outcome.ledger[2].acknowledged[0];
}

void workThrough(std::string const& directory, Outcome& outcome, int starts)
{
    int number = outcome.ledger[0].begun + static_cast<int>(kinds.size());
    for (int start = 0; start < starts; ++start) {
        Writer writer(directory, false);
        if (!writer.isOpen()) {
            refuse(outcome, writer.error(), false);
            continue;
        }
        writeAllKinds(writer, outcome, number);
        if (starts > 1) {
            rereadUserData(outcome);
            writeAllKinds(writer, outcome, number);
        }
    }
}

void mend(std::string const& directory, Outcome& outcome)
{
    std::string error;
    if (Host::Platform::open({directory, std::nullopt}, error) == nullptr)
        refuse(outcome, error, true);
}

Job const jobs[]{{"first start", [](std::string const&) {},
                  [](std::string const& at, Outcome& outcome) { workThrough(at, outcome, 1); }, false, 7},
                 {"mixed work",
                  [](std::string const& at) {
                      leaveUsed(at);
                      fs::permissions(at, fs::perms(0755)); // what is in it is looked at before it is closed to others
                  },
                  [](std::string const& at, Outcome& outcome) { workThrough(at, outcome, 2); }, false, 43},
                 {"mending of a leaf",
                  [](std::string const& at) {
                      leaveUsed(at);
                      std::fstream file(at + "/mediadata.db", std::ios::in | std::ios::out | std::ios::binary);
                      file.seekp(9 * 4096);
                      file << std::string(4096, '\xff');
                  },
                  mend, true, 127},
                 {"mending of a log", [](std::string const& at) { leaveDamagedLog(at); }, mend, true, 31}};

/// All that a sound start finds.
std::map<std::string, std::string> contentOfDatabase(std::string const& directory)
{
    std::string error;
    auto const platform = Host::Platform::open({directory, std::nullopt}, error);
    std::map<std::string, std::string> items;
    if (platform == nullptr)
        items["the start is refused"] = error;
    else
        for (Host::StoredItem const& each : platform->database().list(""))
            items[each.schema + "/" + each.element] = each.value;
    if (platform != nullptr)
        items["history"] = untruthOf(*platform);
    return items;
}

struct FaultKind {
    int code;
    bool forGood;
    /// The functions that fail so; all when there is none. 0: whatever reads or writes stops half way.
    std::set<std::string> functions;
};
FaultKind const faults[]{{EIO, false, {}},
                         {EIO, true, {}},
                         {ENOSPC, false, {"write", "pwrite64", "fsync", "fdatasync", "mkdir", "mkdirat", "renameat"}},
                         {ENOSPC, true, {"write", "pwrite64", "fsync", "fdatasync"}},
                         {EINTR, false, {"open", "open64", "openat", "read", "pread64", "write", "pwrite64", "flock"}},
                         {0, false, {"read", "pread64", "write", "pwrite64"}},
                         {Disk::killed, false, {}}};

struct Faults : testing::TestWithParam<Job> {
    Faults() : m_memory(::mmap(nullptr, sizeof(Outcome), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0)) {}
    ~Faults() override { ::munmap(m_memory, sizeof(Outcome)); }

    /// An exception ends the process.
    [[noreturn]] void work(Job const& job, Disk::Fault fault) noexcept
    {
        ::alarm(20);
        Host::setLogSink([this](Host::LogLine const& line) {
            m_outcome->isLogUntrue |= line.text.find("that was refused, and cannot be emptied") != std::string::npos;
        });
        Disk::watch(m_place.path() + "/root");
        Disk::fault = fault;
        job.work(phone(), *m_outcome);
        m_outcome->calls = std::min(Disk::functions.size(), m_outcome->functions.size());
        std::copy_n(Disk::functions.begin(), m_outcome->calls, m_outcome->functions.begin());
        Disk::watchNothing();
        Disk::Surface surface;
        for (std::size_t call = 0; call < m_outcome->written; ++call)
            surface.play(Disk::calls[call]);
        // What was not synced is lost, or all of it is there as after a kill.
        unsigned const percent = (fault.call + (fault.code == EIO) + fault.forGood) % 2 == 0 ? 0 : 100;
        std::mt19937 unused;
        surface.leave(cutOff(), {percent, false, false}, unused);
        ::_exit(0);
    }

    /// What the process that ran with the fault ended with.
    int runWith(Job const& job, Disk::Fault fault)
    {
        fs::remove_all(phone());
        fs::remove_all(cutOff());
        if (fs::exists(seed()))
            fs::copy(seed(), phone(), fs::copy_options::recursive);
        m_outcome = new (m_memory) Outcome;
        pid_t const child = ::fork();
        if (child == 0)
            work(job, fault);
        int status = 0;
        ::waitpid(child, &status, 0);
        return status;
    }

    /// What is wrong after a run; empty when nothing is.
    std::string faultOf(Job const& job, FaultKind const& kind, int status)
    {
        bool const isKilled = kind.code == Disk::killed;
        if (status != (isKilled ? SIGKILL : 0))
            return WTERMSIG(status) == SIGALRM ? "hangs" : "aborts";
        if (m_outcome->isUntrue && !kind.forGood) // then it is the default, as required
            return "holds what it did not acknowledge";
        if (m_outcome->lacksReason)
            return "refuses without a reason or with a wrong one, \"" + std::string(m_outcome->reason.data()) + "\"";
        bool const isHarmless = kind.code == EINTR || kind.code == 0;
        if (isHarmless && m_outcome->refusals > 0)
            return "refuses although nothing failed: " + std::string(m_outcome->reason.data());
        if (job.isMending)
            return contentOfDatabase(phone()) == m_clean ? "" : "is not mended as without the fault";
        Ledger ledger = m_outcome->ledger;
        for (LedgerLine& line : ledger)
            line.mayBeLater = line.mayBeLater || m_outcome->isLogUntrue;
        Ledger ledgerOfCut = ledger;
        Findings findings, findingsOfCut;
        check(phone(), ledger, findings);
        if (!isKilled)
            check(cutOff() + "/phone", ledgerOfCut, findingsOfCut);
        std::string const cut = findingsOfCut.text() == nothingFound ? "" : "after the last answer as well: ";
        return findings.text() == nothingFound ? cut + findingsOfCut.examples : findings.examples;
    }

    /// What a power cut or a kill leaves after the last write was answered.
    std::string cutOff() const { return m_place.path() + "/cut"; }
    std::string phone() const { return m_place.path() + "/root/phone"; }
    std::string seed() const { return m_place.path() + "/seed"; }

    TemporaryDirectory const m_place;
    void* const m_memory;
    Outcome* m_outcome = nullptr;
    std::map<std::string, std::string> m_clean;
};

} // namespace

TEST_P(Faults, OfSystemCallsLoseNothingAndAreAnsweredTruthfully)
{
    Job const& job = GetParam();
    Host::setLogSink([](Host::LogLine const&) {});
    fs::create_directory(m_place.path() + "/root");
    job.prepare(seed());
    ASSERT_EQ(runWith(job, {}), 0);
    m_clean = job.isMending ? contentOfDatabase(phone()) : decltype(m_clean)();
    auto const calls = m_outcome->calls;
    auto const functions = m_outcome->functions;
    ASSERT_EQ(faultOf(job, faults[0], 0), "");
    auto const step = static_cast<std::size_t>(amount("MEDIADATA_FAULT_STEP", job.step));
    int tried = 0;
    int found = 0;
    std::map<std::string, int> findings;
    for (FaultKind const& kind : faults)
        for (std::size_t call = 1; call <= calls; ++call) {
            std::string const function = functions[call - 1];
            bool const isSync = kind.code == EIO && function.ends_with("sync");
            // SQLite reads and writes in another way.
            bool const isOwn = (&kind == faults && function == "read") || (kind.code == EINTR && function == "write");
            bool const isDue = isSync || isOwn || call % step == static_cast<std::size_t>(&kind - faults) % step;
            if (!isDue || (!kind.functions.empty() && !kind.functions.contains(function)))
                continue;
            int const status = runWith(job, {call, kind.code, kind.forGood});
            ++tried;
            std::string const fault = faultOf(job, kind, status);
            found += !fault.empty();
            if (!fault.empty() && findings[fault]++ < 5)
                ADD_FAILURE() << fault << " after "
                              << (kind.code > 0    ? std::strerror(kind.code)
                                  : kind.code == 0 ? "half a call"
                                                   : "kill -9")
                              << (kind.forGood ? " for good" : "") << " at call " << call << ", " << function;
        }
    std::cout << "faults: " << job.name << ", " << calls << " system calls, " << tried << " faults: " << found
              << " not survived\n";
    Host::setLogSink({});
}

INSTANTIATE_TEST_SUITE_P(Host, Faults, testing::ValuesIn(jobs), [](auto const& test) {
    std::string name = test.param.name;
    std::ranges::replace(name, ' ', '_');
    return name;
});

// Writes of every kind go through the whole library over the host platform, until the power goes at one of its I/O calls or
// the process is killed. Then the data directory is opened: what the library said was stored must be there. What the n-th
// write stores contains "#n;", so that every value tells which write it is of.
#include "../TemporaryDirectory.h"
#include "Disk.h"

#include "Data/BulkData.h"
#include "Media/MediaDataCache.h"

#include "DasCrypt.h"
#include "HostPlatform.h"
#include "ManageableData.h"
#include "ManagementService.h"
#include "store/Database.h"

#include <sqlite3.h>

#include <csignal>

#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;
using namespace Data;
using Media::MediaDataCache;

namespace {

struct Kind {
    char const* name;
    bool isWhole; // all of what it stores is of one write at any moment
    bool (*write)(Host::Platform&, std::string const& text);
    std::vector<std::pair<std::string, std::string>> places; // schema and element
    std::size_t padding = 0;                                 // before the mark
};

/// What the n-th write stores.
std::string textOf(Kind const& kind, int number)
{
    std::string const digits = std::to_string(number);
    return std::string(kind.padding, digits[0]) + "#" + digits + ";";
}

constexpr int alerts = 15;

template <eDataTag tag> bool writeText(Host::Platform&, std::string const& text)
{
    return MediaDataCache::setData(tag, text, false);
}

/// Every `step`-th item from the first.
template <eDataTag first, int count, int step> bool writeBulk(Host::Platform&, std::string const& text)
{
    BulkData bulk;
    for (int i = 0; i < count; ++i)
        bulk.addTagValue(static_cast<eDataTag>(first + step * i), text, false);
    return MediaDataCache::setDataBulk(bulk);
}

bool writeRecord(Host::Platform& platform, std::string const& text)
{
    ManageableData record;
    for (std::string const item : {"function-key-def-100", "function-key-def-101"})
        record.populate(item, item, text);
    return platform.management().change(record);
}

std::array<Kind, 6> const kinds{
    {{"value", false, writeText<eDataTagCamera1Url>, {{"DirectVideoSettings", "Camera1Url"}}},
     {"secret", false, writeText<eDataTagIceServerPwd0>, {{"ICESettings", "IceServerPwd0"}}},
     {"value of pages", false, writeText<eDataTagDirectVideo100>, {{"DirectVideoSettings", "direct-video-100"}}, 9000},
     {"table", true, writeBulk<eDataTagAlertIdentifier0, alerts, 1>, {{"DistinctiveRinging", ""}}},
     {"bulk",
      false,
      writeBulk<eDataTagCamera2Url, 3, eDataTagCamera3Url - eDataTagCamera2Url>,
      {{"DirectVideoSettings", "Camera2Url"}, {"DirectVideoSettings", "Camera3Url"}, {"DirectVideoSettings", "Camera4Url"}}},
     {"management record",
      true,
      writeRecord,
      {{"@management/function-key-def-100", "function-key-def-100"},
       {"@management/function-key-def-101", "function-key-def-101"}}}}};

/// For each kind the last write that was begun, and for each of its places the last that the library said was stored.
struct LedgerLine {
    int begun = 0;
    std::array<int, 3> acknowledged{};
};
using Ledger = std::array<LedgerLine, std::tuple_size_v<decltype(kinds)>>;

struct Findings {
    int lost = 0;    // values of another write than the last acknowledged or one under way, or in part
    int torn = 0;    // tables and records with parts of several writes
    int damaged = 0; // directories that could not be opened, or not without mending
    std::string examples;

    std::string text() const
    {
        return std::to_string(lost) + " acknowledged values lost, " + std::to_string(torn) + " tables or records torn, " +
               std::to_string(damaged) + " databases damaged";
    }
};
constexpr char const* nothingFound = "0 acknowledged values lost, 0 tables or records torn, 0 databases damaged";

std::vector<int> marksIn(std::string const& text)
{
    std::vector<int> marks;
    for (auto at = text.find('#'); at != std::string::npos; at = text.find('#', at + 1))
        marks.push_back(std::atoi(text.c_str() + at + 1));
    return marks.empty() ? std::vector{0} : marks;
}

/// Opens the data directory as a start does and compares its values with the ledger, which afterwards tells what was found.
void check(std::string const& directory, Ledger& ledger, Findings& findings)
{
    auto const find = [&](int& count, std::string const& what) {
        if (++count == 1)
            findings.examples += what + "; ";
    };
    std::string error;
    auto const platform = Host::Platform::open({directory, std::nullopt}, error);
    if (platform == nullptr || !platform->notices().empty())
        find(findings.damaged, platform != nullptr ? platform->notices().front() : error);
    for (std::size_t i = 0; platform != nullptr && i < kinds.size(); ++i) {
        std::set<int> writes;
        for (std::size_t place = 0; place < kinds[i].places.size(); ++place) {
            auto const& [schema, element] = kinds[i].places[place];
            std::string text = platform->database().read(schema, element).value_or("");
            if (text.starts_with("x1:"))
                DasCrypt::fromEncryptedText(text, text);
            std::vector<int> const marks = marksIn(text);
            writes.insert(marks.begin(), marks.end());
            int& acknowledged = ledger[i].acknowledged[place];
            bool const isWhole = element.empty() || marks[0] == 0 || text == textOf(kinds[i], marks[0]);
            if ((marks[0] != acknowledged && marks[0] != ledger[i].begun) || !isWhole)
                find(findings.lost, std::string(kinds[i].name) + " of write " + std::to_string(acknowledged) + " is of " +
                                        std::to_string(marks[0]) + (isWhole ? "" : ", in part"));
            if (element.empty() && marks[0] != 0 && marks.size() != alerts)
                find(findings.torn, "a table lacks rows");
            acknowledged = marks[0];
        }
        ledger[i].begun = -1;
        if (kinds[i].isWhole && writes.size() != 1)
            find(findings.torn, kinds[i].name);
    }
}

/// The process that writes. Relaxed, it does not wait for the disk: what the checks must notice.
class Writer {
public:
    Writer(std::string const& directory, bool relaxed)
    {
        static sqlite3* connection = nullptr; // the last one opened
        sqlite3_auto_extension(reinterpret_cast<void (*)()>(
            +[](sqlite3* opened, char**, void const*) { return connection = opened, SQLITE_OK; }));
        std::string error;
        m_platform = Host::Platform::open({directory, std::nullopt}, error);
        if (m_platform == nullptr)
            return;
        if (relaxed) {
            sqlite3_set_authorizer(connection, nullptr, nullptr);
            sqlite3_exec(connection, "PRAGMA synchronous = NORMAL", nullptr, nullptr, nullptr);
        }
        MediaDataCache::init(*m_platform);
        m_platform->management().setAgent(MediaDataCache::managementAgent());
    }

    ~Writer()
    {
        if (m_platform != nullptr)
            m_platform->management().setAgent(nullptr);
        MediaDataCache::terminate();
    }

    bool write(std::size_t kind, int number)
    {
        return m_platform != nullptr && kinds[kind].write(*m_platform, textOf(kinds[kind], number));
    }

private:
    std::unique_ptr<Host::Platform> m_platform;
};

/// How much to do: the number in the environment, or the usual one.
int amount(char const* variable, int usual)
{
    char const* const wanted = std::getenv(variable);
    return wanted != nullptr ? std::atoi(wanted) : usual;
}

constexpr std::size_t writes = 200;
constexpr int writesUntilRestart = 50; // the log is carried over into the database by itself before that
constexpr Disk::Rest rests[]{{0, false}, {100, false}, {50, false}, {50, true}, {90, false}, {90, true}};

/// Writes of all kinds in turn, with a restart, hence a clean close, now and then. Each is marked when it was begun and when
/// it was acknowledged.
void runWorkload(bool relaxed)
{
    TemporaryDirectory const directory;
    Disk::calls.clear();
    Disk::watched = directory.path();
    std::unique_ptr<Writer> writer;
    for (int write = 0; write < static_cast<int>(writes); ++write) {
        if (write % writesUntilRestart == 0) {
            writer.reset();
            writer = std::make_unique<Writer>(directory.path(), relaxed);
        }
        auto const kind = static_cast<std::size_t>(write) % kinds.size();
        Disk::calls.push_back({Disk::Call::mark, kind, "begun", "", write + 1});
        EXPECT_TRUE(writer->write(kind, write + 1)) << kinds[kind].name;
        Disk::calls.push_back({Disk::Call::mark, kind, "acknowledged", "", write + 1});
    }
    writer.reset();
    Disk::watched.clear();
}

/// Opens about as many images as wanted, spread evenly over all calls.
Findings cutAtEveryCall(bool relaxed)
{
    runWorkload(relaxed);
    int const wanted = amount("MEDIADATA_IMAGES", 400);
    Findings findings;
    Ledger ledger;
    Disk::Surface surface;
    std::mt19937 random(1);
    std::size_t images = 0;
    TemporaryDirectory const place;
    std::string const image = place.path() + "/image";
    for (std::size_t call = 1; call <= Disk::calls.size(); ++call) {
        if (Disk::Call const& now = Disk::calls[call - 1]; now.kind != Disk::Call::mark)
            surface.play(now);
        else if (now.text == "begun")
            ledger[now.offset].begun = now.file;
        else
            ledger[now.offset].acknowledged.fill(now.file);
        bool isNews = true; // when nothing waits for the disk, all images are the same
        for (auto const due = call * static_cast<std::size_t>(wanted) / Disk::calls.size(); images < due && isNews;
             isNews = surface.isDirty()) {
            fs::create_directory(image);
            surface.leave(image, rests[images++ % std::size(rests)], random);
            Ledger expected = ledger;
            check(image, expected, findings);
            fs::remove_all(image);
        }
    }
    std::cout << "power loss: " << images << " images at " << Disk::calls.size() - 2 * writes << " I/O calls of " << writes
              << " writes: " << findings.text() << "\n";
    return findings;
}

struct Shared {
    Ledger ledger;
    int written = 0;
};

/// Writes until it is killed, restarting now and then. Ends by itself only when a write is refused.
[[noreturn]] void writeOn(std::string const& directory, Shared& shared, std::mt19937 random)
{
    for (std::unique_ptr<Writer> writer;; writer.reset()) {
        writer = std::make_unique<Writer>(directory, false);
        for (int count = 0; count < 30; ++count) {
            auto const kind = random() % kinds.size();
            shared.ledger[kind].begun = ++shared.written;
            if (!writer->write(kind, shared.written))
                ::_exit(1);
            shared.ledger[kind].acknowledged.fill(shared.written);
        }
    }
}

} // namespace

TEST(PowerLoss, TakesNothingThatWasAcknowledgedAndTearsNothing)
{
    Findings const findings = cutAtEveryCall(false);
    EXPECT_EQ(findings.text(), nothingFound) << findings.examples;
}

TEST(PowerLoss, IsSeenToTakeValuesWhenWritesDoNotWaitForTheDisk)
{
    std::cout << "with synchronous=NORMAL, ";
    EXPECT_GT(cutAtEveryCall(true).lost, 0);
}

TEST(Kill, TakesNothingThatWasAcknowledgedAndTearsNothing)
{
    int const cycles = amount("MEDIADATA_KILLS", 60);
    TemporaryDirectory const directory;
    void* const memory = ::mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(memory, MAP_FAILED);
    Shared& shared = *new (memory) Shared;
    Findings findings;
    std::mt19937 random(1);
    for (int cycle = 0; cycle < cycles; ++cycle) {
        random.discard(1);
        pid_t const child = ::fork();
        if (child == 0)
            writeOn(directory.path(), shared, random);
        // Where a start is slow, under an emulator say, longer, too.
        std::this_thread::sleep_for(std::chrono::microseconds(random() % (shared.written > cycle ? 40'000 : 400'000)));
        ::kill(child, SIGKILL);
        int status = 0;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        ASSERT_TRUE(WIFSIGNALED(status)) << "write " << shared.written << " was refused";
        check(directory.path(), shared.ledger, findings);
    }
    std::cout << "kill -9: " << cycles << " cycles, " << shared.written << " writes: " << findings.text() << "\n";
    EXPECT_EQ(findings.text(), nothingFound) << findings.examples;
    EXPECT_GT(shared.written, cycles);
    ::munmap(memory, sizeof(Shared));
}

// Writes of every kind go through the whole library over the host platform, until the power goes at one of its I/O calls or
// the process is killed. Then the data directory is opened: what the library said was stored must be there.
#include "Disk.h"
#include "Telephone.h"

#include "HostLog.h"

namespace fs = std::filesystem;
using namespace Telephone;

namespace {

constexpr std::size_t writes = 200;
constexpr int writesUntilRestart = 50; // the log is carried over into the database by itself before that
constexpr Disk::Rest rests[]{{0, false, false},  {100, false, false}, {50, false, false}, {50, true, false},
                             {90, false, false}, {90, true, false},   {50, false, true},  {80, true, true}};

/// Writes of all kinds in turn, with a restart, hence a clean close, now and then. Each is marked when it was begun and when
/// it was acknowledged.
void runWorkload(bool relaxed)
{
    TemporaryDirectory const place;
    Disk::watch(place.path());
    std::unique_ptr<Writer> writer;
    for (int write = 0; write < static_cast<int>(writes); ++write) {
        if (write % writesUntilRestart == 0) {
            writer.reset();
            writer = std::make_unique<Writer>(place.path() + "/phone", relaxed);
        }
        auto const kind = static_cast<std::size_t>(write) % kinds.size();
        Disk::calls.push_back({Disk::Call::mark, kind, "begun", "", write + 1});
        EXPECT_TRUE(writer->write(kind, write + 1)) << kinds[kind].name;
        Disk::calls.push_back({Disk::Call::mark, kind, "acknowledged", "", write + 1});
    }
    writer.reset();
    Disk::watchNothing();
}

/// Opens about as many images as wanted, spread evenly over the recorded calls from `first` on.
Findings cutAtEveryCall(std::size_t first = 0, Ledger ledger = {}, bool mayBeMended = false)
{
    int const wanted = amount("MEDIADATA_IMAGES", 400);
    Findings findings;
    Disk::Surface surface;
    std::mt19937 random(1);
    std::size_t images = 0;
    std::size_t marks = 0;
    TemporaryDirectory const place;
    std::string const image = place.path() + "/image";
    for (std::size_t call = 1; call <= Disk::calls.size(); ++call) {
        Disk::Call const& now = Disk::calls[call - 1];
        marks += now.kind == Disk::Call::mark;
        if (now.kind != Disk::Call::mark)
            surface.play(now);
        else if (now.text == "begun")
            ledger[now.offset].begun = now.file;
        else
            ledger[now.offset].acknowledged.fill(now.file);
        if (call <= first)
            continue;
        bool isNews = true; // when nothing waits for the disk, all images are the same
        auto const due = (call - first) * static_cast<std::size_t>(wanted) / (Disk::calls.size() - first);
        for (; images < due && isNews; isNews = surface.isDirty()) {
            // Mending is mostly a matter of names.
            auto const rest = mayBeMended && images % 2 == 0 ? std::size(rests) - 2 : images % std::size(rests);
            surface.leave(image, rests[rest], random);
            ++images;
            Ledger expected = ledger;
            check(image + "/phone", expected, findings, mayBeMended);
            fs::remove_all(image);
        }
    }
    std::cout << "power loss: " << images << " images at " << Disk::calls.size() - first - marks << " I/O calls of "
              << (mayBeMended ? "mending" : std::to_string(writes) + " writes") << ": " << findings.text() << "\n";
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
    runWorkload(false);
    Findings const findings = cutAtEveryCall();
    EXPECT_EQ(findings.text(), nothingFound) << findings.examples;
}

TEST(PowerLoss, IsSeenToTakeValuesWhenWritesDoNotWaitForTheDisk)
{
    std::cout << "with synchronous=NORMAL, ";
    runWorkload(true);
    EXPECT_GT(cutAtEveryCall().lost, 0);
}

TEST(PowerLoss, WhileADamagedDatabaseIsMendedTakesNothing)
{
    TemporaryDirectory const place;
    Ledger ledger = leaveDamagedLog(place.path() + "/phone");
    Disk::watch(place.path());
    auto const first = Disk::calls.size();
    Host::setLogSink([](Host::LogLine const&) {});
    std::string error;
    EXPECT_NE(Host::Platform::open({place.path() + "/phone", std::nullopt}, error), nullptr) << error;
    Disk::watchNothing();
    Findings const findings = cutAtEveryCall(first, ledger, true);
    Host::setLogSink({});
    EXPECT_EQ(findings.text(), nothingFound) << findings.examples;
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

// Writes of every kind go through the whole library over the host platform, until the power goes at one of its I/O calls.
// Then the data directory is opened: what the library said was stored must be there.
#include "Disk.h"
#include "Telephone.h"

#include "HostLog.h"

namespace fs = std::filesystem;
using namespace Telephone;

namespace {

constexpr char const* telephone = "/home/phone"; // neither is there before
constexpr int writes = 200;
constexpr int writesUntilRestart = 50; // the log is carried over into the database by itself before that
constexpr Disk::Rest rests[]{{0, false, false},  {100, false, false}, {50, false, false}, {50, true, false},
                             {90, false, false}, {90, true, false},   {50, false, true},  {80, true, true}};

/// The next kind of write, marked when it was begun and when it was acknowledged.
void write(Writer& writer, int number)
{
    auto const kind = static_cast<std::size_t>(number - 1) % kinds.size();
    Disk::calls.push_back({Disk::Call::mark, kind, "begun", "", number});
    EXPECT_TRUE(writer.write(kind, number)) << kinds[kind].name;
    Disk::calls.push_back({Disk::Call::mark, kind, "acknowledged", "", number});
}

/// Writes of all kinds in turn, with a restart, hence a clean close, now and then.
void runWorkload(bool relaxed)
{
    TemporaryDirectory const place;
    Disk::watch(place.path());
    std::unique_ptr<Writer> writer;
    for (int number = 1; number <= writes; ++number) {
        if (number % writesUntilRestart == 1) {
            writer.reset();
            writer = std::make_unique<Writer>(place.path() + telephone, relaxed);
        }
        write(*writer, number);
    }
    writer.reset();
    Disk::watchNothing();
}

constexpr int imagesOfAName = 12; // on these calls mending and new databases hang

/// Opens about as many images as wanted, spread evenly over the recorded calls from `first` on, and some more at new names.
Findings cutAtEveryCall(int wanted, std::size_t first = 0, Ledger ledger = {}, bool mayBeMended = false)
{
    Findings findings;
    Disk::Surface surface;
    std::mt19937 random(1);
    std::size_t made = 0;
    std::size_t ofNames = 0;
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
        ofNames += now.kind == Disk::Call::rename || now.kind == Disk::Call::make
                       ? static_cast<std::size_t>(std::min(imagesOfAName, wanted / 25))
                       : 0;
        auto const due = ofNames + (call - first) * static_cast<std::size_t>(wanted) / (Disk::calls.size() - first);
        for (; made < due && isNews; isNews = surface.isDirty()) {
            // Mending is mostly a matter of names.
            auto const rest = mayBeMended && made % 2 == 0 ? std::size(rests) - 2 : made % std::size(rests);
            surface.leave(image, rests[rest], random);
            ++made;
            Ledger expected = ledger;
            check(image + telephone, expected, findings, mayBeMended);
            fs::remove_all(image);
        }
    }
    std::cout << "power loss: " << made << " images at " << Disk::calls.size() - first - marks << " I/O calls of "
              << (mayBeMended ? "mending" : std::to_string(marks / 2) + " writes") << ": " << findings.text() << "\n";
    return findings;
}

int const images = amount("MEDIADATA_IMAGES", 300);

} // namespace

TEST(PowerLoss, TakesNothingThatWasAcknowledgedAndTearsNothing)
{
    runWorkload(false);
    Findings const findings = cutAtEveryCall(images);
    EXPECT_EQ(findings.text(), nothingFound) << findings.examples;
}

TEST(PowerLoss, IsSeenToTakeValuesWhenWritesDoNotWaitForTheDisk)
{
    std::cout << "with synchronous=NORMAL, ";
    runWorkload(true);
    EXPECT_GT(cutAtEveryCall(images / 8).lost, 0);
}

TEST(PowerLoss, DoesNotTakeADirectoryThatSomebodyElseJustMade)
{
    TemporaryDirectory const place;
    fs::create_directory(place.path() + "/home");
    Disk::watch(place.path());
    fs::create_directory(place.path() + telephone);
    {
        Writer writer(place.path() + telephone, false);
        write(writer, 1);
        Disk::watchNothing();
    }
    Findings const findings = cutAtEveryCall(images);
    EXPECT_EQ(findings.text(), nothingFound) << findings.examples;
}

TEST(PowerLoss, WhileADamagedDatabaseIsMendedTakesNothing)
{
    TemporaryDirectory const place;
    fs::create_directory(place.path() + "/home");
    Ledger ledger = leaveDamagedLog(place.path() + telephone);
    Disk::watch(place.path());
    auto const first = Disk::calls.size();
    Host::setLogSink([](Host::LogLine const&) {});
    std::string error;
    EXPECT_NE(Host::Platform::open({place.path() + telephone, std::nullopt}, error), nullptr) << error;
    Disk::watchNothing();
    Findings const findings = cutAtEveryCall(images, first, ledger, true);
    Host::setLogSink({});
    EXPECT_EQ(findings.text(), nothingFound) << findings.examples;
}

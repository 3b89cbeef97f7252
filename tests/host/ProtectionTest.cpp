// Who may reach the data directory, and what of it is secret.
#include "HostTest.h"

#include "../Records.h"
#include "AppLog.h"
#include "DasCrypt.h"
#include "ManagementService.h"
#include "MgmtAgentIfc.h"
#include "store/Database.h"

#include "ClientUtils.h"
#include "Data/DataSourceDB.h"
#include "Data/DataSourceOCMS.h"
#include "Tables/SettingOptions.h"

#include <malloc.h>

namespace fs = std::filesystem;

namespace {

using HostProtection = HostTest;

unsigned modeOf(fs::path const& path)
{
    return static_cast<unsigned>(fs::symlink_status(path).permissions());
}

TEST_F(HostProtection, EverythingIsPrivateWhateverTheUmask)
{
    mode_t const before = ::umask(0);
    EXPECT_TRUE(open()) << m_error;
    for (auto const* const file : {"mediadata.db", "secret.key", "mediadata.lock"})
        fs::permissions(pathOf(file), fs::perms(0666));
    EXPECT_TRUE(open()) << m_error;
    EXPECT_TRUE(write("AudioSettings", "RingerVolume", "3")); // with the log file in place
    ::umask(before);
    int files = 0;
    EXPECT_EQ(modeOf(m_directory), 0700U);
    for (auto const& each : fs::recursive_directory_iterator(m_directory)) {
        EXPECT_EQ(modeOf(each.path()), each.is_directory() ? 0700U : 0600U) << each.path();
        files += each.is_directory() ? 0 : 1;
    }
    EXPECT_EQ(files, 4) << "database, its log, key and lock";
}

TEST_F(HostProtection, NothingButAPlainFileIsAcceptedInAnyFilesPlace)
{
    std::pair<char const*, void (*)(fs::path const& place, fs::path const& elsewhere)> const impostors[] = {
        {"symbolic link", [](fs::path const& place, fs::path const& elsewhere) { fs::create_symlink(elsewhere, place); }},
        {"dangling link", [](fs::path const& place, fs::path const&) { fs::create_symlink("nowhere", place); }},
        {"hard link", [](fs::path const& place, fs::path const& elsewhere) { fs::create_hard_link(elsewhere, place); }},
        {"FIFO", [](fs::path const& place, fs::path const&) { ::mkfifo(place.c_str(), 0600); }},
        {"directory", [](fs::path const& place, fs::path const&) { fs::create_directory(place); }},
        {"device", [](fs::path const& place, fs::path const&) {
             if (::mknod(place.c_str(), S_IFCHR | 0600, 0x107) != 0) // of /dev/full, which root alone may make
                 fs::create_symlink("/dev/full", place);
         }}};
    int refused = 0;
    for (std::string const name : {"mediadata.db", "mediadata.db-wal", "mediadata.db-journal", "mediadata.db-shm",
                                   "mediadata.db.new", "mediadata.db.copy", "mediadata.db.mended", "mediadata.seal",
                                   "secret.key", "secret.key.new", "mediadata.lock", "data/database/media_config"})
        for (auto const& [impostor, make] : impostors) {
            ASSERT_TRUE(open()) << m_error;
            ASSERT_TRUE(write("AudioSettings", "RingerVolume", "3"));
            close();
            fs::path const place = pathOf(name), elsewhere = m_parent + "/elsewhere", saved = m_parent + "/saved";
            std::ofstream(elsewhere) << "32 bytes of somebody else's data";
            // A draft of the key is written when there is no key.
            fs::path const original = name == "secret.key.new" ? pathOf("secret.key") : place.string();
            if (fs::exists(original))
                fs::rename(original, saved);
            make(place, elsewhere);
            EXPECT_FALSE(open()) << impostor << " as " << name;
            EXPECT_NE(m_error.find(name), std::string::npos) << impostor << ": " << m_error;
            EXPECT_EQ(contentOf(elsewhere), "32 bytes of somebody else's data");
            refused += !m_platform;
            fs::remove(place);
            if (fs::exists(saved))
                fs::rename(saved, original);
            ASSERT_TRUE(open()) << m_error;
            EXPECT_EQ(read("AudioSettings", "RingerVolume"), "3");
        }
    std::cout << "files: " << refused << " impostors refused\n";
}

TEST_F(HostProtection, ADirectoryThatIsALinkOrReadOnlyOrHoldsOtherFilesForAllToSeeIsRefused)
{
    fs::create_directory(m_parent + "/real");
    fs::create_symlink("real", m_directory);
    EXPECT_FALSE(open());
    EXPECT_NE(m_error.find("symbolic link"), std::string::npos) << m_error;
    m_directory = m_parent + "/real";
    std::ofstream(pathOf("letter.txt")) << "private";
    fs::permissions(m_directory, fs::perms(0755));
    EXPECT_FALSE(open());
    EXPECT_EQ(modeOf(m_directory), 0755U) << "a directory that is not ours is left as it is";
    fs::remove(pathOf("letter.txt"));
    EXPECT_TRUE(open()) << m_error;
    EXPECT_EQ(modeOf(m_directory), 0700U);
    fs::permissions(m_directory, fs::perms(0500));
    EXPECT_FALSE(open());
    EXPECT_EQ(modeOf(m_directory), 0500U);
    EXPECT_EQ(m_error, "data directory " + m_directory + ": is read-only, or closed to its own user (chmod 700)");
}

TEST_F(HostProtection, ASecretComesBackUnderItsOwnKeyOnly)
{
    ASSERT_TRUE(open()) << m_error;
    std::string stored, again, plain;
    ASSERT_TRUE(DasCrypt::toEncryptedText("open sesame", stored));
    ASSERT_TRUE(DasCrypt::toEncryptedText("open sesame", again));
    EXPECT_NE(stored, again) << "equal secrets must not look equal";
    ASSERT_TRUE(write("ICESettings", "IceServerPwd0", stored));
    close();
    fs::remove(pathOf("secret.key"));
    ASSERT_TRUE(open()) << m_error;
    EXPECT_FALSE(DasCrypt::fromEncryptedText(stored, plain));
    EXPECT_EQ(m_platform->notices().size(), 1U) << "the loss is told";
    close();
    fs::resize_file(pathOf("secret.key"), 31);
    EXPECT_FALSE(open());
    EXPECT_NE(m_error.find("secret.key is damaged"), std::string::npos) << m_error;
}

/// A library that asks the service while the service is calling it.
struct Agent : MgmtAgentIfc {
    explicit Agent(Host::ManagementService& itsService) : service(itsService) {}
    bool setData(ManageableData&) override { return true; }
    bool getData(ManageableData&) override { return true; }
    bool resetUserData() override { return true; }
    void manageableDataChanged(ManageableData& record) override
    {
        for (ManageableData::Entry const& each : record.entries())
            heard.push_back(each.item + "=" + each.value);
        auto inner = ::record("system-identifier", "from inside");
        EXPECT_TRUE(std::exchange(asked, true) ? true : service.requestSet(inner));
    }
    Host::ManagementService& service;
    std::vector<std::string> heard;
    bool asked = false;
};

TEST_F(HostProtection, TheServiceKeepsItsItemsReportsThemAndHidesSecretsInItsJournal)
{
    ASSERT_TRUE(open()) << m_error;
    ManageableData country = record("country", "23");
    ManageableData pin = record("other-pin-1", "8642");
    ManageableData mobility = record("mobility-user-data-update", "all");
    ASSERT_TRUE(m_platform->management().change(country));
    ASSERT_TRUE(m_platform->management().change(mobility));
    ASSERT_TRUE(m_platform->management().requestSet(pin));
    ASSERT_TRUE(m_platform->management().reportChanged(pin, {"other-pin-1"}));
    ASSERT_TRUE(open()) << m_error;

    Host::ManagementService& service = m_platform->management();
    Agent agent(service);
    service.setAgent(&agent);
    service.reportAll();
    EXPECT_EQ(agent.heard, (std::vector<std::string>{"country=23", "other-pin-1=8642"})) << "no announcement of before";
    agent.heard.clear();
    service.dispatch();
    service.dispatch();
    EXPECT_EQ(agent.heard, (std::vector<std::string>{"system-identifier=from inside"})) << "told once";
    limitFiles(0);
    EXPECT_FALSE(service.change(pin = record("other-pin-1", "9753")));
    limitFiles();
    EXPECT_EQ(agent.heard.size(), 1U) << "what could not be stored did not happen";
    ASSERT_TRUE(service.change(mobility = record("mobility-user-data-update", "managed")));
    agent.heard.clear();
    service.reportAll();
    EXPECT_EQ(agent.heard.at(1), "mobility-user-data-update=managed") << "which goes on";
    service.setAgent(nullptr);

    std::string journal;
    for (Host::JournalEntry const& each : service.journal())
        journal += each.kind + " " + each.item + " " + each.value + "; ";
    EXPECT_EQ(journal.find("requested other-pin-1 ***; reported other-pin-1 ***; requested system-identifier"), 0U)
        << journal;
}

TEST_F(HostProtection, TheServiceRemembersOfEachItemTheLastRequestOnly)
{
    ASSERT_TRUE(open()) << m_error;
    auto wish = record("system-identifier", std::string(10000, 'x'));
    auto const before = ::mallinfo2().uordblks;
    for (int count = 0; count < 500; ++count)
        ASSERT_TRUE(m_platform->management().requestSet(wish));
    EXPECT_LT(::mallinfo2().uordblks, before + 2'000'000);
}

TEST_F(HostProtection, ALogMessageIsOneLineAndCutBetweenCharacters)
{
    auto const logged = [](std::string const& text) {
        testing::internal::CaptureStderr();
        logAppUni("M", "./src/Unit", 2, 7, "refused: %s\n", text.c_str());
        return testing::internal::GetCapturedStderr();
    };
    Host::setLogSink({});
    std::string const written = logged("a\n2 forged\x1b[31m");
    EXPECT_NE(written.find(" 2 M ./src/Unit:7 refused: a\\x0a2 forged\\x1b[31m\n"), std::string::npos) << written;
    EXPECT_EQ(logged(std::string(3000, '\x01')).size(), 4096U);
    EXPECT_EQ(Host::cutLogLine(std::string(4095, 'x')), std::string(4095, 'x'));
    for (std::string const character : {"x", "\xc3\xa4", "\xe2\x82\xac", "\xf0\x9f\x93\x9e", "\x80"})
        for (std::size_t before = 0; before < character.size(); ++before) {
            std::string line(before, '.');
            while (line.size() < 70000)
                line += character;
            std::string const cut = Host::cutLogLine(line);
            std::size_t const kept = cut.find(" ... (cut, " + std::to_string(line.size()) + " bytes)");
            ASSERT_EQ(cut.find(')') + 1, cut.size()) << cut;
            EXPECT_GT(cut.size(), 4095 - 4U);
            EXPECT_LT(cut.size(), 4096U);
            EXPECT_EQ(cut.substr(0, kept), line.substr(0, kept));
            EXPECT_EQ((kept - before) % character.size(), 0U) << character;
        }
}

TEST(HostSecrets, AreWhatTheCatalogueCallsSo)
{
    using namespace Data;
    for (int number = 0; number < eDataTagEnd; ++number) {
        auto const tag = static_cast<eDataTag>(number);
        auto const* const element = DataSourceDB::dataDbDescriptionTable[number].element;
        auto const* const item = DataSourceOCMS::dataOCMSDescriptionTable[number].item;
        EXPECT_EQ(element && ClientUtils::isKnownPasswordDAS(*element), Tables::isSecret(tag)) << number;
        EXPECT_EQ(item && Host::isSecretItem(*item), Tables::isSecret(tag)) << number;
    }
}

} // namespace

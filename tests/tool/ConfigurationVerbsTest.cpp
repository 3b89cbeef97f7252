// The verbs about the configuration as a whole: explain, diff, export, import, reset, history; and the shapes of all answers.
#include "JsonSchema.h"
#include "ToolRunner.h"

#include "cli/Registry.h"

#include "Data/DataTypes.h"

#include "HostPlatform.h"
#include "secrets/SecretBox.h"
#include "store/Database.h"

namespace ToolTest {

namespace fs = std::filesystem;
using nlohmann::json;

/// A document that holds this besides what each does.
std::string with(std::string const& rest)
{
    return R"({"format": "mediadata export", "version": 1)" + rest + "}";
}

struct ConfigurationVerbs : ToolRunner {
    Answer at(char const* name, std::string const& command)
    {
        telephone = name;
        auto answer = run(command);
        telephone = "telephone";
        return answer;
    }

    /// Tables, secrets, dependent rules against them and with them, bytes that are no text, flags, device, other components.
    void changeALot() const
    {
        write("cameras", with(R"(, "settings": {"camera-door-opener-1": 4, "camera-phone-number-3": "other"})"));
        for (Words const& command : std::vector<Words>{
                 wordsOf("set ringer-volume=5 codec[1]/type=0 codec[2]/type=3 codec[3]/allowed=false headset[1]/type=0 "
                         "headset[3]/type=2 SRTPEncryption[1]/rank=2 SRTPEncryption[2]/rank=1 group-pickup-tone-type=1 "
                         "door-opener-type-2=1 door-opener-phonenumber-2=77 door-opener-directvideo-2=3 door-opener-path-2= "
                         "door-opener-address-1=left-over ice-server-pwd-0=Zebra door-opener-pin-2=4711 alert-identifier-3= "
                         "alert-identifier-14=Mine ringer-melody-14=7 direct-video-1011=x"),
                 {"set", "map-special-ringer-4=it's \"quoted\" $HOME\n", "ringer-audio-file=tune.wav",
                  "ice-server-username-0=\xff\xfe"},
                 {"import", pathOf("cameras")},
                 wordsOf("device --model entry --usb no"),
                 wordsOf("flags opus_test=false force_etsi"),
                 wordsOf("country DE"),
                 wordsOf("mgmt changed function-key-def-100=line system-identifier=2")})
            ASSERT_EQ(tool(command).status, 0) << command[1];
    }

    /// Every file of the data directory with its bytes.
    std::map<std::string, std::string> files() const
    {
        std::map<std::string, std::string> all;
        for (auto const& each : fs::recursive_directory_iterator(dataDirectory()))
            all[each.path().string()] = each.is_regular_file() ? contentOf(each.path()) : "";
        return all;
    }

    std::string pathOf(char const* name) const { return (root() / name).string(); }
    std::string exported() const { return out("export --show-secrets"); }
};

TEST_F(ConfigurationVerbs, ExplainEveryItemByTheLayerThatWonAndWhatHidesIt)
{
    changeALot();
    std::string questions;
    for (int tag = 1; tag < Data::eDataTagEnd; ++tag)
        questions += "explain --json --show-secrets " + std::to_string(tag) + "\n";
    std::istringstream answers(run("shell", questions).out);
    auto const values = ask("list --show-secrets");
    std::map<int, json> listed;
    std::map<std::string, json> explained;
    for (auto const& item : values["items"])
        listed[item["tag"]] = item["value"];
    for (int tag = 1; tag < Data::eDataTagEnd; ++tag) {
        json answer;
        answers >> answer;
        ASSERT_EQ(answer["item"]["tag"], tag);
        explained[answer["item"]["item"]] = answer["item"];
        EXPECT_EQ(answer["item"]["value"], listed.contains(tag) ? listed[tag] : json()) << tag;
        json winner;
        for (auto const& layer : answer["layers"])
            if (layer["wins"] == true)
                winner = layer;
        EXPECT_EQ(winner.is_null(), answer["item"]["value"].is_null()) << answer;
        if (winner.is_null())
            continue;
        EXPECT_EQ(winner["holds"], answer["item"]["value"]) << answer;
        EXPECT_EQ(winner["layer"], answer["item"]["from"]);
        EXPECT_NE(winner["layer"], "this process") << "a fresh process cannot know better: " << answer;
    }
    std::pair<char const*, char const*> const cases[]{
        {"database", "ringer-volume ringer-melody-14 camera-phone-number-3 codec[2]/allowed headset[2]/type"},
        {"flag file", "ForceEtsi CodecHardwareAllowed3"},
        {"catalogue", "ice-server-port-0"},
        {"management", "country"},
        {"dependent rule", "camera-door-opener-3"}};
    std::string hidden;
    for (auto const& [layer, items] : cases) {
        for (auto const& name : wordsOf(items)) {
            auto const& item = explained[name];
            EXPECT_EQ(item["from"], layer) << name;
            hidden += item["hidden"].is_null() ? "" : item["hidden"].get<std::string>() + "; ";
        }
    }
    EXPECT_EQ(hidden, "entry model: codec 3 needs the flag opus_test; the device has no USB; ");
}

TEST_F(ConfigurationVerbs, MakeTheTelephoneAnewWithTheCommandsOfDiff)
{
    changeALot();
    EXPECT_NE(column(ask("diff --commands")["leftOut"], "item").find("ice-server-pwd-0 "), std::string::npos);
    EXPECT_NE(out("diff --commands").find("# left out, the door openers decide: camera-phone-number-3\n"),
              std::string::npos);
    write("cameras", with(R"(, "settings": {"camera-door-opener-1": 0, "camera-phone-number-3": "77"})"));
    ASSERT_EQ(status("import " + pathOf("cameras")), 0);
    write("replay.sh", out("diff --commands --show-secrets"));
    auto const path = "cd " + root().string() +
                      " && mkdir bin && ln -s " MEDIADATA_TOOL
                      " bin/mediadata && PATH=$PWD/bin:$PATH MEDIADATA_DIR=$PWD/twin sh -e replay.sh >/dev/null";
    ASSERT_EQ(std::system(path.c_str()), 0);
    EXPECT_EQ(at("twin", "export --show-secrets").out, exported());
    // The second directory is only read.
    auto const before = files();
    EXPECT_EQ(at("twin", "diff --json " + dataDirectory().string()).json()["differences"], json::array());
    EXPECT_EQ(files(), before);
    ASSERT_EQ(at("twin", "set ringer-volume=1").status, 0);
    EXPECT_EQ(ask("diff " + pathOf("twin"))["differences"],
              json::parse(R"([{"item": "ringer-volume", "other": 1, "here": 5}])"));
}

TEST_F(ConfigurationVerbs, CompareWithSeveralAndSayWhetherAnythingDiffers)
{
    auto const longText = std::string(200, 'x');
    ASSERT_EQ(status("set ringer-audio-file=" + longText), 0);
    write("same", out("export"));
    ASSERT_EQ(at("twin", "set ringer-volume=7 ringer-audio-file=" + longText).status, 0);
    auto const several = ask("diff " + pathOf("twin") + " " + pathOf("same"))["differences"];
    EXPECT_EQ(several,
              json::parse(R"([{"item": "ringer-volume", "other": 7, "here": 3, "from": ")" + pathOf("twin") + "\"}]"));
    EXPECT_NE(out("diff").find(longText), std::string::npos) << "cut, though no terminal reads it";
    std::pair<std::string, int> const cases[]{{"diff --exit-code " + pathOf("twin"), 1},
                                              {"diff --exit-code " + pathOf("same"), 0},
                                              {"diff -q", 1},
                                              {"diff -q " + pathOf("same"), 0},
                                              {"diff -q /no/such", 2}};
    for (auto const& [command, wanted] : cases)
        EXPECT_EQ(status(command), wanted) << command;
    EXPECT_EQ(out("diff -q"), "");
}

TEST_F(ConfigurationVerbs, BringEverythingBackAfterExportWipeAndImport)
{
    changeALot();
    auto const whole = exported();
    write("words", "a passphrase\n");
    write("wrong", "another\n");
    auto const sealed = pathOf("export") + " --passphrase-file ";
    write("export", out("export --passphrase-file " + pathOf("words")));
    write("without", out("export"));
    fs::remove_all(dataDirectory());

    ASSERT_EQ(status("import " + sealed + pathOf("wrong")), 4);
    ASSERT_EQ(status("import " + sealed + pathOf("words")), 0);
    EXPECT_EQ(exported(), whole);
    EXPECT_EQ(ask("diff " + sealed + pathOf("words"))["differences"], json::array());
    auto const again = wordsOf(column(ask("import " + pathOf("without"))["items"], "result"));
    EXPECT_EQ(std::set(again.begin(), again.end()), std::set<std::string>{"unchanged"});
    EXPECT_EQ(exported(), whole);
    std::set<std::string> missing;
    auto const compared = ask("diff " + pathOf("without") + " " + pathOf("without"));
    for (auto const& each : compared["missingSecrets"])
        missing.insert(each["here"].get<std::string>() + " " + each["item"].get<std::string>());
    EXPECT_EQ(missing.size(), 14U);
    EXPECT_TRUE(missing.contains("set door-opener-pin-2"));
    EXPECT_TRUE(missing.contains("empty door-opener-pin-1"));
    EXPECT_NE(out("import " + pathOf("without")).find("does not have:\nITEM "), std::string::npos);
    JsonSchema const schema(json::parse(contentOf(MEDIADATA_SOURCE_DIR "/docs/json/export.json")));
    for (auto const* const name : {"export", "without"})
        EXPECT_EQ(schema.fault(json::parse(contentOf(pathOf(name)))), "");
}

TEST_F(ConfigurationVerbs, SettleADocumentOverATelephoneThatIsAlreadyInUse)
{
    changeALot();
    ASSERT_EQ(status("flags aes256_test"), 0);
    ASSERT_EQ(status("set SRTPEncryption[4]/allowed=false"), 0);
    // What a process that goes on knows is not more than what the next start reads.
    auto const going = run("shell", "set ringer-tone-1=4\nset alert-identifier-1=\nexport --show-secrets\n").out;
    auto const whole = exported();
    write("whole", whole);
    EXPECT_TRUE(going.ends_with(whole));
    for (auto const* const command : {"reset DoorOpeners CodecSettings HeadsetPriorities", "set door-opener-type-1=2 ",
                                      "set group-pickup-tone-type=3 door-opener-directvideo-4=1",
                                      "set SRTPEncryption[4]/allowed=true", "flags aes256_test=false"})
        ASSERT_EQ(status(command), 0) << command;
    ASSERT_NE(exported(), whole);
    EXPECT_EQ(status("import --dry-run " + pathOf("whole")), 0) << "its flags show rows that are hidden now";
    auto const answer = run("import --atomic -", whole);
    EXPECT_EQ(answer.status, 0) << answer.out << answer.err;
    EXPECT_EQ(exported(), whole);
}

TEST_F(ConfigurationVerbs, AccountForWhatAnImportDoesNotTake)
{
    write("bad", R"({"format": "mediadata export", "version": 1, "flags": {"force_etsi": "yes", "no_flag": "true"},
        "device": {"model": "huge"}, "service": {"ringer-volume": "2", "country": "FR", "contry": ""},
        "settings": {"ringer-volume": 9, "headset-volume": 4, "handset-volume": 2, "ringer-volumes": 1, "ForceEtsi": true},
        "tables": {"codec": {"codec[1]/type": 1, "click-keys": 1}, "codecs": {},
                   "ringing": {"alert-type-14": 1}}})");
    ASSERT_EQ(status("get 1"), 0);
    auto const before = files();
    auto const dry = ask("import --dry-run " + pathOf("bad"));
    EXPECT_EQ(files(), before);
    EXPECT_EQ(dry["exit"], 4);
    EXPECT_EQ(dry["items"][2]["accepted"], "1..8");
    std::string results;
    for (auto const& item : dry["items"])
        results += item["item"].get<std::string>() + " " + item["result"].get<std::string>() + "; ";
    EXPECT_EQ(results, "handset-volume unchanged; headset-volume would store; ringer-volume refused; codec[1]/type refused; "
                       "alert-type-14 refused; "
                       "ForceEtsi refused; device/model refused; flags/force_etsi refused; country would store; "
                       "ringer-volume refused; flags/no_flag unknown; contry unknown; ringer-volumes unknown; "
                       "tables/codec/click-keys unknown; tables/codecs unknown; ");
    auto const unknown = ask("diff " + pathOf("bad"))["errors"][1];
    EXPECT_EQ(unknown["suggestions"][1], "country");
    EXPECT_EQ(unknown["item"], pathOf("bad") + ":2:89");
    EXPECT_EQ(dry["items"][12]["reason"].get<std::string>().find(pathOf("bad") + ":3:84: no item has this name"), 0U);
    EXPECT_EQ(dry["errors"][1]["reason"], "5 items unknown: nothing was stored");
    EXPECT_EQ(status("import --atomic " + pathOf("bad")), 4);
    EXPECT_EQ(out("export"), at("new", "export").out);
    EXPECT_EQ(status("import " + pathOf("bad")), 4);
    EXPECT_EQ(out("get headset-volume ringer-volume codec[1]/type country"),
              "headset-volume = 4\nringer-volume = 3\ncodec[1]/type = 3\ncountry = FR\n");
}

TEST_F(ConfigurationVerbs, TakeBackAnAtomicImportThatFailsAtItsEnd)
{
    auto const before = out("export");
    fs::create_directories(dataDirectory() / "data/database/media_config.new"); // where the flag file's draft belongs
    auto const document = R"({"format": "mediadata export", "version": 1, "settings": {"61": 7, "codec[1]/allowed": false},
                              "device": {"model": "entry"}, "flags": {"opus_test": "true"}, "service": {"country": "FR"}})";
    EXPECT_EQ(run("import --atomic -", document).status, 5);
    EXPECT_EQ(out("export"), before);
}

TEST_F(ConfigurationVerbs, RefuseMalformedDocumentsAndNameThePlace)
{
    std::pair<std::string, char const*> const cases[]{
        {"", "standard input:1:1: syntax error"},
        {"{}", "format"},
        {R"({"format": "mediadata export", "version": 2})", "version: expected 1, found 2"},
        {with("") + "x", "standard input:1:45: syntax error"},
        {with(R"(, "settings": {"61": 1, "61": 2})"), "standard input:1:68: settings/61: given twice"},
        {with(R"(, "settings": {"61": 1, "ringer-volume": 2})"), "settings/ringer-volume: this item is there already"},
        {with(R"(, "settings": {"61": "5"})"), "settings/61: expected a whole number"},
        {with(R"(, "settings": {"61": 4294967297})"), "settings/61: expected a whole number"},
        {with(R"(, "settings": {"61": 1e999})"), "number overflow"},
        {with(R"(, "settings": {"59": 2})"), "settings/59: expected true or false"},
        {with(R"(, "settings": {"63": "a\u0000b"})"), "settings/63: a text must not hold the character 0"},
        {with(R"(, "settings": {"DoorOpener1Pin": 424242})"), "DoorOpener1Pin: expected a text, found number"},
        {with(R"(, "settings": {"DoorOpener1Pin": "424242)"), "standard input:1:"},
        {with(R"(, "settings": {"63": {"hex": "0g"}})"), "settings/63: expected"},
        {with(R"(, "settings": {"63": ")"
              "\xff\"}"),
         "ill-formed UTF-8"},
        {with(R"(, "settings": [])"), "settings: expected an object"},
        {with(R"(, "tables": {"codec": {"x": [[[[[[1]]]]]]}})"), "nested deeper than"},
        {with(R"(, "tables": )" + std::string(100000, '[')), "nested deeper than"},
        {with(R"(, "more": 1)"), "more: this version has no such member"},
        {with(R"(, "secrets": {"cipher": "none"})"), "secrets/cipher"},
        {with(R"(, "secrets": {"cipher": "argon2id13 xchacha20-poly1305", "passes": 2000000000, "memory-kib": 8, )"
              R"("salt": "AAAAAAAAAAAAAAAAAAAAAA", "sealed": ""})"),
         "secrets: expected 1..8 passes"},
    };
    ASSERT_EQ(status("get 1"), 0);
    auto const before = files();
    for (auto const& [text, words] : cases) {
        auto const answer = run("import - --secrets", text);
        EXPECT_EQ(answer.status, 2) << text.substr(0, 100);
        EXPECT_NE(answer.err.find(words), std::string::npos) << text.substr(0, 100) << answer.err;
        EXPECT_EQ(answer.err.find("424242"), std::string::npos) << "a secret";
    }
    EXPECT_EQ(status("import /dev/zero"), 2) << "what has no end";
    EXPECT_EQ(files(), before);
}

TEST_F(ConfigurationVerbs, ResetWhatThePreviewPromises)
{
    changeALot();
    ASSERT_EQ(status("set handset-volume=8 click-keys=1 distinctive-ringer-mode=1 moh-enabled=false"), 0);
    for (std::string const what : {"audio", "user-data"}) {
        auto const before = files();
        auto const preview = ask("reset --dry-run " + what)["items"];
        EXPECT_EQ(files(), before);
        EXPECT_GE(preview.size(), 4U);
        EXPECT_EQ(ask("reset " + what)["items"], preview) << what;
    }
    EXPECT_EQ(out("get ringer-melody-14"), "2\n") << "a reset table cell is durable";
    EXPECT_EQ(status("reset door-opener-address-1 DoorOpener2Pin"), 0);
    EXPECT_EQ(out("get door-opener-address-1 door-opener-pin-2"),
              "door-opener-address-1 = \"\"\ndoor-opener-pin-2 = \"\"\n");
    EXPECT_EQ(status("reset country ForceEtsi"), 4);
    EXPECT_EQ(status("reset --all"), 0);
    EXPECT_EQ(column(ask("diff")["differences"], "item"),
              "device/model device/usb flags/force_etsi flags/opus_test country function-key-def-100 system-identifier ");
}

TEST_F(ConfigurationVerbs, RememberWhoChangedWhat)
{
    changeALot();
    EXPECT_EQ(status("set ringer-volume=9 camera-password-1=Zebra-much-too-long-for-it"), 4);
    std::set<std::string> seen;
    auto const all = ask("history --limit 1000");
    for (auto const& entry : all["history"])
        for (auto const& change : entry["changes"])
            seen.insert(entry["verb"].get<std::string>() + " " + entry["door"].get<std::string>() + ": " +
                        change["item"].get<std::string>() + " " + change["old"].dump() + " " + change["new"].dump() + " " +
                        change["result"].get<std::string>() + " " + change["cause"].get<std::string>() +
                        (change["reason"] == "" ? " for no reason" : ""));
    for (auto const* const line :
         {R"(set command: ringer-volume 3 5 stored asked)", R"(set command: camera-door-opener-3 0 2 stored rule)",
          R"(set command: ice-server-pwd-0 "" "********" stored asked)",
          R"(device command: device/model null "entry" stored asked)", R"(flags command: ForceEtsi null true stored asked)",
          R"(set command: ringer-volume 5 "9" refused asked)",
          R"(set command: camera-password-1 "" "********" refused asked)"})
        EXPECT_TRUE(seen.contains(line)) << line << all.dump(1).substr(0, 6000);
    auto const file = dataDirectory() / "mediadata.history";
    EXPECT_EQ(fs::status(file).permissions(), fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_EQ(ask("history ringer-volume")["history"].size(), 2U);
    ASSERT_EQ(status("country FR"), 0);
    EXPECT_EQ(column(ask("history --limit 1")["history"][0]["changes"], "item"), "country ");
}

TEST_F(ConfigurationVerbs, KeepTheHistoryReadableAndBoundedAndWorkOnWithout)
{
    auto const file = dataDirectory() / "mediadata.history";
    ASSERT_EQ(status("set ringer-volume=99"), 4);
    std::ofstream(file, std::ios::app) << R"({"time": 1, "who": "to)"; // a kill in the middle of a line
    ASSERT_EQ(status("set ringer-volume=98"), 4);
    EXPECT_EQ(ask("history")["history"].size(), 2U);
    std::ofstream(file, std::ios::app) << R"({"time": 1, "who": "x", "item": "x", "old": )" + std::string(100000, '[') +
                                              std::string(100000, ']') + "}\n";
    EXPECT_EQ(ask("history")["history"].size(), 2U);
    std::ofstream(file, std::ios::app) << std::string(512 * 1024, '\n');
    ASSERT_EQ(status("set ringer-volume=97"), 4);
    EXPECT_LT(fs::file_size(file), 1000U);
    EXPECT_EQ(ask("history")["history"].size(), 3U);
    fs::remove(file);
    fs::create_symlink(root() / "elsewhere", file);
    auto const answer = run("set ringer-volume=7 ringer-melody=99");
    EXPECT_EQ(answer.status, 4);
    EXPECT_NE(answer.err.find("history could not be written"), std::string::npos);
    EXPECT_FALSE(fs::exists(root() / "elsewhere"));
    EXPECT_EQ(status("history"), 5);
    EXPECT_EQ(out("get ringer-volume"), "7\n");
}

TEST_F(ConfigurationVerbs, BringATemplateToManyTelephones)
{
    changeALot();
    write("template.json", exported());
    auto const file = (root() / "template.json").string();
    std::string list = "# all of them\n\n";
    for (int number = 0; number < 9; ++number)
        list += (root() / ("phone" + std::to_string(number))).string() + " \n";
    telephone = "phone1";
    ASSERT_EQ(status("set ringer-volume=8"), 0);
    write("phone2", "a file"); // in the place of the third
    fs::create_directory(root() / "phone3");
    write("phone3/mediadata.db", "no database of ours");
    JsonSchema const schema(json::parse(contentOf(MEDIADATA_SOURCE_DIR "/docs/json/answers.json")));
    auto const visit = [&](std::string const& command) {
        auto const answer = run(command + " --jobs 3 --from-file - --json", list);
        EXPECT_EQ(schema.fault(answer.json(), command.substr(0, command.find(" --"))), "") << answer.out;
        EXPECT_EQ(answer.status, 5) << "the gravest of all";
        return answer.json();
    };
    auto const equal = [&](json const& answer) {
        auto const results = column(answer["telephones"], "result");
        EXPECT_EQ(answer["telephones"][2]["result"], "failed");
        return (results.size() - std::string("failed ").size()) / std::string("equal ").size();
    };
    EXPECT_EQ(column(visit("fleet import --dry-run --template " + file)["telephones"], "result"),
              "done done failed done done done done done done ");
    EXPECT_EQ(column(visit("fleet import --template " + file)["left"], "item"), "null ");
    EXPECT_EQ(equal(visit("fleet diff --template " + file)), 8U);
    fs::remove(root() / "phone2");
    auto const second =
        run("fleet import --template - --json " + (root() / "phone1/").string() + ' ' + (root() / "phone2").string(),
            contentOf(file));
    EXPECT_EQ(second.json()["telephones"][0]["stored"], 0);
    EXPECT_GT(second.json()["telephones"][1]["stored"], 10);
    EXPECT_EQ(second.status, 0);
    // Told to end while the second stores: what is done was compared.
    auto const new1 = (root() / "new1").string();
    write("child", "#!/bin/sh\necho \"$6\" >>" + (root() / "children").string() + "\n[ \"$6 $2\" != 'import " + new1 +
                       "' ] || kill $PPID\nexec " MEDIADATA_TOOL " \"$@\"\n");
    fs::permissions(root() / "child", fs::perms::owner_all);
    ::setenv("MEDIADATA_PROGRAM", (root() / "child").c_str(), 1);
    auto const stopped = run("fleet import --jobs 1 --json --template " + file + ' ' + (root() / "new0").string() + ' ' +
                             new1 + ' ' + (root() / "new2").string());
    ::unsetenv("MEDIADATA_PROGRAM");
    EXPECT_EQ(column(stopped.json()["telephones"], "result"), "done done not begun ");
    EXPECT_EQ(contentOf(root() / "children"), "import\ndiff\nimport\ndiff\n");
    EXPECT_EQ(status("fleet diff phone phone/"), 2);
    EXPECT_EQ(status("fleet import phone"), 2) << "without a template";
}

TEST_F(ConfigurationVerbs, TakeChangesBack)
{
    auto const untouched = exported();
    ASSERT_EQ(status("set ringer-volume=5 camera-password-1=Zebra ringer-melody-3=4"), 0);
    auto const first = exported();
    auto const stored = [&] {
        std::string error;
        auto const platform = Host::Platform::open({dataDirectory().string(), std::nullopt}, error);
        return platform->database().read("DirectVideoSettings", "Camera1Password").value_or("");
    };
    auto const cipher = stored();
    EXPECT_TRUE(Host::SecretBox::isEncrypted(cipher)) << cipher;
    ASSERT_EQ(status("set ringer-volume=6 camera-password-1=Horse ringer-melody=1"), 0);
    ASSERT_EQ(status("flags force_etsi"), 0);
    EXPECT_EQ(status("undo"), 0) << "the flag";
    EXPECT_EQ(status("undo --dry-run"), 0) << "the second set";
    EXPECT_EQ(out("get ringer-volume"), "6\n");
    EXPECT_EQ(status("undo"), 0);
    EXPECT_EQ(exported(), first);
    EXPECT_EQ(out("get camera-password-1 --show-secrets"), "Zebra\n");
    EXPECT_EQ(stored(), cipher);
    ASSERT_EQ(status("undo"), 0) << "the first set";
    EXPECT_EQ(exported(), untouched);
    EXPECT_EQ(status("undo"), 4) << "nothing is left";
    auto const entries = ask("history")["history"];
    EXPECT_EQ(status("undo " + entries[3]["number"].dump()), 0) << "the flag again";
    EXPECT_EQ(status("undo " + entries.back()["number"].dump()), 0) << "the first set again";
    EXPECT_EQ(column(ask("undo --dry-run")["undoes"], "number"), "1 ") << "what was done last";
    EXPECT_EQ(status("flags force_etsi="), 0);
    EXPECT_EQ(exported(), first);
    ASSERT_EQ(status("set ringer-volume=7"), 0);
    EXPECT_NE(run("undo 1").err.find("ringer-volume: was changed meanwhile"), std::string::npos);
    EXPECT_EQ(status("undo --force 1"), 0);
    EXPECT_EQ(exported(), untouched);
    EXPECT_EQ(status("undo 1234"), 3);
    fs::remove(dataDirectory() / "secret.key");
    EXPECT_NE(run("undo --since 1970-01-02 --dry-run").out.find("Taken back"), std::string::npos) << "nothing in sum";
    EXPECT_NE(run("undo --force 2").err.find("camera-password-1: is a secret that cannot be decrypted"), std::string::npos);
    EXPECT_EQ(status("history forget camera-password-1"), 4) << "asks";
    EXPECT_EQ(status("history forget camera-password-1 --yes"), 0);
    EXPECT_EQ(out("history").find("camera-password"), std::string::npos);
    EXPECT_NE(out("history ringer-melody-3").find("ringer-melody-3 "), std::string::npos);
    EXPECT_EQ(status("history forget ringer-melody-3 --yes"), 0);
    EXPECT_EQ(out("history ringer-melody-*").find("ringer-melody-3 "), std::string::npos);
    EXPECT_NE(out("history ringer-melody-*").find("ringer-melody-14 "), std::string::npos) << "another cell of the table";
    EXPECT_EQ(status("set camera-password-1="), 0) << "unreadable, and can be emptied";
    EXPECT_EQ(out("get camera-password-1"), "\n");
    auto const last = exported();
    EXPECT_EQ(status("mgmt changed function-key-def-100=line"), 0);
    EXPECT_NE(exported(), last);
    EXPECT_EQ(status("undo"), 0);
    EXPECT_EQ(exported(), last) << "the service holds it no longer";
    EXPECT_EQ(status("reset --all"), 0);
    EXPECT_EQ(ask("history")["history"].size(), 1U) << "who wiped it";
    EXPECT_EQ(status("history forget --yes"), 0);
    EXPECT_EQ(status("history --since tomorrow"), 2);
}

TEST_F(ConfigurationVerbs, AnswerInTheShapesThatAreDocumented)
{
    changeALot();
    auto const whole = exported();
    auto const document = json::parse(contentOf(MEDIADATA_SOURCE_DIR "/docs/json/answers.json"));
    JsonSchema const schema(document);
    Words verbs{"failure", "version", "diff --commands", "watch missed"};
    for (auto const& verb : Tool::Registry(Tool::Place::Process).verbs) {
        if (std::holds_alternative<Tool::Group>(verb.action))
            continue;
        verbs.push_back(verb.name);
        EXPECT_EQ(schema.fault(ask(verb.name + " --no-such-option"), "failure"), "") << verb.name;
    }
    for (auto const& [definition, ignored] : document["$defs"].items()) {
        bool const isPart = document.dump().find("#/$defs/" + definition + '"') != std::string::npos;
        EXPECT_EQ(std::erase(verbs, definition), isPart ? 0U : 1U) << definition << ": no verb answers so";
    }
    EXPECT_EQ(verbs, Words()) << "not described";
    // The definition, then the command.
    auto const cases = split(
        "list: list volume;list: list --changed;list: list --details;list: list mute;list: list --groups;describe: describe "
        "71;"
        "get: get 61 no-such;describe: describe codec[1]/type;"
        "describe: describe 60;set: set 61=9 51=5 --watch;set: set 61=1 --dry-run;"
        "explain: explain 109;explain: explain 632;explain: explain 653;diff: diff;"
        "diff --commands: diff --commands;import: import -;reset: reset audio --dry-run;"
        "reset: reset audio;reset: reset ringer-volume;undo: undo;history: history;history: history show 1;catalogue: "
        "catalogue;"
        "mgmt get: mgmt get codecSettings ipaddress;mgmt set: mgmt set 61=7 country=FR 62=99;"
        "mgmt changed: mgmt changed country=FR;mgmt reset-user-data: mgmt reset-user-data;"
        "mgmt journal: mgmt journal;mobility: mobility all --from -;mobility: mobility;country: country;country: country KR;"
        "flags: flags;flags: flags force_etsi=;device: device;table: table;"
        "failure: describe nothing;failure: import /no/such/file;"
        "failure: set;failure: set 61;version: --version;export: export;diff: diff -;country: country XX;"
        "mgmt get: mgmt get ringing 61 country;import: import - --dry-run;reset: reset codec",
        ';');
    for (auto const& line : cases) {
        auto const definition = line.substr(0, line.find(':'));
        auto const command = line.substr(line.find(' ', definition.size()) + 1);
        auto const answer = run(command + " --json", whole);
        ASSERT_TRUE(answer.json().is_object()) << command << answer.out;
        EXPECT_EQ(schema.fault(answer.json(), definition), "") << command;
        EXPECT_EQ(answer.json().value("exit", 0), answer.status);
    }
    EXPECT_EQ(schema.fault(run("shell --json", "get 61\n").json(), "get"), "");
    auto const holder = start("holder", {"serve", "--json"});
    ASSERT_TRUE(holder.says("}\n"));
    EXPECT_EQ(schema.fault(json::parse(holder.out()), "serve"), "");
    auto watching = start("watching", {"watch", "ringer-volume", "--json", "--initial", "--count", "1"});
    ASSERT_TRUE(watching.says("watching "));
    run("set ringer-volume=8");
    watching.end();
    for (auto const& line : split(watching.out(), '\n'))
        EXPECT_EQ(schema.fault(json::parse(line), "watch"), "") << line;
    EXPECT_EQ(schema.fault(ask("watch --timeout 1 --count 1"), "failure"), "");
}

} // namespace ToolTest

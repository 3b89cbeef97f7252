"""Whole stories on the telephone's page, each from what people do to what the telephone then holds."""
import getpass
import json

from harness import VIEWS, Line, Story, main
from selenium.webdriver.common.keys import Keys


class TheList(Story):
    def search(self, text):
        field = self.page.find("#search")
        field.clear()
        field.send_keys(text)

    def edit(self, item, text, *keys):
        """Opens the editor of a row, replaces its text and presses the keys."""
        row = self.page.row(item)
        row.find_element("css selector", ".face").click()
        control = self.page.until(lambda: row.find_element("css selector", ".editor :is(input, select)"))
        control.clear()
        control.send_keys(text, *keys)
        return row

    def test_search_and_set(self):
        self.search("ringer mel")
        self.page.until(lambda: self.page.shown()[:1] == ["ringer-melody"])
        self.assertLess(len(self.page.shown()), 40)
        self.search("dtmf")  # is in the help of settings only, not in their names
        self.page.until(lambda: self.page.shown())
        self.search("ringer-melody")
        self.edit("ringer-melody", "5", Keys.ENTER)
        self.page.until(lambda: self.telephone.value("ringer-melody") == 5)
        self.search("")
        self.page.click(".head [role=switch]")
        self.page.until(lambda: self.page.shown() == ["ringer-melody"])

    def test_a_refusal_stands_beside_its_field(self):
        self.search("rtp-base-port")
        row = self.edit("rtp-base-port", "5005", Keys.ENTER)
        refusal = self.page.until(lambda: row.find_element("css selector", ".notes .error").text)
        library = self.telephone.run("set", "--dry-run", "rtp-base-port=5005")["items"][0]
        self.assertIn(library["reason"], refusal)
        self.assertEqual(self.telephone.value("rtp-base-port"), library["old"])
        self.page.press(Keys.ESCAPE)
        self.page.until(lambda: not row.find_elements("css selector", ".editor"))

    def test_a_change_of_the_tool_is_seen_and_marked(self):
        row = self.page.row("ringer-volume")
        self.telephone.set("ringer-volume=7")
        self.page.until(lambda: row.find_element("css selector", "input").get_attribute("value") == "7")
        self.assertIn(f"{getpass.getuser()} with set", row.find_element("css selector", ".mark").text)
        self.telephone.run("mgmt", "set", "ringer-volume=2")
        self.page.until(lambda: "management" in row.find_element("css selector", ".mark").text)

    def test_two_tabs_in_conflict(self):
        browser = self.page.browser
        self.search("ringer-audio-file")
        row = self.edit("ringer-audio-file", "mine.wav")
        first = browser.current_window_handle
        browser.switch_to.new_window("tab")
        self.page.open(self.page.origin + "/#settings?q=ringer-audio-file")
        self.edit("ringer-audio-file", "theirs.wav", Keys.ENTER)
        self.page.until(lambda: self.telephone.value("ringer-audio-file") == "theirs.wav")
        browser.switch_to.window(first)
        self.page.until(lambda: "theirs.wav" in row.find_element("css selector", ".conflict").text)
        self.assertEqual(row.find_element("css selector", ".editor input").get_attribute("value"), "mine.wav")
        self.page.button("Store mine").click()
        self.page.until(lambda: self.telephone.value("ringer-audio-file") == "mine.wav")

    def test_secrets_go_in_and_never_come_out(self):
        self.search("door-opener-pin-1")
        row = self.edit("door-opener-pin-1", "80731", Keys.ENTER)
        self.page.until(lambda: self.telephone.value("door-opener-pin-1") == "80731")
        self.page.until(lambda: not row.find_elements("css selector", ".editor"))
        self.page.browser.refresh()
        self.page.row("door-opener-pin-1")
        sent = self.page.browser.execute_async_script(
            "const done = arguments[0]; Promise.all(['settings', 'tables/door-openers', 'history', 'export', 'diff', "
            "'settings/door-opener-pin-1/explanation'].map(path => fetch(`api/v1/${path}`).then(answer => answer.text())))"
            ".then(texts => done(texts.join('') + document.documentElement.outerHTML))")
        self.assertIn("door-opener-pin-1", sent)
        self.assertFalse("80731" in sent)  # without telling it all


class TheViews(Story):
    def test_codecs_are_put_in_order_and_stay_so(self):
        page = self.page
        page.view("tables")
        names = lambda: [entry.text.split("\n")[0] for entry in page.all("#table-codec .choice")]
        page.until(lambda: len(names()) == 4)
        before = names()
        handles = page.all("#table-codec .handle")
        page.drag(handles[0], handles[2])
        page.until(lambda: names()[2] == before[0])
        page.all("#table-codec .handle")[3].send_keys(Keys.HOME)
        wanted = [before[3], before[1], before[2], before[0]]
        page.until(lambda: names() == wanted)
        page.see("would change", "#table-codec")
        self.assertEqual([row["type"] for row in self.telephone.run("table", "codec")["codec"]], [3, 0, 2, 1])
        self.telephone.set("codec[1]/rank=3", "codec[3]/rank=1")  # which moves the codecs among the rows
        page.see("has been changed meanwhile", "#table-codec")
        page.button("Store", "#table-codec").click()
        page.until(lambda: [row["type"] for row in self.telephone.run("table", "codec")["codec"]] == [1, 0, 2, 3])
        page.until(lambda: not page.find("#table-codec .staged").is_displayed())
        page.browser.get("about:blank")
        self.telephone.stop()
        page.open(self.telephone.serve())
        page.view("tables")
        page.until(lambda: names() == wanted)

    def test_rows_that_the_hardware_hides_say_why(self):
        page = self.page
        page.view("tables")
        page.see("needs the flag opus_test", "#table-codec .unusable")
        page.see("rings as the general ringer", ".general")
        page.view("telephone")
        for answer, shown in (("Cancel", ""), ("Change", "true")):
            page.click("#telephone-opus_test option[value=true]")
            page.see("SRTPEncryptionHardwareAllowed1 on → off", "dialog")
            page.button(answer, "dialog").click()
            page.until(lambda: page.find("#telephone-opus_test").get_attribute("value") == shown)
            page.until(lambda: self.telephone.run("flags")["flags"][0]["value"] == (shown == "true"))
        page.view("tables")
        page.until(lambda: page.all("#table-codec li") and not page.all("#table-codec .unusable"))

    def test_a_door_opener_is_wiped_only_after_a_warning_and_comes_back(self):
        page = self.page
        self.telephone.set("door-opener-type-1=2", "door-opener-name-1=Gate", "door-opener-phonenumber-1=4711", "door-opener-directvideo-1=2")
        page.view("doors")
        page.see("Shown by door opener 1 · Gate, 4711", "#camera-2")
        page.until(lambda: page.all(".links path"))
        for answer, kept in (("Cancel", "Gate"), ("Change", "DoorOpener 1")):
            page.find("#opener-1 select option[value='0']").click()
            page.see("Gate", "dialog")
            page.button(answer, "dialog").click()
            page.until(lambda: self.telephone.value("door-opener-name-1") == kept and not page.all("dialog"))
        page.see("Not linked", "#camera-2")
        page.view("history")
        page.button("Undo the last change").click()
        page.see("Gate", ".preview")
        page.button("Take it back", ".preview").click()
        page.until(lambda: self.telephone.value("door-opener-name-1") == "Gate")
        page.view("doors")
        page.see("Shown by door opener 1 · Gate, 4711", "#camera-2")

    def drop(self, document):
        self.page.script(
            "const files = new DataTransfer(); files.items.add(new File([arguments[0]], 'other.json', {type: 'application/json'}));"
            "document.querySelector('.drop').dispatchEvent(new DragEvent('drop', {dataTransfer: files, bubbles: true, cancelable: true}))",
            document)

    def test_an_import_is_seen_item_by_item_before_it_is_made(self):
        page = self.page
        document = self.telephone.run("export")
        document["settings"].update({"ringer-melody": 4, "ringer-volume": 99, "no-such-setting": 1})
        page.view("import")
        self.drop("{}")
        page.see("cannot be used")
        self.drop(json.dumps(document))
        plan = page.text(".outcomes").replace("\n", " ")
        for part in ("refused ringer-volume", "accepted: 1..8", "unknown no-such-setting", "would store ringer-melody"):
            self.assertIn(part, plan)
        self.assertEqual(self.telephone.value("ringer-melody"), 0)
        page.button("Import", ".preview").click()
        page.until(lambda: self.telephone.value("ringer-melody") == 4)
        self.assertEqual(self.telephone.value("ringer-volume"), 3)
        page.view("telephone")
        page.click("[aria-label='Reset: Audio settings']")
        page.see("would store", ".preview")

    def test_an_import_opens_the_secrets_with_their_passphrase(self):
        passphrase = "blank, ü and 50 % \u9375"
        self.telephone.set("door-opener-pin-1=80731")
        document = self.telephone.run("export", "--secrets", "--passphrase-file", "-", document=passphrase)
        self.telephone.set("door-opener-pin-1=")
        self.page.view("import")
        self.drop(json.dumps(document))
        self.page.see("Nothing would change")
        for typed, seen in (("wrong", "wrong passphrase"), (passphrase, "would store")):
            self.page.find("#import-passphrase").clear()
            self.page.find("#import-passphrase").send_keys(typed, Keys.TAB)
            self.page.see(seen)
        self.page.button("Import", ".preview").click()
        self.page.until(lambda: self.telephone.value("door-opener-pin-1") == "80731")

    def test_compared_with_the_defaults_and_with_a_file(self):
        page = self.page
        document = json.dumps(self.telephone.run("export"))
        self.telephone.set("ringer-melody=4", "ringer-volume=5")
        page.view("compare")
        page.see("2 differences from the defaults")
        page.click("[aria-label='Reset ringer-volume']")
        page.until(lambda: self.telephone.value("ringer-volume") == 3)
        page.see("1 difference from the defaults")
        page.until(lambda: page.focused() == "Reset ringer-melody")
        self.drop(document)
        page.see("1 difference from other.json")
        page.click("[aria-label='Take ringer-melody']")
        page.until(lambda: self.telephone.value("ringer-melody") == 0)

    def test_explained_layer_by_layer(self):
        page = self.page
        self.telephone.set("ringer-volume=5")
        page.view("explain/ringer-volume")
        page.see("stored as AudioSettings/RingerVolume", ".layers .wins")
        page.find("#explain-item").clear()
        page.find("#explain-item").send_keys("ringer-volum", Keys.ENTER)
        page.see("no item has this")
        page.button("ringer-volume", "main").click()
        page.see("decides")


class Everywhere(Story):
    def test_whole_by_keyboard(self):
        page = self.page
        page.press("/", "ringer-melody", Keys.ARROW_DOWN)
        page.until(lambda: "ringer-melody" in page.focused())
        page.press(Keys.ENTER)
        page.until(lambda: page.all(".editor :is(input, select)"))
        page.press(Keys.BACKSPACE, "6", Keys.ENTER)
        page.until(lambda: self.telephone.value("ringer-melody") == 6)
        page.until(lambda: not page.all(".editor"))
        page.press(Keys.DELETE)
        page.until(lambda: self.telephone.value("ringer-melody") == 0)
        self.tab_to("Tables")
        page.press(Keys.ENTER)
        page.until(lambda: page.all("#table-headset li"))
        self.tab_to("Move Headset 0, 3 of 3")
        page.press(Keys.ARROW_UP, Keys.ARROW_UP)
        self.tab_to("Store")
        page.press(Keys.SPACE)
        page.until(lambda: [row["type"] for row in self.telephone.run("table", "headset")["headset"]] == [0, 2, 1])
        page.view("telephone")
        page.find("#telephone-force_etsi").send_keys(Keys.ARROW_DOWN)
        page.find("#telephone-force_etsi:open")
        page.press(Keys.ARROW_DOWN, Keys.ARROW_DOWN, Keys.ENTER)  # past "on", which nobody meant
        page.see("off", "dialog")
        page.press(Keys.ENTER)
        page.until(lambda: self.telephone.run("flags")["flags"][-1]["line"] == "force_etsi false")
        self.assertEqual([entry["verb"] for entry in self.telephone.run("history")["history"]].count("flags"), 1)

    def tab_to(self, name):
        self.page.script("document.querySelector('#skip').focus()")
        for _ in range(80):
            self.page.press(Keys.TAB)
            if self.page.focused() == name:
                return
        self.fail(f"Tab does not lead to {name}")

    def test_a_connection_is_lost_and_found_again(self):
        page = self.page
        line = Line(self.telephone.listen)
        self.addCleanup(line.cut)
        page.open(self.telephone.address().replace("127.0.0.1", "127.0.0.2"))
        row = page.row("ringer-volume")
        page.until(lambda: page.text("#connection") == "live")
        line.cut()
        page.see("Connection lost", "#connection")
        self.telephone.set("ringer-volume=6")
        line.join()
        page.until(lambda: page.text("#connection") != "" and "lost" not in page.text("#connection"))
        page.until(lambda: row.find_element("css selector", "input").get_attribute("value") == "6")
        page.see("with set", ".mark")
        page.browser.get_log("browser")  # has what could not be reached

    def test_a_token_is_needed_and_counts_once(self):
        page = self.page
        page.browser.delete_all_cookies()
        page.open(page.origin)
        page.see("A token is needed")
        self.assertFalse(page.all(".row"))
        page.find("#token").send_keys("wrong", Keys.ENTER)
        page.until(lambda: "neither" in page.browser.page_source)
        address = self.telephone.address()
        for used in (False, True):
            page.browser.delete_all_cookies()
            page.open(address)
            page.until(lambda: ("neither" in page.browser.page_source) if used else page.all(".row"))

    def test_narrow_screen(self):
        page = self.page
        self.telephone.set("door-opener-type-1=2", "door-opener-directvideo-1=2", "ringer-volume=5")
        page.size(360, 740)
        for view, whole in VIEWS.items():
            page.view(view)
            page.find(whole)
            with self.subTest(view):
                self.assertLessEqual(page.script("return document.documentElement.scrollWidth"), 360)
        page.view("settings?q=ringer-volume")
        page.click(".row:not([hidden]) .reset")
        page.until(lambda: self.telephone.value("ringer-volume") == 3)

    def test_axe_finds_nothing(self):
        page = self.page
        self.telephone.set("door-opener-type-1=2", "door-opener-directvideo-1=2", "ringer-volume=5")
        for dark in (False, True):
            page.size(1280, dark=dark)
            for view, whole in VIEWS.items():
                page.view(view)
                page.find(whole)
                page.script("document.querySelectorAll('details').forEach(details => details.open = true)")
                with self.subTest(view, dark=dark):
                    self.assertEqual(page.faults(), [])

    def test_axe_finds_nothing_where_people_are_told_or_asked(self):
        page = self.page
        self.telephone.set("door-opener-type-1=2", "door-opener-name-1=Gate", "door-opener-directvideo-1=2")
        page.view("settings?q=rtp-base-port")
        page.click(".row:not([hidden]) .face")
        page.find(".editor input").send_keys("5005")
        page.find(".notes .error")
        self.assertEqual(page.faults(), [])
        page.view("doors")
        page.click("#opener-1 select option[value='0']")
        page.see("Gate", "dialog")
        self.assertEqual(page.faults(), [])
        page.button("Cancel", "dialog").click()
        page.view("history")
        page.click(".history li button")
        page.see("Gate", ".preview")
        self.assertEqual(page.faults(), [])

    def test_nothing_from_outside_and_little_of_all(self):
        page = self.page
        self.telephone.set("ringer-volume=5")
        for view, whole in VIEWS.items():
            page.view(view)
            page.find(whole)
        loaded = page.script("return performance.getEntriesByType('resource').map(({name, decodedBodySize}) => [name, decodedBodySize])")
        self.assertEqual([name for name, _ in loaded if not name.startswith((page.origin, "data:"))], [])
        self.assertLessEqual(sum(size for name, size in loaded if "/api/" not in name), 120_000)


class ReadOnly(Story):
    options = ["--read-only"]

    def test_everything_is_seen_and_nothing_can_be_changed(self):
        page = self.page
        page.row("ringer-melody")
        self.assertEqual([control for control in page.all("button.face, .reset, .direct > :enabled")], [])
        for view in ("tables", "doors", "telephone"):
            page.view(view)
            page.find(VIEWS[view])
            self.assertEqual(page.all("main :is(.handle, .switch, .face, select, input[type=text]):enabled"), [], view)
        answer = page.browser.execute_async_script(
            "fetch('api/v1/settings/ringer-melody', {method: 'PUT', headers: {'Content-Type': 'application/json'}, body: '{\"value\": 4}'})"
            ".then(answer => arguments[0](answer.status))")
        self.assertEqual(answer, 403)
        self.assertEqual(self.telephone.value("ringer-melody"), 0)


if __name__ == "__main__":
    main()

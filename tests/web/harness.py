"""What every story stands on: a telephone in a data directory of its own, its page served by the real program, and a real browser.

A story is a Story with `self.telephone` and `self.page`. When it fails, a picture and the page's text are kept."""
import json
import os
import re
import shutil
import signal
import socket
import subprocess
import tempfile
import threading
import time
import unittest

from selenium import webdriver
from selenium.common.exceptions import NoSuchElementException, StaleElementReferenceException
from selenium.webdriver.chrome.options import Options
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.action_chains import ActionChains
from selenium.webdriver.common.by import By

SECONDS = 15  # what must come may take so long
STORY_SECONDS = 180
TOOL = os.environ.get("MEDIADATA", "build/release/mediadata")
KEPT = os.environ.get("MEDIADATA_KEPT", "build/web-test")  # pictures of failures, and axe-core
VIEWS = {  # and what is there when a view is whole, on a telephone on which something was changed
    "settings": ".row", "tables": "#table-headset li", "doors": "#camera-4", "explain/ringer-volume": ".layers",
    "history": ".history li", "compare": ".differences", "import": ".drop", "telephone": "#telephone-force_etsi"}


class Telephone:
    """A data directory, the tool on it, and the program that serves its page."""

    def __init__(self):
        self.place = tempfile.mkdtemp(prefix="mediadata-page.")
        self.directory = os.path.join(self.place, "telephone")
        self.listen = "127.0.0.1:0"
        self.server = None
        self.run("init")

    def run(self, *words, document=None):
        """What a command answers with --json."""
        done = subprocess.run([TOOL, "--json", "--data-dir", self.directory, *words], input=document, text=True, timeout=60,
                              stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        return json.loads(done.stdout)

    def set(self, *values):
        answer = self.run("set", "--yes", *values)
        assert answer["exit"] == 0, answer

    def value(self, item):
        return self.run("--show-secrets", "get", item)["items"][0]["value"]

    def serve(self, *options):
        """Starts the page, where it was before; returns its address with the token that is used once."""
        self.server = subprocess.Popen([TOOL, "--data-dir", self.directory, "web", "--listen", self.listen, *options], text=True,
                                       stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        address = self.address()
        self.listen = re.search(r"//([^/]+)", address)[1]
        return address

    def serve_alone(self):
        """Starts the holder without a page; returns its process."""
        self.server = subprocess.Popen([TOOL, "--json", "--data-dir", self.directory, "serve"], text=True, stdout=subprocess.PIPE)
        return json.loads(self.server.stdout.readline())["process"]

    def address(self):
        """The next one that the program prints."""
        for line in self.server.stdout:
            if found := re.search(r"http://\S+", line):
                return found[0]
        raise AssertionError("the page is not served")

    def stop(self):
        if self.server:
            self.server.terminate()
            self.server.wait(SECONDS)
            self.server.stdout.close()
            self.server = None

    def remove(self):
        self.stop()
        shutil.rmtree(self.place)


class Line:
    """Carries connections to the page from another address of this machine, and can be cut."""

    def __init__(self, listen):
        self.to = ("127.0.0.1", int(listen.rpartition(":")[2]))
        self.at = ("127.0.0.2", self.to[1])
        self.ends = []
        self.join()

    def join(self):
        self.listener = socket.create_server(self.at, reuse_port=True)
        threading.Thread(target=self.accept, args=(self.listener,), daemon=True).start()

    def accept(self, listener):
        try:
            while True:
                ends = listener.accept()[0], socket.create_connection(self.to)
                self.ends += ends
                for source, target in (ends, ends[::-1]):
                    threading.Thread(target=self.carry, args=(source, target), daemon=True).start()
        except OSError:
            pass  # It was cut.

    @staticmethod
    def carry(source, target):
        try:
            while data := source.recv(65536):
                target.sendall(data)
            target.shutdown(socket.SHUT_WR)
        except OSError:
            pass

    def cut(self):
        for end in (self.listener, *self.ends):
            try:
                end.shutdown(socket.SHUT_RDWR)
            except OSError:
                pass
            end.close()
        self.ends = []


class Page:
    """The browser, as the stories use it."""

    def __init__(self):
        self.profile = tempfile.mkdtemp(prefix="mediadata-browser.")
        options = Options()
        options.binary_location = "/usr/bin/chromium"
        for word in ("headless=new", "disable-gpu", "disable-quic", "no-first-run", "disable-background-networking", "disable-sync",
                     "disable-component-update", "disable-dev-shm-usage", "no-proxy-server", "hide-scrollbars", "window-size=1280,900", f"user-data-dir={self.profile}",
                     *(["no-sandbox"] if os.getuid() == 0 else [])):  # root has no sandbox
            options.add_argument(f"--{word}")
        options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
        self.browser = webdriver.Chrome(service=Service("/usr/bin/chromedriver"), options=options)
        self.script = self.browser.execute_script

    def close(self):
        self.browser.quit()
        shutil.rmtree(self.profile, ignore_errors=True)

    def open(self, address):
        self.origin = re.match(r"\w+://[^/]+", address)[0]
        self.browser.get(address)

    def view(self, name):
        self.script("location.hash = arguments[0]", f"#{name}")
        self.find(f".view#view-{re.split('[/?]', name)[0]} h1")

    def until(self, condition):
        """What the condition answers when it answers something."""
        end = time.monotonic() + SECONDS
        while True:
            try:
                if found := condition():
                    return found
            except (NoSuchElementException, StaleElementReferenceException):
                pass
            if time.monotonic() > end:
                raise AssertionError(f"did not come: {condition.__code__.co_consts}")
            time.sleep(0.01)

    def find(self, css):
        return self.until(lambda: self.browser.find_element(By.CSS_SELECTOR, css))

    def all(self, css):
        return self.browser.find_elements(By.CSS_SELECTOR, css)

    def button(self, text, within="body"):
        """A visible button or link by its text."""
        return self.until(lambda: next((element for element in self.all(f"{within} :is(button, a, summary)")
                                        if element.is_displayed() and element.text.strip() == text), None))

    def text(self, css):
        return self.find(css).text

    def see(self, text, within="main"):
        return self.until(lambda: text in self.text(within))

    def row(self, item):
        return self.until(lambda: self.script(
            "return [...document.querySelectorAll('.row')].find(row => row.querySelector('.name')?.textContent === arguments[0])", item))

    def shown(self):
        """The names of the settings in the list."""
        return self.script("return [...document.querySelectorAll('.row:not([hidden]) .name')].map(name => name.textContent)")

    def press(self, *keys):
        ActionChains(self.browser).send_keys(*keys).perform()

    def focused(self):
        return self.script("const one = document.activeElement; return one.ariaLabel || one.textContent || one.id")

    def drag(self, source, target):
        """Takes one element to just below the middle of another."""
        ActionChains(self.browser).click_and_hold(source).move_to_element(target).move_by_offset(0, 8).release().perform()

    def click(self, css):
        self.until(lambda: self.browser.find_element(By.CSS_SELECTOR, css).click() or True)

    def size(self, width, height=900, dark=False):
        self.browser.execute_cdp_cmd("Emulation.setDeviceMetricsOverride",
                                     {"width": width, "height": height, "deviceScaleFactor": 1, "mobile": False})
        self.browser.execute_cdp_cmd("Emulation.setEmulatedMedia", {"features": [
            {"name": "prefers-color-scheme", "value": "dark" if dark else "light"}]})

    def faults(self):
        """What axe-core finds, as a line each."""
        with open(os.path.join(KEPT, "node_modules/axe-core/axe.min.js"), encoding="utf-8") as source:
            self.script(source.read())
        return self.browser.execute_async_script(
            "const done = arguments[0]; axe.run().then(({violations}) => done(violations.flatMap(({id, nodes}) => "
            "nodes.map(({html}) => `${id}: ${html}`))))")

    def complaints(self):
        """What the browser warned of in its console, save that an answer had an error's status."""
        return [entry["message"] for entry in self.browser.get_log("browser")
                if entry["level"] in ("WARNING", "SEVERE") and "status of 4" not in entry["message"]]


class Story(unittest.TestCase):
    options = []

    @classmethod
    def setUpClass(cls):
        cls.page = Page()
        cls.addClassCleanup(cls.page.close)

    def setUp(self):
        signal.alarm(STORY_SECONDS)
        self.addCleanup(signal.alarm, 0)
        self.telephone = Telephone()
        self.addCleanup(self.telephone.remove)
        self.prepare()
        self.page.size(1280)
        self.page.open(self.telephone.serve(*self.options))
        self.page.find("main h1")

    def prepare(self):
        """What is so before the page is served."""

    def keep(self):
        """What the page looks like, and its text."""
        os.makedirs(KEPT, exist_ok=True)
        self.page.browser.save_screenshot(f"{KEPT}/{self._testMethodName}.png")
        with open(f"{KEPT}/{self._testMethodName}.html", "w", encoding="utf-8") as text:
            text.write(self.page.browser.page_source)

    def tearDown(self):
        for window in self.page.browser.window_handles[1:]:
            self.page.browser.switch_to.window(window)
            self.page.browser.close()
        self.page.browser.switch_to.window(self.page.browser.window_handles[0])
        complaints = self.page.complaints()
        self.page.browser.get("about:blank")
        self.page.complaints()  # Those of the page that was left are nobody's.
        self.assertEqual(complaints, [])


class Result(unittest.TextTestResult):
    """Keeps what a failed story has left on the page."""

    def addFailure(self, test, err):
        test.keep()
        super().addFailure(test, err)

    def addError(self, test, err):
        if isinstance(test, Story):
            test.keep()
        super().addError(test, err)


def overdue(*_):
    raise AssertionError(f"not over after {STORY_SECONDS} seconds")


def main():
    signal.signal(signal.SIGALRM, overdue)
    unittest.main("__main__", testRunner=unittest.TextTestRunner(resultclass=Result, verbosity=2))

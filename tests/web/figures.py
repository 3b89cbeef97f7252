"""Measures the page in the browser and prints the figures, which nothing asserts."""
import os
import socket
import statistics
import threading

from harness import KEPT, SECONDS, Page, Telephone

ROUNDS = 20
WATCHERS = 50
TABS = 10

# When all rows have been painted, and how long it is from a key press to the painted list.
WATCH = """
const painted = tell => requestAnimationFrame(() => {
  const channel = new MessageChannel();
  channel.port1.onmessage = () => tell(performance.now());
  channel.port2.postMessage(0);
});
addEventListener('DOMContentLoaded', () => {
  const watch = new MutationObserver(() => {
    if (document.querySelector('main .row')) {
      watch.disconnect();
      painted(now => window.shownAt = now);
    }
  });
  watch.observe(document.querySelector('main'), {childList: true, subtree: true});
});
addEventListener('keydown', event => window.pressed = event.timeStamp, {capture: true});
addEventListener('input', () => window.began = performance.now(), {capture: true});
addEventListener('input', () => {
  document.body.offsetHeight; // Has all laid out.
  (window.works ??= []).push(performance.now() - window.began);
  painted(now => (window.presses ??= []).push(now - window.pressed));
});
"""
# What the row of ringer-melody says, with the time since the epoch at which it came to say so.
HEAR = """
window.heard = {};
const row = [...document.querySelectorAll('.row')].find(row => row.querySelector('.name').textContent === 'ringer-melody');
new MutationObserver(() => window.heard[row.querySelector('.face').textContent] ??= performance.timeOrigin + performance.now())
  .observe(row, {childList: true, subtree: true, characterData: true});
"""
SET = """
const [value, done] = arguments;
const body = JSON.stringify({value});
const begin = performance.timeOrigin + performance.now();
fetch('api/v1/settings/ringer-melody', {method: 'PUT', headers: {'Content-Type': 'application/json'}, body}).then(() => done(begin));
"""


def said(what, times, unit="ms"):
    print(f"| {what} | {statistics.median(times):.1f} {unit} | {max(times):.1f} {unit} | {len(times)} |", flush=True)


def first_view(page):
    times = []
    for _ in range(ROUNDS):
        page.browser.refresh()
        page.until(lambda: page.script("return window.shownAt"))
        times.append(page.script("return window.shownAt - performance.getEntriesByType('navigation')[0].responseStart"))
    said("first byte to all settings", times)


def key_press(page):
    field = page.find("#search")
    for word in ("ringer", "volume", "door opener 2", "ice"):
        for letter in word:
            before = page.script("return window.presses?.length ?? 0")
            field.send_keys(letter)
            page.until(lambda: page.script("return window.presses?.length ?? 0") > before)
        field.clear()
    said("key press to list", page.script("return window.presses"))
    said("of it the list's own work: script, style, layout", page.script("return window.works"))


def change(page, tabs, what):
    """A change of the first tab, until each of the others shows it."""
    browser, times = page.browser, []
    handles = [browser.current_window_handle]
    for _ in range(tabs):
        browser.switch_to.new_window("tab")
        page.open(page.origin + "/#settings?q=ringer-melody")
        page.until(lambda: page.shown()[:1] == ["ringer-melody"] and page.text("#connection") == "live")
        page.script(HEAR)
        handles.append(browser.current_window_handle)
    for number in range(ROUNDS):
        value = number % 8 + 1
        browser.switch_to.window(handles[0])
        begin = browser.execute_async_script(SET, value)
        for handle in handles[1:]:
            browser.switch_to.window(handle)
            times.append(page.until(lambda: page.script("return window.heard[arguments[0]]", f"{value}")) - begin)
            page.script("window.heard = {}")
    for handle in handles[1:]:
        browser.switch_to.window(handle)
        browser.close()
    browser.switch_to.window(handles[0])
    said(what, times)


def watch(telephone, token, count):
    """Programs that follow the events."""
    connections = []
    host, port = telephone.listen.split(":")
    for _ in range(count):
        connection = socket.create_connection((host, int(port)), SECONDS)
        connection.sendall(f"GET /api/v1/events HTTP/1.1\r\nHost: {host}:{port}\r\nAuthorization: Bearer {token}\r\n\r\n".encode())
        assert b" 200 " in connection.recv(4096)
        connection.settimeout(None)
        threading.Thread(target=lambda one=connection: all(iter(lambda: one.recv(65536), b"")), daemon=True).start()
        connections.append(connection)
    return connections


def memory(process):
    with open(f"/proc/{process}/smaps_rollup", encoding="ascii") as rollup:
        sizes = {line.split(":")[0]: int(line.split()[1]) for line in rollup if line.endswith("kB\n")}
    return sizes["Rss"], sizes["Anonymous"]


def main():
    telephone, page = Telephone(), Page()
    try:
        holder = telephone.serve_alone()
        alone = memory(holder)
        telephone.run("list", "--details")
        asked = memory(holder)
        telephone.stop()
        token_file = os.path.join(KEPT, "token")
        page.browser.execute_cdp_cmd("Page.addScriptToEvaluateOnNewDocument", {"source": WATCH})
        address = telephone.serve("--token-file", token_file)
        with open(token_file, encoding="ascii") as file:
            token = file.read().strip()
        fresh = memory(telephone.server.pid)
        print("| what | median | longest | times |\n|---|---|---|---|")
        page.open(address)
        page.find(".row")
        first_view(page)
        key_press(page)
        change(page, 1, "change to another tab")
        seen = memory(telephone.server.pid)
        connections = watch(telephone, token, WATCHERS)
        change(page, 1, f"change to another tab beside {WATCHERS} programs that follow")
        used = memory(telephone.server.pid)
        for connection in connections:
            connection.shutdown(socket.SHUT_RDWR)
        change(page, TABS, f"change to each of {TABS} other tabs")
        print("\n| process | in memory | of it anonymous |\n|---|---|---|")
        for what, sizes in (("serve, just started", alone), ("serve, after a list of all settings", asked), ("web, just started", fresh),
                            ("web, after all this in one browser", seen), (f"web, with {WATCHERS} programs besides", used)):
            print(f"| {what} | {sizes[0]} kB | {sizes[1]} kB |")
    finally:
        page.close()
        telephone.remove()


main()

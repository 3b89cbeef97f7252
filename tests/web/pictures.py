"""Makes the pictures of docs/page.md of the real page. Usage: pictures.py DIRECTORY"""
import os
import sys

from harness import Page, Telephone

PICTURES = [  # name, view, width, height, dark, what is done before
    ("tables", "tables", 1200, 760, True, "document.querySelectorAll('#table-codec .handle')[3].focus()"),
    ("doors", "doors", 1200, 760, False, None),
    ("explain", "explain/ringer-volume", 1200, 760, True, None),
    ("history", "history", 1200, 640, False, None),
    ("settings", "settings?q=volume", 1200, 760, False, None),
    ("narrow", "settings?q=ringer", 360, 740, True, None),
]

telephone, page = Telephone(), Page()
try:
    telephone.set("ringer-volume=5", "alert-beep-volume=7")
    telephone.set("door-opener-type-1=2", "door-opener-name-1=Gate", "door-opener-phonenumber-1=4711", "door-opener-directvideo-1=2",
                  "door-opener-type-2=1", "door-opener-name-2=Garage", "door-opener-directvideo-2=1", "camera-name-1=Garage",
                  "camera-name-2=Front door")
    page.open(telephone.serve())
    page.find(".row")
    telephone.set("ringer-volume=6")
    os.makedirs(sys.argv[1], exist_ok=True)
    for name, view, width, height, dark, before in PICTURES:
        page.size(width, height, dark)
        page.view(view)
        page.until(lambda: page.script("return document.querySelector('main').textContent.length > 300"))
        page.script(before or "document.activeElement.blur()")
        page.browser.execute_async_script("setTimeout(arguments[0], 1000)")
        page.browser.save_screenshot(os.path.join(sys.argv[1], f"{name}.png"))
finally:
    page.close()
    telephone.remove()

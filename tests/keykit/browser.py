"""A browser without a window, which shows pages from files and reports what they do."""

import os
import time

from selenium import webdriver
from selenium.webdriver.chrome.options import Options
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.action_chains import ActionChains

WORDS = ["--headless=new", "--disable-gpu", "--disable-dev-shm-usage", "--no-first-run", "--disable-background-networking"]
WORDS += ["--disable-component-update", "--disable-default-apps", "--disable-extensions", "--hide-scrollbars", "--lang=en-US"]
# The sandbox refuses to run as root and in many containers; all pages are the tests' own.
WORDS += ["--no-sandbox"]

# Colours of the visible texts and of what is below them.
COLOURS = """
const parts = (colour) => colour.match(/[\\d.]+/g).map(Number);
const shown = [];
for (const element of document.body.querySelectorAll("*")) {
  const hasText = [...element.childNodes].some((node) => node.nodeType === 3 && node.data.trim() !== "");
  if (!hasText || !element.checkVisibility() || element.closest(".unseen, .skip, script, noscript")) continue;
  let at = element;
  while (at && (parts(getComputedStyle(at).backgroundColor)[3] === 0)) at = at.parentElement;
  shown.push([element.tagName + "." + element.className + ": " + element.textContent.slice(0, 40), getComputedStyle(element).color,
    getComputedStyle(at || document.body).backgroundColor]);
}
return shown;
"""


class Browser:
    def __init__(self, folder):
        options = Options()
        options.binary_location = "/usr/bin/chromium"
        for word in WORDS + ["--user-data-dir=%s" % folder]:
            options.add_argument(word)
        options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
        # What it leaves in a home or a temporary folder is deleted with the folder.
        places = dict.fromkeys(("HOME", "XDG_CONFIG_HOME", "XDG_CACHE_HOME", "TMPDIR"), str(folder))
        service = Service("/usr/bin/chromedriver", env=dict(os.environ, **places))
        self.driver = webdriver.Chrome(service=service, options=options)

    def close(self):
        self.driver.quit()

    def command(self, name, **words):
        return self.driver.execute_cdp_cmd(name, words)

    def resize(self, width, height):
        self.command("Emulation.setDeviceMetricsOverride", width=width, height=height, deviceScaleFactor=1, mobile=False)

    def prefer(self, scheme):
        self.command("Emulation.setEmulatedMedia", features=[{"name": "prefers-color-scheme", "value": scheme}])

    def open(self, file):
        self.messages()
        self.driver.get("file://%s" % file)

    def run(self, script, *words):
        return self.driver.execute_script(script, *words)

    def messages(self):
        """What the browser has complained about since the last call."""
        return [entry["message"] for entry in self.driver.get_log("browser")]

    def find(self, selector):
        return self.driver.find_element("css selector", selector)

    def texts(self, selector):
        """Of the visible elements."""
        script = "return [...document.querySelectorAll(arguments[0])].filter((of) => of.checkVisibility()).map((of) => of.innerText.trim())"
        return self.run(script, selector)

    def click(self, selector):
        self.find(selector).click()

    def press(self, *keys):
        """Presses keys where the focus is."""
        chain = ActionChains(self.driver, duration=0)
        for key in keys:
            chain.send_keys(key)
        chain.perform()

    def wait(self, script, *words):
        """Until the script returns something true; returns that."""
        end = time.monotonic() + 20
        while not (result := self.run(script, *words)):
            assert time.monotonic() < end, script
            time.sleep(0.02)
        return result

    def named(self):
        """Role, name and properties of what a screen reader has, in the order of the page."""
        nodes = {node["nodeId"]: node for node in self.command("Accessibility.getFullAXTree")["nodes"]}
        found, pending = [], [next(iter(nodes))]
        while pending:
            node = nodes[pending.pop()]
            pending += [child for child in reversed(node.get("childIds", [])) if child in nodes]
            if not node.get("ignored"):
                properties = {item["name"]: item["value"].get("value") for item in node.get("properties", [])}
                found.append((node["role"]["value"], node.get("name", {}).get("value", ""), properties))
        return found

    def colours(self):
        return [(text, rgb(colour), rgb(ground)) for text, colour, ground in self.run(COLOURS)]

    def picture(self, file):
        self.driver.save_screenshot(str(file))


def rgb(colour):
    """Red, green and blue of a colour without transparency, from 0 to 1."""
    kind, _, numbers = colour.partition("(")
    parts = [float(number) for number in numbers.rstrip(")").replace("srgb", "").replace(",", " ").split()]
    assert kind in ("rgb", "color") and len(parts) == 3, colour
    return [part / 255 if kind == "rgb" else part for part in parts]


def luminance(colour):
    linear = [part / 12.92 if part <= 0.04045 else ((part + 0.055) / 1.055) ** 2.4 for part in colour]
    return 0.2126 * linear[0] + 0.7152 * linear[1] + 0.0722 * linear[2]


def contrast(one, other):
    """As the Web Content Accessibility Guidelines define it, from 1 to 21."""
    dark, light = sorted((luminance(one), luminance(other)))
    return (light + 0.05) / (dark + 0.05)

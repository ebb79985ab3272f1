"""Makes the pictures of the page in docs/pictures: one capture in the light scheme, two captures side by side in the dark one."""

import subprocess
import tempfile
from pathlib import Path

from browser import Browser
from conftest import KEYKIT, ROOT, calculator_captures

PICTURES = ROOT / "docs" / "pictures"
WIDTH, HEIGHT = 1200, 1000


def take(browser, folder, name, scheme, captures, below):
    """The page from the top, or from a heading on. Few colours make a small file."""
    page, picture = folder / "page.html", folder / "picture.png"
    subprocess.run([KEYKIT, "show", *captures, "-o", page], check=True)
    browser.resize(WIDTH, HEIGHT)
    browser.prefer(scheme)
    browser.open(page)
    browser.run("scrollTo(0, arguments[0] ? document.querySelector(arguments[0]).offsetTop - 72 : 0)", below)
    browser.picture(picture)
    words = ["-strip", "+dither", "-colors", "128", "-define", "png:compression-level=9", "PNG8:%s" % (PICTURES / name)]
    subprocess.run(["convert", picture, *words], check=True)


def main():
    with tempfile.TemporaryDirectory() as folder:
        folder = Path(folder)
        one, other = calculator_captures(folder)
        browser = Browser(folder / "browser")
        try:
            take(browser, folder, "show-light.png", "light", [one], None)
            take(browser, folder, "show-dark.png", "dark", [one, other], "#keys")
        finally:
            browser.close()


if __name__ == "__main__":
    main()

"""A program of this folder in a Wine session with a display, used with real keys and clicks."""

import json
import os
import subprocess
import tempfile
import time
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
PROGRAMS = Path(os.environ.get("KEYREAP_PROGRAMS", ROOT / "build" / "x64" / "tests"))
PICTURES = ROOT / "build" / "pictures"
SESSION = ROOT / "scripts" / "wine-session.sh"
PATIENCE = 120

# The desktop is a window of Wine's own, with captions around its windows and the focus managed by Wine. Everything else
# is as in every session.
SETTINGS = r"""REGEDIT4

[HKEY_CURRENT_USER\Software\Wine\Explorer]
"Desktop"="Default"

[HKEY_CURRENT_USER\Software\Wine\Explorer\Desktops]
"Default"="1280x1024"
"""

STARTER = '/usr/bin/wine regedit /S "$1" && /usr/bin/wineserver -w && shift && exec /usr/bin/wine "$@"'


def until(condition, what):
    """Waits until the condition is true and returns its result; fails after a while."""
    end = time.monotonic() + PATIENCE
    while time.monotonic() < end:
        result = condition()
        if result:
            return result
        time.sleep(0.05)
    raise AssertionError(f"waited in vain: {what}")


class Display:
    """An X server that draws into memory."""

    def __init__(self):
        reader, writer = os.pipe()
        # Without -noreset the server would restart when its last client has left, and drop a client that comes just
        # then.
        self.server = subprocess.Popen(
            ["Xvfb", "-displayfd", str(writer), "-screen", "0", "1280x1024x24", "-nolisten", "tcp", "-noreset"],
            pass_fds=[writer], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        os.close(writer)
        with os.fdopen(reader) as numbers:
            self.environment = dict(os.environ, DISPLAY=":" + numbers.readline().strip())

    def run(self, *words):
        done = subprocess.run([str(word) for word in words], env=self.environment, capture_output=True, text=True,
                              timeout=PATIENCE)
        return done.stdout.strip()

    def windows(self, title):
        return self.run("xdotool", "search", "--onlyvisible", "--name", f"^{title}$").split()

    def close(self):
        self.server.terminate()
        self.server.wait()


class Program:
    """A running program, whose output is read line by line meanwhile. Its session may have options of its own."""

    def __init__(self, display, name, *words, session=()):
        self.display = display
        self.folder = tempfile.TemporaryDirectory()
        settings = Path(self.folder.name) / "settings.reg"
        settings.write_text(SETTINGS)
        self.output = Path(self.folder.name) / "output"
        with self.output.open("wb") as output:
            self.process = subprocess.Popen(
                [str(SESSION), "--ready", *session, "bash", "-c", STARTER, "bash", str(settings), str(PROGRAMS / name),
                 *words],
                env=display.environment, stdin=subprocess.DEVNULL, stdout=output, stderr=subprocess.STDOUT)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.terminate()
        self.process.wait()
        self.folder.cleanup()

    def lines(self):
        # The text after the last line end may still grow.
        return self.output.read_text(errors="replace").replace("\r", "").split("\n")[:-1]

    def status(self, limit=PATIENCE):
        return self.process.wait(timeout=limit)

    def window(self, title):
        """The X window with that title. Also sets the keyboard's focus to its desktop."""
        window = until(lambda: self.display.windows(title), f"a window called {title}")[0]
        desktop = until(lambda: self.display.windows(".*Wine desktop"), "the desktop")[0]
        self.display.run("xdotool", "windowfocus", "--sync", desktop)
        return window

    def ends_with(self, key):
        """Presses a key until the program has ended, since an early key press is lost; returns the status."""
        def pressed_and_ended():
            self.display.run("xdotool", "key", key)
            time.sleep(0.5)
            return self.process.poll() is not None
        until(pressed_and_ended, f"the end of the program by {key}")
        return self.process.returncode

    def click(self, x, y):
        self.display.run("xdotool", "mousemove", x, y, "click", 1)

    def drag(self, start, end):
        self.display.run("xdotool", "mousemove", *start, "mousedown", 1, "mousemove", "--sync", *end, "mouseup", 1)

    def picture(self, window, name):
        """Saves the picture of a window in build/pictures and returns its pixels."""
        PICTURES.mkdir(parents=True, exist_ok=True)
        file = PICTURES / f"{name}.png"
        self.display.run("import", "-window", window, file)
        return self.display.run("identify", "-format", "%#", file)


class Dialog(Program):
    """The error dialog with given texts, and the state that it reports."""

    TITLE = "Error"

    def __init__(self, display, short, details, *options):
        super().__init__(display, "show_dialog.exe", self.TITLE, short, details, *options)

    def __enter__(self):
        try:
            self.xwindow = self.window(self.TITLE)
            until(lambda: self.reported("dialog"), "the dialog's state")
        except BaseException:
            # Otherwise nothing would end the session, and later sessions would lack its prefix.
            self.__exit__()
            raise
        return self

    def reported(self, kind):
        """The contents of the lines of a kind, the oldest first."""
        return [json.loads(line[len(kind):]) for line in self.lines() if line.startswith(kind + " ")]

    def state(self):
        return self.reported("dialog")[-1]

    def text(self, control):
        return self.state()[control]["text"]

    def shows(self, control):
        return self.state().get(control, {"visible": False})["visible"]

    def places(self):
        return {name: part["place"] for name, part in self.state().items()}

    def click_control(self, control):
        x, y, width, height = self.state()[control]["place"]
        self.click(x + width // 2, y + height // 2)

    def ended(self):
        return until(lambda: "ended" in self.lines(), "the end of the dialog") and self.status() == 0

    def toggle(self):
        """Clicks on the details button and waits until the box is there or gone."""
        before = self.shows("502")
        self.click_control("503")
        until(lambda: self.shows("502") != before, "the details")

    def still_picture(self, name):
        """The picture when nothing changes any more, without the mouse over a button."""
        self.display.run("xdotool", "mousemove", 5, 5)
        last = None
        while True:
            pixels = self.picture(self.xwindow, name)
            if pixels == last:
                return pixels
            last = pixels
            time.sleep(0.3)

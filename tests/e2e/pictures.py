"""Pictures of the main window with real traffic, in light and dark, at 100 % and 200 %.

    python3 tests/e2e/pictures.py PATH-TO-VELTRANE FOLDER
"""

import contextlib
import functools
import os
import pathlib
import subprocess
import sys
import time
import types
import unittest

import veltrane
from traffic import Traffic
from veltrane import Screen, Veltrane, holds, retry, wait_for

# What the desktop's colour settings say to the toolkit.
DARK = """[Colors:Button]
BackgroundNormal=49,54,59
ForegroundNormal=239,240,241
[Colors:Selection]
BackgroundNormal=61,174,233
ForegroundNormal=20,24,28
[Colors:Tooltip]
BackgroundNormal=49,54,59
ForegroundNormal=239,240,241
[Colors:View]
BackgroundNormal=35,38,41
BackgroundAlternate=49,54,59
ForegroundNormal=239,240,241
ForegroundLink=41,128,185
ForegroundVisited=127,140,141
[Colors:Window]
BackgroundNormal=42,46,50
ForegroundNormal=239,240,241
"""


class Window:
    """The main window on a display, driven with the mouse and the keys. Places are in pixels at 100 %."""

    TREE = (60, 90, 180, 580)
    ROW = 18

    def __init__(self, screen, scale=1):
        self.screen = screen
        self.scale = scale
        self.id = wait_for(lambda: screen.windows("^Veltrane$"), 60, "the main window")[0]
        # The picture of the start lies above it.
        screen.wait_until_closed("^Starting Veltrane$", 60)
        retry(
            lambda: screen.tool("windowmove", self.id, "10", "30"),
            lambda: max(screen.place(self.id)[:2]) < 80,
            "the main window to move",
        )
        screen.activate(self.id)

    def click(self, x, y, button=1, repeat=1):
        self.screen.click(self.id, x * self.scale, y * self.scale, button, repeat)

    def key(self, *keys):
        self.screen.activate(self.id)
        self.screen.key(*keys)

    def choose(self, menu, entry):
        """Chooses from a menu by the two letters."""
        shown = self.screen.pop_up(lambda: self.key("Escape", "alt+" + menu))
        self.screen.key(entry)
        self.screen.wait_until_gone(shown)

    def open(self, menu, entry, title):
        """The window that a menu opens, when it has the keyboard."""
        retry(lambda: self.choose(menu, entry), lambda: self.screen.windows(title), title)
        return self.screen.open(title)

    def rows(self, place):
        """The pictures of the rows that hold a text."""
        lines = self.grey(*place)
        rows = [lines[i : i + self.ROW] for i in range(0, len(lines) - self.ROW + 1, self.ROW)]
        return [row for row in rows if any(max(line) - min(line) > 60 for line in row)]

    def tree_row(self, number, **click):
        self.click(120, self.TREE[1] + self.ROW // 2 + self.ROW * number, **click)

    def unfold(self, *numbers):
        """Clicks rows of the tree, each of which unfolds the next ones."""
        for number in numbers:
            before = len(self.rows(self.TREE))
            self.tree_row(number)
            wait_for(lambda: len(self.rows(self.TREE)) > before, 15, f"what is below row {number} of the tree")

    def grey(self, left, top, width, height):
        """The grey values of a part of the window, row by row."""
        done = subprocess.run(
            ["import", "-window", self.id, "-crop", f"{width}x{height}+{left}+{top}", "+repage", "-depth", "8", "gray:-"],
            env=self.screen.environment,
            capture_output=True,
            check=True,
        )
        return [done.stdout[i * width : (i + 1) * width] for i in range(height)]

    def stands(self, *place, seconds=0.5):
        """Whether a part of the window stays as it is."""
        before = self.grey(*place)
        return holds(lambda: self.grey(*place) == before, seconds)

    def picture(self, path, whole=False):
        subprocess.run(
            ["import", "-window", "root" if whole else self.id, str(path)],
            env=self.screen.environment,
            check=True,
        )


class DisplayTest(veltrane.ProgramTest):
    """A test on a display of its own. One that fails leaves a picture of it in the build's folder "Testing"."""

    NEEDS = ("Xvfb", "xdotool", "openbox", "xprop", "import")

    def __init__(self, name="runTest"):
        super().__init__(name)
        test = getattr(self, name, None)

        def pictured(_):
            try:
                test()
            except unittest.SkipTest:
                raise
            except Exception:
                self.keep_picture()
                raise

        if test:
            setattr(self, name, types.MethodType(functools.wraps(test)(pictured), self))

    def setUp(self):
        self.need(*self.NEEDS)
        self.screen = Screen()
        self.addCleanup(self.screen.close)
        os.environ["DISPLAY"] = self.screen.display

    def keep_picture(self):
        folder = pathlib.Path(veltrane.program()).parent.parent / "Testing"
        with contextlib.suppress(OSError, subprocess.CalledProcessError):
            folder.mkdir(exist_ok=True)
            path = folder / f"{self.id().removeprefix('__main__.')}.png"
            self.screen.picture(path)
            print(f"the screen at that moment: {path}", file=sys.stderr)

    def enter(self, context):
        self.addCleanup(context.__exit__, None, None, None)
        return context.__enter__()


def take(folder, name, dark, scale):
    screen = Screen(f"{1100 * scale}x{800 * scale}x24")
    run = Veltrane(platform="xcb")
    os.environ.update(DISPLAY=screen.display, QT_SCALE_FACTOR=str(scale))
    if dark:
        os.environ.update(XDG_CURRENT_DESKTOP="KDE", KDE_SESSION_VERSION="5")
        (run.home / "config" / "kdeglobals").write_text(DARK)
    try:
        with run, Traffic(run.store) as traffic:
            run.start(listening=traffic.ports)
            traffic.start()
            window = Window(screen, scale)
            time.sleep(1)
            window.picture(folder / f"{name}-activity.png")
            window.choose("v", "e")
            for row in (1, 2, 5):  # the port, the peer, its live connection
                window.tree_row(row)
                time.sleep(0.5)
            time.sleep(1)
            window.picture(folder / f"{name}-events.png")
    finally:
        for key in ("XDG_CURRENT_DESKTOP", "KDE_SESSION_VERSION", "QT_SCALE_FACTOR", "DISPLAY"):
            os.environ.pop(key, None)
        screen.close()


def main():
    os.environ["VELTRANE"] = str(pathlib.Path(sys.argv[1]).resolve())
    folder = pathlib.Path(sys.argv[2])
    folder.mkdir(parents=True, exist_ok=True)
    for dark in (False, True):
        for scale in (1, 2):
            take(folder, f"main-{'dark' if dark else 'light'}-{scale * 100}", dark, scale)


if __name__ == "__main__":
    main()

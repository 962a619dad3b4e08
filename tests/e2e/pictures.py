"""Pictures of the main window with real traffic, in light and dark, at 100 % and 200 %.

    python3 tests/e2e/pictures.py PATH-TO-VELTRANE FOLDER
"""

import os
import pathlib
import subprocess
import sys
import time

import veltrane
from traffic import Traffic
from veltrane import Screen, Veltrane, wait_for, windows

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
    """The main window on a display, driven with the mouse. Places are in pixels at 100 %."""

    def __init__(self, screen, scale=1):
        self.screen = screen
        self.scale = scale
        self.id = wait_for(lambda: windows(screen.display, "^Veltrane$"), 20, "the main window")[0]
        screen.tool("windowmove", "--sync", self.id, "10", "30")

    def click(self, x, y, button=1, repeat=1):
        self.screen.tool(
            "mousemove", "--window", self.id, str(x * self.scale), str(y * self.scale),
            "click", "--repeat", str(repeat), "--delay", "80", str(button),
        )  # fmt: skip
        time.sleep(0.3)

    def key(self, *keys):
        self.screen.tool("key", "--window", self.id, *keys)
        time.sleep(0.2)

    def grey(self, left, top, width, height):
        """The grey values of a part of the window, row by row."""
        done = subprocess.run(
            ["import", "-window", self.id, "-crop", f"{width}x{height}+{left}+{top}", "+repage", "-depth", "8", "gray:-"],
            env=self.screen.environment,
            capture_output=True,
            check=True,
        )
        return [done.stdout[i * width : (i + 1) * width] for i in range(height)]

    def picture(self, path, whole=False):
        subprocess.run(
            ["import", "-window", "root" if whole else self.id, str(path)],
            env=self.screen.environment,
            check=True,
        )


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
            window.key("alt+v")
            window.key("e")
            for row in (1, 2, 5):  # the port, the peer, its live connection
                window.click(120, 99 + 18 * row)
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

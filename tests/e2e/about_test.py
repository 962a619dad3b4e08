"""The picture of the start, and the about box, on a display."""

import os
import time
import unittest

import veltrane
from pictures import Window
from veltrane import Screen, Veltrane, wait_for, windows

SPLASH = "^Starting Veltrane$"
ABOUT = "^About Veltrane$"


class About(unittest.TestCase):
    def setUp(self):
        if not all(veltrane.which(name) for name in ("Xvfb", "xdotool", "openbox", "import")):
            self.skipTest("Xvfb, xdotool, openbox or ImageMagick is not installed")
        self.screen = Screen()
        self.addCleanup(self.screen.close)
        os.environ["DISPLAY"] = self.screen.display
        self.program = Veltrane(platform="xcb")
        self.addCleanup(self.program.__exit__)

    def shown(self, title):
        return windows(self.screen.display, title)

    def test_the_picture_of_the_start_comes_and_goes(self):
        self.program.start(served=False)
        wait_for(lambda: self.shown(SPLASH), 20, "the picture of the start")
        wait_for(lambda: not self.shown(SPLASH), 10, "its end")
        self.assertEqual(len(self.shown("^Veltrane$")), 1)

    def test_a_program_that_starts_minimised_shows_no_picture(self):
        self.program.store.set("Options", "RunMinimized", "1")
        self.program.start(served=False)
        end = time.monotonic() + veltrane.START_PAUSE
        while time.monotonic() < end:
            self.assertEqual(self.shown(SPLASH), [])
        self.assertFalse(self.program.ended())

    def test_the_about_box_opens_from_its_menu_and_closes_with_its_key(self):
        self.program.start()
        window = Window(self.screen)
        window.key("alt+h")
        self.screen.tool("key", "a")
        wait_for(lambda: self.shown(ABOUT), 5, "the about box")
        self.screen.tool("key", "Escape")
        wait_for(lambda: not self.shown(ABOUT), 5, "its end")
        self.assertFalse(self.program.ended())


if __name__ == "__main__":
    veltrane.main()

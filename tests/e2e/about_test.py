"""The picture of the start, and the about box, on a display."""

import veltrane
from pictures import DisplayTest, Window
from veltrane import Veltrane, holds, wait_for

SPLASH = "^Starting Veltrane$"
ABOUT = "^About Veltrane$"


class About(DisplayTest):
    def setUp(self):
        super().setUp()
        self.program = self.enter(Veltrane(platform="xcb"))

    def managed(self):
        """Whether the main window is there, seen or not."""
        return self.screen.ask("search", "--name", "^Veltrane$")

    def test_the_picture_of_the_start_comes_and_goes(self):
        self.program.start(served=False)
        wait_for(lambda: self.screen.windows(SPLASH), 20, "the picture of the start")
        wait_for(lambda: not self.screen.windows(SPLASH), 10, "its end")
        self.assertEqual(len(self.screen.windows("^Veltrane$")), 1)

    def test_a_program_that_starts_minimised_shows_no_picture(self):
        self.program.store.set("Options", "RunMinimized", "1")
        self.program.start(served=False)

        def no_picture():
            return not self.screen.windows(SPLASH)

        wait_for(lambda: self.assertTrue(no_picture()) or self.managed(), 30, "the main window")
        self.assertTrue(holds(no_picture, veltrane.START_PAUSE))
        self.assertFalse(self.program.ended())

    def test_the_about_box_opens_from_its_menu_and_closes_with_its_key(self):
        self.program.start()
        Window(self.screen).open("h", "a", ABOUT)
        self.screen.key("Escape")
        self.screen.wait_until_closed(ABOUT)
        self.assertFalse(self.program.ended())


if __name__ == "__main__":
    veltrane.main()

"""A saved report in a browser: the ladder with its pictures, the events' pages, and payload that stays data."""

import pathlib
import shutil
import subprocess
import sys
import tempfile
import time
import unittest

from browser import Browser
from veltrane import main, program


def cell_text(data):
    """The characters of the data as rows of 16 show them."""
    rows = []
    for start in range(0, len(data), 16):
        row = data[start:start + 16]
        rows.append("".join(chr(b) if 32 <= b <= 126 and b != 92 else "." for b in row))
    return rows


class ReportTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = pathlib.Path(tempfile.mkdtemp(prefix="veltrane-report-"))
        built = pathlib.Path(program()).parent
        subprocess.run([built / "make_report", cls.folder, built], check=True, timeout=60)
        cls.browser = Browser()

    @classmethod
    def tearDownClass(cls):
        cls.browser.__exit__()
        shutil.rmtree(cls.folder, ignore_errors=True)

    def open(self, name):
        return self.browser.open((self.folder / name).as_uri())

    def pop_up(self, page, script, name):
        """Clicks, and gives the page that opens. All clicks share one window."""
        page.click(script)
        end = time.monotonic() + 10
        while time.monotonic() < end:
            opened = [t for t in self.browser.pages() if t["url"].endswith(name)]
            if opened:
                pop_up = self.browser.attach(opened[0]["targetId"])
                pop_up.wait_loaded()
                return pop_up
            self.browser.serve(0.1)
        self.fail(f"{name} does not open")

    def test_every_picture_of_the_ladder_is_found(self):
        for name in ("Report.htm", "AllKinds.htm"):
            page = self.open(name)
            pictures = page.run("[...document.images].map(i => [i.getAttribute('src'), i.complete, i.naturalWidth])")
            self.assertGreater(len(pictures), 20)
            for source, complete, width in pictures:
                self.assertTrue(complete and width > 0, source)
        shown = {source for source, _, _ in pictures}
        self.assertEqual({"images/" + p.name for p in (self.folder / "Images").glob("*.gif")}, shown)

    def test_a_click_on_a_picture_and_on_a_text_opens_the_page_of_that_event(self):
        page = self.open("AllKinds.htm")
        picture = "document.querySelector(\"img[src='images/S2CThrottle.gif']\")"
        opened = self.pop_up(page, picture, "/AllKinds/Event16.htm")
        self.assertIn("Event of kind 15", opened.run("document.body.innerText"))
        text = "[...document.querySelectorAll('b')].find(b => b.innerText == 'Event of kind 20')"
        opened = self.pop_up(page, text, "/AllKinds/Event21.htm")
        self.assertIn("Event of kind 20", opened.run("document.body.innerText"))

    def test_the_data_of_a_page_is_shown_in_rows_and_every_byte_value_is_there(self):
        page = self.open("AllKinds/Event10.htm")
        shown = page.run("document.querySelector('small').innerText").replace("\xa0", " ").strip("\n").split("\n")
        self.assertEqual([row[:16] for row in shown], cell_text(bytes(range(256))))
        self.assertEqual(bytes.fromhex("".join(row[19:] for row in shown).replace(" ", "")), bytes(range(256)))

    def test_payload_that_looks_like_a_page_runs_nothing(self):
        pages = sorted((self.folder / "Report").glob("Event*.htm"))
        self.assertGreater(len(pages), 8)
        seen = ""
        for path in pages:
            page = self.open("Report/" + path.name)
            seen += page.run("document.querySelector('small').innerText")
            for tag in ("script", "iframe", "img"):
                self.assertEqual(page.run(f"document.getElementsByTagName('{tag}').length"), 0, path.name)
            self.assertEqual(page.run("document.title"), "")
            self.assertEqual(page.run("document.querySelectorAll('table').length"), 2, path.name)
        self.assertIn("<script>document", seen)
        page = self.open("Report.htm")
        self.assertEqual(page.run("document.getElementsByTagName('script').length"), 0)
        # A box that opens now fails the test.
        self.browser.serve(0.5)


if __name__ == "__main__":
    if len(sys.argv) > 2 and sys.argv[1] == "--screenshots":
        # report_test.py --screenshots FOLDER PROGRAM: the pages as pictures, for a person to look at.
        target, built = pathlib.Path(sys.argv[2]), pathlib.Path(sys.argv[3]).parent
        subprocess.run([built / "make_report", target, built], check=True)
        with Browser() as seen:
            for name in ("Report", "AllKinds", "Report/Event5"):
                seen.open((target / (name + ".htm")).as_uri()).screenshot(target / (name.replace("/", "-") + ".png"))
    else:
        main()

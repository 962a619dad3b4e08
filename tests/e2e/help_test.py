"""The manual in Help: its links and pictures, its pages' form, and its copy beside the program. Needs no display,
and of the program only the folder that it stands in."""

import filecmp
import html
import html.parser
import os
import pathlib
import re
import sqlite3
import subprocess
import tempfile
import unittest
import urllib.parse

import veltrane

HELP = pathlib.Path(__file__).resolve().parents[2] / "Help"
FIRST = "index.html"
SITE = "https://veltrane.example/"
# What the program's first message tells the user to look for.
PROMISED = "Configuring Veltrane and the Client Software"
LARGEST = 400 * 1024

# Elements without an end tag.
VOID = {"br", "hr", "img", "link", "meta", "source"}
NEVER = {"script", "iframe", "object", "embed", "form", "base", "style"}
REFERENCES = {"href", "src", "srcset", "poster", "data", "action", "xlink:href"}


class Page(html.parser.HTMLParser):
    """A page as its tags tell it. Whatever is wrong with them stands in faults."""

    def __init__(self, text):
        super().__init__()
        self.faults = []
        self.ids = set()
        self.tags = []  # (name, attributes)
        self.headings = []  # (name, text)
        self.title = ""
        self.navigation = []  # of each nav element, the targets of its links by rel
        self.named_drawings = 0
        self.open = []
        self.feed(text)
        self.close()
        self.faults += [f"<{name}> is never closed" for name in self.open]

    def handle_starttag(self, name, attributes):
        if name not in VOID:
            self.open.append(name)
        self.note(name, attributes)

    def handle_startendtag(self, name, attributes):
        if "svg" not in self.open:
            self.faults.append(f"<{name}/> outside a drawing")
        self.note(name, attributes)

    def handle_endtag(self, name):
        if not self.open or self.open[-1] != name:
            self.faults.append(f"</{name}> in {self.open[-3:]}, line {self.getpos()[0]}")
        if name in self.open:
            while self.open.pop() != name:
                pass

    def note(self, name, attributes):
        names = [key for key, _ in attributes]
        if len(names) != len(set(names)):
            self.faults.append(f"an attribute of <{name}> stands twice, line {self.getpos()[0]}")
        attributes = {key: value or "" for key, value in attributes}
        self.tags.append((name, attributes))
        if "id" in attributes:
            if attributes["id"] in self.ids:
                self.faults.append(f'id "{attributes["id"]}" stands twice')
            self.ids.add(attributes["id"])
        if name in ("h1", "h2", "h3", "h4"):
            self.headings.append((name, ""))
        if name == "nav":
            self.navigation.append({})
        if name == "a" and "nav" in self.open:
            self.navigation[-1][attributes.get("rel", "contents")] = attributes.get("href")

    def handle_data(self, text):
        within = set(self.open)
        if "title" in within and "svg" not in within:
            self.title += text
        if within & {"h1", "h2", "h3", "h4"}:
            name, heading = self.headings[-1]
            self.headings[-1] = (name, heading + text)

    def of(self, *names):
        return [attributes for name, attributes in self.tags if name in names]

    def references(self):
        return [value for _, attributes in self.tags for key, value in attributes.items() if key in REFERENCES]


class Help(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        cls.pages = {path.name: Page(path.read_text(encoding="utf-8")) for path in sorted(HELP.glob("*.html"))}
        cls.files = {path for path in HELP.rglob("*") if path.is_file()}

    def test_every_page_is_well_formed(self):
        self.assertGreater(len(self.pages), 10)
        self.assertEqual({name: page.faults for name, page in self.pages.items() if page.faults}, {})

    def test_every_page_tells_its_language_its_title_and_how_to_be_shown(self):
        titles = set()
        for name, page in self.pages.items():
            self.assertEqual([attributes.get("lang") for attributes in page.of("html")], ["en"], name)
            viewports = [tag["content"] for tag in page.of("meta") if tag.get("name") == "viewport"]
            self.assertEqual(viewports, ["width=device-width, initial-scale=1"], name)
            self.assertIn({"charset": "utf-8"}, page.of("meta"), name)
            first = [text for level, text in page.headings if level == "h1"]
            self.assertEqual(first, [page.title.removesuffix(" - Veltrane")], name)
            titles.add(page.title)
        self.assertEqual(len(titles), len(self.pages), "two pages have the same title")

    def test_headings_go_down_one_level_at_a_time(self):
        for page in self.pages.values():
            levels = [int(name[1]) for name, _ in page.headings]
            self.assertEqual(levels[0], 1)
            for above, below in zip(levels, levels[1:]):
                self.assertLessEqual(below, above + 1, page.headings)

    def test_every_link_leads_somewhere(self):
        lost = [(name, to) for name, page in self.pages.items() for to in page.references() if not self.leads(name, to)]
        self.assertEqual(lost, [])

    def leads(self, name, reference):
        """Whether a reference on the page of that name leads to a file of the manual, and to a place on it."""
        if reference == SITE:
            return True
        target = urllib.parse.urlsplit(reference)
        path = (HELP / (target.path or name)).resolve()
        if (target.scheme, target.netloc, target.query) != ("", "", "") or path not in self.files:
            return False
        return not target.fragment or target.fragment in self.pages[path.name].ids

    def test_names_that_elements_give_each_other_are_there(self):
        for page in self.pages.values():
            for _, attributes in page.tags:
                for name in attributes.get("aria-labelledby", "").split():
                    self.assertIn(name, page.ids)

    def test_nothing_runs_and_nothing_is_fetched_from_elsewhere(self):
        for page in self.pages.values():
            for name, attributes in page.tags:
                self.assertNotIn(name, NEVER)
                self.assertEqual([key for key in attributes if key.startswith("on") or key == "style"], [])
                if name != "a":
                    self.assertNotIn(SITE, attributes.values())
        style = (HELP / "veltrane.css").read_text(encoding="utf-8")
        for fetched in ("url(", "@import"):
            self.assertNotIn(fetched, style)
        for picture in sorted((HELP / "pictures").glob("*.svg")):
            text = picture.read_text(encoding="utf-8").replace('xmlns="http://www.w3.org/2000/svg"', "")
            for foreign in ("<script", "href", "http:", "https:", "url(http"):
                self.assertNotIn(foreign, text, picture.name)

    def test_every_page_has_the_one_stylesheet(self):
        for page in self.pages.values():
            sheets = [tag["href"] for tag in page.of("link") if tag["rel"] == "stylesheet"]
            self.assertEqual(sheets, ["veltrane.css"])
        self.assertEqual([path.name for path in self.files if path.suffix == ".css"], ["veltrane.css"])

    def test_every_picture_is_described_and_every_drawing_has_a_title(self):
        for name, page in self.pages.items():
            for attributes in page.of("img"):
                self.assertIn("alt", attributes, f"{name}: {attributes}")
            for attributes in page.of("svg"):
                self.assertEqual(attributes.get("role"), "img")
                self.assertIn("aria-labelledby", attributes)

    def test_every_picture_is_used(self):
        used = {path for page in self.pages.values() for path in page.references() if path.startswith("pictures/")}
        there = {"pictures/" + path.name for path in (HELP / "pictures").iterdir()}
        self.assertEqual(there - used, set())

    def test_every_page_is_reached_from_the_first(self):
        reached, ahead = set(), {FIRST}
        while ahead:
            name = ahead.pop()
            reached.add(name)
            targets = {urllib.parse.urlsplit(attributes.get("href", "")).path for attributes in self.pages[name].of("a")}
            ahead |= {target for target in targets if target in self.pages} - reached
        self.assertEqual(reached, set(self.pages))

    def test_the_contents_list_every_page_and_previous_and_next_go_in_their_order(self):
        order = self.contents()
        self.assertEqual(sorted(order), sorted(set(self.pages) - {FIRST}))
        for at, name in enumerate(order):
            expected = {"contents": FIRST}
            if at > 0:
                expected["prev"] = order[at - 1]
            if at + 1 < len(order):
                expected["next"] = order[at + 1]
            self.assertEqual(self.pages[name].navigation, [expected] * 2, name)

    def contents(self):
        """The pages in the order of the list on the first one."""
        tags = self.pages[FIRST].tags
        listed = tags[tags.index(("ol", {"class": "contents"})) :]
        return [tag["href"] for name, tag in listed if name == "a" and tag["href"] in self.pages and "rel" not in tag]

    def test_the_heading_that_the_welcome_promises_is_there(self):
        headings = [text for page in self.pages.values() for _, text in page.headings]
        self.assertEqual(headings.count(PROMISED), 1)

    def examples(self, name, containing):
        """The blocks of code on a page that hold the words, as they are to be typed."""
        text = (HELP / name).read_text(encoding="utf-8")
        blocks = (html.unescape(block) for block in re.findall(r"<pre[^>]*><code>(.*?)</code></pre>", text, re.DOTALL))
        return [block for block in blocks if containing in block]

    def test_the_reader_of_log_files_takes_what_is_certain(self):
        (code,) = self.examples("logging.html", "def records")
        (heading,) = self.examples("logging.html", '"Start Time",')
        line = '"10:28:10.000","KEY1","HTTP","8080","127.0.0.1","","52000","","{}","0","16","{}","0","","{}"'
        plain = line.format("a.invalid", "bytes", "say <34>x<34><13><10>")
        forged = line.format('a","9","16","KEY1","0","","forged', "bytes", "data")
        names = {}
        exec(code, names)  # noqa: S102 - the manual's own words
        with tempfile.TemporaryDirectory() as folder:
            path = pathlib.Path(folder) / "Log.txt"
            # A file that was continued under another name has no heading.
            for lines in ([heading, forged, plain], [plain, forged]):
                path.write_bytes("".join(text + "\r\n" for text in lines).encode("latin-1"))
                (fields,) = names["records"](path)
                self.assertEqual((len(fields), fields[1], fields[8], fields[14]), (15, b"KEY1", b"a.invalid", b'say "x"\r\n'))

    def test_the_key_that_lets_public_peers_in_is_set_once_and_goes_again(self):
        if not veltrane.which("sqlite3"):
            self.skipTest("sqlite3 is not installed")
        setting, going_back = self.examples("questions.html", "AcceptPublicPeers")
        with tempfile.TemporaryDirectory() as home:
            store = pathlib.Path(home) / ".config" / "Veltrane" / "settings.db"
            store.parent.mkdir(parents=True)
            connection = sqlite3.connect(store)
            connection.execute("CREATE TABLE settings (application TEXT, section TEXT, key TEXT, value TEXT)")
            connection.execute("INSERT INTO settings VALUES ('Veltrane', 'Options', 'AcceptPublicPeers', '0')")
            connection.commit()
            for command, rows in ((setting, [("1",)]), (setting, [("1",)]), (going_back, [])):
                subprocess.run(["bash", "-c", command], env=dict(os.environ, HOME=home), check=True, timeout=20)
                told = connection.execute("SELECT value FROM settings WHERE section = 'Options' AND key = 'AcceptPublicPeers'")
                self.assertEqual(told.fetchall(), rows)
            connection.close()

    def test_no_file_is_large(self):
        for path in self.files:
            self.assertLessEqual(path.stat().st_size, LARGEST, path.name)

    def test_the_manual_stands_whole_beside_the_program(self):
        if "VELTRANE" not in os.environ:
            self.skipTest("no program is given")
        beside = pathlib.Path(os.environ["VELTRANE"]).parent / "Help"
        names = sorted(str(path.relative_to(HELP)) for path in self.files)
        self.assertEqual(sorted(str(path.relative_to(beside)) for path in beside.rglob("*") if path.is_file()), names)
        _, differ, missing = filecmp.cmpfiles(HELP, beside, names, shallow=False)
        self.assertEqual((differ, missing), ([], []))


if __name__ == "__main__":
    veltrane.main()

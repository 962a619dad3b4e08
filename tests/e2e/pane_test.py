"""Real-time pane, its options and the event window on a display, while real traffic runs. What the pane shows is told
by the colours of its text and by whether it changes."""

import os
import socket
import subprocess
import threading

import veltrane
from pictures import DisplayTest, Window
from traffic import Traffic
from veltrane import Veltrane, retry, sha, wait_for

# Places in the main window, in pixels.
PANE = (258, 453, 738, 216)
CLOSE_BOX = (1003, 439)

OPTIONS = "^Real Time Data$"

BLUE = (0, 0, 255)  # from the client
RED = (255, 0, 0)  # to the client
BLACK = (0, 0, 0)

PAPER = b"\xff"  # a light dot of a row

MEGABYTE = 1000 * 1000


class Pane(DisplayTest):
    def setUp(self):
        super().setUp()
        self.program = self.enter(Veltrane(platform="xcb"))
        self.traffic = self.enter(Traffic(self.program.store))

    def start(self, **talk):
        self.program.start(listening=self.traffic.ports)
        self.traffic.start(**talk)
        self.window = Window(self.screen)
        self.window.choose("v", "e")  # the event history instead of the diagram

    def colours(self):
        """The colours of the pane's dots."""
        left, top, width, height = PANE
        crop = f"{width}x{height}+{left}+{top}"
        done = subprocess.run(
            ["import", "-window", self.window.id, "-crop", crop, "+repage", "-depth", "8", "rgb:-"],
            env=self.screen.environment,
            capture_output=True,
            check=True,
        )
        return {tuple(done.stdout[i : i + 3]) for i in range(0, len(done.stdout), 3)}

    def shows(self, wanted):
        """Whether dots of nearly that colour are there: of small letters few are of a full colour."""
        return any(sum(abs(a - b) for a, b in zip(colour, wanted)) < 100 for colour in self.colours())

    def still(self):
        return self.window.stands(*PANE, seconds=1)

    def options(self):
        return self.window.open("v", "r", OPTIONS)

    def expect_title(self, window, begin):
        """A title that begins so."""
        wait_for(lambda: self.screen.ask("getwindowname", window).startswith(begin), 15, f"the title {begin!r}")

    def test_data_goes_by_with_its_preamble_in_the_colour_of_its_direction(self):
        self.start()
        wait_for(lambda: self.shows(BLUE) and self.shows(RED) and self.shows(BLACK), 10, "the three colours")
        wait_for(lambda: not self.still(), 10, "the pane to go on")
        self.assertLess(self.program.resident(), 200)

    def test_options_act_at_the_click_and_Cancel_takes_them_back(self):
        self.start()
        dialog = self.options()
        self.screen.click(dialog, 56, 107)  # Client To VLT
        self.screen.click(dialog, 56, 155)  # VLT To Client
        # Aside, so that the whole pane is seen.
        self.screen.tool("windowmove", "--sync", dialog, "700", "0")
        self.screen.tool("windowraise", self.window.id)
        wait_for(self.still, 15, "the pane to stand")
        self.screen.activate(dialog)
        self.screen.key("Escape")
        self.screen.wait_until_closed(OPTIONS)
        wait_for(lambda: not self.still(), 10, "the pane to go on")
        self.assertIsNone(self.program.store.get("RealTime", "ClientToVLT"))

    def test_the_format_is_chosen_and_saved(self):
        self.start()
        dialog = self.options()
        self.screen.click(dialog, 173, 22)  # the page of the format
        self.screen.click(dialog, 325, 86)  # Binary
        self.screen.key("Return")
        self.screen.wait_until_closed(OPTIONS)
        self.assertEqual(self.program.store.get("RealTime", "DisplayAs"), "4")
        self.assertEqual(self.program.store.get("RealTime", "BytesPerRow"), "16")
        self.assertEqual(self.program.store.get("Options", "Color1"), "16711680")

    def test_each_format_has_its_own_picture(self):
        # The formats with the cells that a line of 64 times the same letter takes, 8 to a row but for the first.
        cells = {"AscII": 64, "Hex": 28, "Octal": 36, "Decimal": 36, "Binary": 76}
        pictures = {name: self.picture_of_format(index) for index, name in enumerate(cells)}
        self.assertEqual(len(set(map(tuple, pictures.values()))), len(cells))
        ends = {name: max(len(row.rstrip(PAPER)) for row in rows) for name, rows in pictures.items()}
        for name, count in cells.items():
            self.assertAlmostEqual(ends[name] / ends["Hex"], count / cells["Hex"], delta=0.06, msg=(name, ends))

    def picture_of_format(self, index):
        """The pane with 64 letters in a format: rows of ink and paper."""
        port = veltrane.free_port()
        with socket.create_server(("127.0.0.1", 0)) as server, Veltrane(platform="xcb") as run:
            run.store.add_port(port, server="127.0.0.1", server_port=server.getsockname()[1])
            for key in ("IncludeDateTimeStamp", "IncludeDataDirection", "IncludeDescription", "VLTToClient"):
                run.store.set("RealTime", key, 0)
            run.store.set("RealTime", "DisplayAs", index)
            run.store.set("RealTime", "BytesPerRow", 8)
            run.start(listening=[port])
            self.window = Window(self.screen)
            with socket.create_connection(("127.0.0.1", port), timeout=20) as client:
                client.sendall(b"M" * 64)
                wait_for(lambda: self.shows(BLUE), 10, "the data")
                wait_for(self.still, 10, "the pane to stand")
            left, top, width, height = PANE
            rows = self.window.grey(left + 3, top + 3, width - 6, height - 6)
            self.assertLess(run.resident(), 200)
            self.assertEqual(run.stop(), (0, ""))
        return [bytes(0 if dot < 128 else 255 for dot in row) for row in rows]

    def test_the_close_box_hides_the_pane_and_the_store_remembers(self):
        self.start()
        wait_for(lambda: self.shows(RED), 10, "data")
        self.window.click(*CLOSE_BOX)
        wait_for(lambda: not self.shows(RED), 10, "the pane to go")
        self.assertEqual(self.program.stop(), (0, ""))
        self.assertEqual(self.program.store.get("RealTime", "ShowRealTimeData"), "0")

    def test_the_event_window_walks_through_a_connection_and_follows_the_tree(self):
        self.start(talkers=0)
        self.window.unfold(1, 2, 3)  # the port, the peer, its first connection
        self.window.tree_row(4)  # that one's first event
        # On a busy machine two clicks may be too far apart for one double click.
        retry(lambda: self.window.click(300, 117, repeat=2), lambda: self.screen.windows("^Event Details"), "the window")
        details = self.screen.open("^Event Details")
        self.expect_title(details, "Event Details - #1  Remote connection request accepted")
        following, previous = (489, 339), (34, 339)
        self.screen.click(details, *following)
        self.expect_title(details, "Event Details - #2  A connection request has been made to ")
        self.screen.click(details, *following)
        self.screen.click(details, *following)
        self.expect_title(details, "Event Details - #4  51 bytes of data has been received from the remote client.")
        self.screen.click(details, *previous)
        self.expect_title(details, "Event Details - #3  ")
        self.window.tree_row(7)
        self.expect_title(details, "Event Details - #4  51 bytes")
        # The program hears of the size before it hears of the click.
        self.screen.tool("windowsize", "--sync", details, "600", "450")
        self.window.tree_row(0)
        self.expect_title(details, "Event Details - No Event")
        self.assertEqual(self.program.stop(), (0, ""))
        self.assertEqual(self.program.store.get("EventDetails", "Width"), "9000")
        self.assertEqual(self.program.store.get("EventDetails", "Height"), "6750")

    def test_a_large_download_arrives_unchanged_under_an_open_pane_and_memory_stays_flat(self):
        payload = os.urandom(MEGABYTE) * 200
        server = socket.create_server(("127.0.0.1", 0))
        self.addCleanup(server.close)

        def serve():
            for _ in range(6):
                with server.accept()[0] as connection:
                    connection.sendall(payload)

        threading.Thread(target=serve, daemon=True).start()
        port = veltrane.free_port()
        self.program.store.add_port(port, server="127.0.0.1", server_port=server.getsockname()[1])
        for key in ("ServerToVLT", "VLTToServer"):
            self.program.store.set("RealTime", key, 1)
        self.program.start(listening=[port])
        self.window = Window(self.screen)
        memory = []
        for _ in range(6):
            received = bytearray()
            with socket.create_connection(("127.0.0.1", port), timeout=30) as client:
                while data := client.recv(1 << 20):
                    received += data
            self.assertEqual(sha(received), sha(payload))
            memory.append(self.program.resident())
        wait_for(lambda: self.shows(RED), 10, "data")
        # Of 1.2 GB that went by, which are more as text. A client that reads slowly lets a whole download wait.
        self.assertLess(max(memory), 500, memory)
        self.assertEqual(self.program.stop(), (0, ""))


if __name__ == "__main__":
    veltrane.main()

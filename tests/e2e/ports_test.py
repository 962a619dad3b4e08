"""The port dialogs and the tray icon of the running program, on a virtual display: what the user does to a port
is on the wire at once and survives a restart."""

import hashlib
import os
import signal
import socket
import struct
import subprocess
import threading
import time
import unittest.mock

import veltrane
from pictures import DisplayTest, Window
from veltrane import Veltrane, free_port, holds, listens, retry, wait_for


# Places on the screen: the panel, and where the icon's menu stands.
PANEL = "100x32+0+868"
MENU = "100x30+15+830"


class Echo:
    """A server that sends everything back."""

    def __init__(self):
        self.server = socket.create_server(("127.0.0.1", 0))
        self.port = self.server.getsockname()[1]
        threading.Thread(target=self.accept, daemon=True).start()

    def accept(self):
        while True:
            try:
                connection, _ = self.server.accept()
            except OSError:
                return
            threading.Thread(target=self.serve, args=(connection,), daemon=True).start()

    @staticmethod
    def serve(connection):
        with connection:
            try:
                while data := connection.recv(65536):
                    connection.sendall(data)
            except OSError:
                pass

    def close(self):
        self.server.close()


class SilentPanel:
    """A program that owns the notification area's name on a message bus of its own and never answers."""

    def __init__(self):
        self.daemon = subprocess.Popen(
            ["dbus-daemon", "--session", "--nofork", "--print-address"],
            stdout=subprocess.PIPE,
            stderr=subprocess.DEVNULL,
            text=True,
        )
        self.address = self.daemon.stdout.readline().strip()
        kind, _, place = self.address.split(",")[0].partition(":")[2].partition("=")
        self.bus = socket.socket(socket.AF_UNIX)
        self.bus.settimeout(10)
        self.bus.connect("\0" + place if kind == "abstract" else place)
        self.bus.sendall(b"\0AUTH EXTERNAL " + str(os.getuid()).encode().hex().encode() + b"\r\n")
        if not self.bus.recv(1024).startswith(b"OK"):
            raise AssertionError("the bus does not let us in")
        self.bus.sendall(b"BEGIN\r\n")
        self.call(1, "Hello")
        name = "org.kde.StatusNotifierWatcher".encode()
        self.call(2, "RequestName", "su", struct.pack("<I", len(name)) + name + bytes(4 - len(name) % 4) + bytes(4))
        self.bus.recv(65536)

    def call(self, serial, member, signature="", body=b""):
        """Calls the bus itself, in the wire format of D-Bus (freedesktop.org)."""
        fields = [(1, "o", "/org/freedesktop/DBus"), (2, "s", "org.freedesktop.DBus"), (3, "s", member)]
        fields.append((6, "s", "org.freedesktop.DBus"))
        array = b""
        for code, kind, text in fields:
            array += bytes(-len(array) % 8) + bytes([code, 1, ord(kind), 0])
            array += struct.pack("<I", len(text)) + text.encode() + b"\0"
        if signature:
            array += bytes(-len(array) % 8) + bytes([8, 1, ord("g"), 0, len(signature)]) + signature.encode() + b"\0"
        header = struct.pack("<BBBBIII", ord("l"), 1, 0, 1, len(body), serial, len(array)) + array
        self.bus.sendall(header + bytes(-len(header) % 8) + body)

    def close(self):
        self.bus.close()
        self.daemon.terminate()
        self.daemon.communicate()


def echoes(client, text):
    client.sendall(text)
    received = b""
    while len(received) < len(text):
        piece = client.recv(len(text) - len(received))
        if not piece:
            return False
        received += piece
    return received == text


def is_served(port):
    """True when a client gets its bytes back through the port, False when it is refused."""
    try:
        with socket.create_connection(("127.0.0.1", port), 5) as client:
            client.settimeout(10)
            return echoes(client, b"are you there")
    except ConnectionRefusedError:
        return False


class OnAScreen(DisplayTest):
    def setUp(self):
        super().setUp()
        self.echo = Echo()
        self.addCleanup(self.echo.close)
        self.run_ = self.enter(Veltrane(platform="xcb"))

    def visible(self, title):
        return self.screen.windows(title)

    def window(self, title):
        """The window of that title, in front and with the keyboard."""
        return self.screen.open(title)

    def keys(self, *names):
        self.screen.key(*names)

    def echo_port(self):
        """A new port number, for which the store knows the echo server as destination but no row."""
        port = free_port()
        section = f"Protocols\\Pass Through\\Port {port}"
        self.run_.store.set(section, "Server", "127.0.0.1")
        self.run_.store.set(section, "Port", self.echo.port)
        return port

    def served_port(self):
        port = free_port()
        self.run_.store.add_port(port, server="127.0.0.1", server_port=self.echo.port)
        return port


class Ports(OnAScreen):
    def setUp(self):
        super().setUp()
        self.run_.store.set("Options", "ShowConfigAtStartUp", 1)
        self.run_.store.set("Options", "SystemTray", 0)

    def choose(self, *keys):
        """Chooses in the list of protocols, by keys."""
        self.window("^Configure Veltrane$")
        self.keys("alt+s", *keys)

    def choose_pass_through(self, port):
        # Letters that come quickly one after the other are one word to look for.
        retry(lambda: self.choose("P"), lambda: listens(port), f"port {port} to listen")

    def rows(self, port):
        return [self.run_.store.get(section, port) for section in ("PortsInUse", "Protocols")]

    def test_a_port_from_add_to_delete_with_a_restart_and_traffic_all_along(self):
        other = self.served_port()
        port = self.echo_port()
        self.run_.start(listening=[other])
        client = socket.create_connection(("127.0.0.1", other))
        client.settimeout(10)
        self.assertTrue(echoes(client, b"before"))

        self.window("^Configure Veltrane$")
        self.keys("alt+a")
        self.window("^Port Selection$")
        # The dialog is modal, the traffic is not.
        self.assertTrue(echoes(client, b"while the dialog is open"))
        self.keys("alt+p")
        self.screen.tool("type", str(port))
        self.keys("alt+d")
        self.screen.tool("type", "Mine")
        self.assertEqual(self.rows(port), [None, None], "nothing before OK")
        self.keys("Return")
        wait_for(lambda: self.rows(port) == ["Mine", "<Don't use>"], 10, "the new port's rows")
        self.assertFalse(is_served(port))

        self.choose_pass_through(port)
        self.assertTrue(is_served(port))
        self.assertEqual(self.rows(port), ["Mine", "Pass Through"])

        self.choose("Home")
        wait_for(lambda: not listens(port), 10, "the port to stop")
        self.assertFalse(is_served(port))
        self.choose_pass_through(port)
        self.assertTrue(is_served(port))
        self.assertTrue(echoes(client, b"after"))
        client.close()
        self.assertEqual(self.run_.stop(), (0, ""))

        # What was set up by hand holds in the next run.
        self.run_.start(listening=[other, port])
        self.assertTrue(is_served(port))
        self.window("^Configure Veltrane$")
        self.keys("alt+p", "End", "alt+d")
        box = wait_for(lambda: self.question(), 10, "the question")
        self.screen.activate(box)
        self.assertTrue(is_served(port), "asking changes nothing")
        self.keys("alt+y")
        wait_for(lambda: not listens(port), 10, "the port to go")
        self.assertFalse(is_served(port))
        self.assertEqual(self.rows(port), [None, None])
        self.assertTrue(is_served(other))
        self.assertEqual(self.run_.stop(), (0, ""))

        self.run_.start(listening=[other])
        self.assertFalse(is_served(port))
        self.assertEqual(self.rows(port), [None, None])
        self.assertEqual(self.run_.stop(), (0, ""))

    def question(self):
        """The message box: the smaller one of the windows with the product's name."""
        found = self.visible("^Veltrane$")
        if len(found) < 2:
            return None
        return min(found, key=lambda window: self.screen.place(window)[3])

    def test_a_port_dialog_that_is_minimised_comes_back_with_what_was_typed(self):
        other = self.served_port()
        self.run_.start(listening=[other])
        for minimised in ("^Port Selection$", "^Configure Veltrane$"):
            port = self.echo_port()
            self.window("^Configure Veltrane$")
            self.keys("alt+a")
            dialog = self.window("^Port Selection$")
            self.keys("alt+p")
            self.screen.tool("type", str(port))
            window = self.visible(minimised)[0]
            self.screen.tool("windowminimize", "--sync", window)
            wait_for(lambda: not self.visible(minimised), 10, "the window to go")
            self.assertTrue(is_served(other))
            self.screen.tool("windowactivate", "--sync", window)
            self.screen.tool("windowactivate", "--sync", dialog)
            self.keys("alt+d")
            self.screen.tool("type", "Mine")
            self.keys("Return")
            wait_for(lambda: self.rows(port)[0] == "Mine", 10, "the new port's row")
        self.assertEqual(self.run_.stop(), (0, ""))

    def test_an_ephemeral_port_that_appears_meanwhile_survives_the_dialog(self):
        port = self.served_port()
        # A purge would tell of the row that lacks others.
        self.run_.store.set("Options", "Discard", "0")
        self.run_.start(listening=[port])
        self.window("^Configure Veltrane$")
        ephemeral = "FTP Data - Dynamically allocated"
        self.run_.store.set("PortsInUse", 3001, ephemeral)
        self.run_.store.set("PortsInUse", 3002, "by another program")
        self.keys("Escape")
        wait_for(lambda: not self.visible("^Configure Veltrane$"), 10, "the window to close")
        self.assertEqual(self.run_.store.get("PortsInUse", 3001), ephemeral)
        self.assertIsNone(self.run_.store.get("PortsInUse", 3002), "the list is the master of all other rows")
        self.assertEqual(self.rows(port), ["Test", "Pass Through"])
        self.assertTrue(is_served(port))
        self.assertEqual(self.run_.stop(), (0, ""))

    def test_the_end_of_the_program_behind_an_open_dialog_changes_nothing(self):
        port = self.served_port()
        self.run_.start(listening=[port])
        self.window("^Configure Veltrane$")
        self.keys("alt+a")
        self.window("^Port Selection$")
        before = [self.run_.store.section(name) for name in ("PortsInUse", "Protocols")]
        self.assertEqual(self.run_.stop(signal.SIGTERM), (0, ""))
        self.assertEqual([self.run_.store.section(name) for name in ("PortsInUse", "Protocols")], before)


class Tray(OnAScreen):
    """The icon in the panel of a real notification-area program."""

    def setUp(self):
        super().setUp()
        if not veltrane.which("trayer"):
            self.skipTest("trayer, a notification area, is not installed")
        self.panel = None

    def open_panel(self):
        self.panel = subprocess.Popen(
            "trayer --edge bottom --align left --width 100 --widthtype pixel --height 32".split(),
            env=self.screen.environment,
            stdout=subprocess.DEVNULL,
            stderr=subprocess.DEVNULL,
        )
        self.addCleanup(self.close_panel)

    def close_panel(self):
        if self.panel:
            self.panel.terminate()
            self.panel.wait()
            self.panel = None

    def pixels(self, place):
        """The pixels of a place of the screen, three bytes each."""
        done = subprocess.run(
            ["import", "-window", "root", "-crop", place, "+repage", "rgb:-"],
            env=self.screen.environment,
            capture_output=True,
            check=True,
        )
        return done.stdout

    def colours(self, place):
        pixels = self.pixels(place)
        return len({pixels[i : i + 3] for i in range(0, len(pixels), 3)})

    def picture(self):
        """What the panel shows now, as a number."""
        return hashlib.sha256(self.pixels(PANEL)).hexdigest()

    def stands(self, seconds):
        before = self.picture()
        return holds(lambda: self.picture() == before, seconds)

    def shows_icon(self):
        # An empty panel is of one colour, with an edge.
        return self.colours(PANEL) > 20

    def choose_from_menu(self, key, condition, what):
        """Opens the icon's menu and chooses the entry that the key leads to."""

        def choose():
            self.wait_for_no_menu()
            retry(self.open_menu, lambda: self.colours(MENU) > 5, "the menu")
            self.keys(key, "Return")

        # A window that gets the focus at such a moment closes the menu again.
        retry(choose, condition, what, seconds=8)

    def wait_for_no_menu(self):
        # Nothing else stands in the corner above the panel.
        wait_for(lambda: self.colours(MENU) == 1, 10, "the last menu to go")

    def open_menu(self):
        self.icon()
        self.screen.tool("click", "3")

    def icon(self):
        """Puts the mouse on the icon."""
        self.screen.tool("mousemove", *self.icon_place())

    def icon_place(self):
        for window in self.screen.ask("search", "--class", "veltrane").split():
            left, top, width, height = self.screen.place(window)
            if 868 <= top < 900 and 8 < width <= 64:
                return (str(left + width // 2), str(top + height // 2))
        return ("16", "884")

    def managed(self):
        """The main window as the window manager has it, minimised or not; None when it is hidden."""
        done = subprocess.run(
            ["xprop", "-root", "_NET_CLIENT_LIST"], env=self.screen.environment, capture_output=True, text=True, check=True
        )
        ids = [word.strip(",") for word in done.stdout.split() if word.startswith("0x")]
        return next((one for one in ids if self.screen.ask("getwindowname", one) == "Veltrane"), None)

    def minimize(self):
        self.screen.tool("windowminimize", self.window("^Veltrane$"))
        wait_for(lambda: not self.visible("^Veltrane$"), 10, "the window to be minimised")

    def give_back(self):
        """Asks the window manager for a window that is minimised."""
        self.screen.tool("windowactivate", self.managed())
        wait_for(lambda: self.visible("^Veltrane$"), 10, "the window")

    def test_the_icon_appears_moves_with_traffic_and_rests_again(self):
        port = self.served_port()
        self.open_panel()
        self.run_.start(listening=[port])
        wait_for(self.shows_icon, 15, "the icon")
        # Without traffic it stands still.
        wait_for(lambda: self.stands(1), 10, "the icon to stand")
        at_rest = self.picture()
        seen = set()
        with socket.create_connection(("127.0.0.1", port)) as client:
            client.settimeout(10)
            end = time.monotonic() + 5
            while time.monotonic() < end:
                self.assertTrue(echoes(client, b"x" * 1000))
                seen.add(self.picture())
                time.sleep(0.05)
        self.assertGreaterEqual(len(seen - {at_rest}), 4, "the frames of a run")
        wait_for(lambda: self.picture() == at_rest, 15, "the image of rest")
        self.assertEqual(self.run_.stop(), (0, ""))
        wait_for(lambda: not self.shows_icon(), 10, "the icon to go")

    def test_the_window_hides_behind_the_icon_and_comes_back_by_double_click_and_by_menu(self):
        self.open_panel()
        self.run_.start()
        wait_for(self.shows_icon, 15, "the icon")
        self.minimize()
        wait_for(lambda: not self.managed(), 10, "the window to hide")
        self.icon()
        # On a busy machine two clicks may be too far apart for one double click.
        retry(
            lambda: self.screen.tool("click", "--repeat", "2", "--delay", "80", "1"),
            lambda: self.visible("^Veltrane$"),
            "the window to come back",
        )
        # The menu's first entry is Minimize now, and then Restore.
        self.choose_from_menu("Down", lambda: not self.managed(), "the window to hide again")
        self.choose_from_menu("Down", lambda: self.visible("^Veltrane$"), "the window to come back again")
        # And its last one ends the program.
        self.choose_from_menu("Up", self.run_.ended, "the end of the program")
        self.assertEqual(self.run_.stop(), (0, ""))

    def test_without_a_notification_area_the_window_stays_within_reach(self):
        self.run_.start()
        self.minimize()
        self.assertTrue(holds(self.managed, 1), "minimised, but not hidden")
        self.give_back()
        # A panel that comes later gets the icon.
        self.open_panel()
        wait_for(self.shows_icon, 15, "the icon")
        self.minimize()
        wait_for(lambda: not self.managed(), 10, "the window to hide")
        # And one that goes gives the window back.
        self.close_panel()
        wait_for(self.managed, 15, "the window to come back")
        self.assertEqual(self.run_.stop(), (0, ""))

    def test_a_panel_that_hangs_stops_no_byte(self):
        if not veltrane.which("dbus-daemon"):
            self.skipTest("dbus-daemon is not installed")
        panel = SilentPanel()
        self.addCleanup(panel.close)
        with unittest.mock.patch.dict(os.environ, DBUS_SESSION_BUS_ADDRESS=panel.address):
            port = self.served_port()
            self.run_.start(listening=[port])
            longest = 0.0
            with socket.create_connection(("127.0.0.1", port)) as client:
                client.settimeout(60)
                end = time.monotonic() + 5
                while time.monotonic() < end:
                    began = time.monotonic()
                    self.assertTrue(echoes(client, b"x" * 1000))
                    longest = max(longest, time.monotonic() - began)
                    time.sleep(0.05)
            self.assertLess(longest, 3, "seconds for one answer")
            self.minimize()
            self.assertTrue(is_served(port))
            self.assertTrue(holds(self.managed, 3), "without an icon to get it back the window does not hide")
            self.assertTrue(is_served(port))
            self.assertEqual(self.run_.stop(), (0, ""))

    def test_switching_the_option_off_gives_a_hidden_window_back(self):
        self.open_panel()
        self.run_.start()
        wait_for(self.shows_icon, 15, "the icon")
        window = Window(self.screen)
        window.open("t", "o", "^Options$")
        window.key("alt+F4")
        wait_for(lambda: not self.managed(), 10, "the window to hide")
        self.window("^Options$")
        self.keys("alt+f")
        wait_for(self.managed, 10, "the window to come back")
        wait_for(lambda: not self.shows_icon(), 10, "the icon to go")
        self.give_back()
        self.assertEqual(self.run_.stop(), (0, ""))

    def test_the_option_takes_the_icon_away(self):
        self.run_.store.set("Options", "SystemTray", 0)
        self.open_panel()
        self.run_.start()
        self.window("^Veltrane$")
        self.assertFalse(self.shows_icon())
        self.minimize()
        self.assertTrue(holds(self.managed, 1))
        self.assertEqual(self.run_.stop(), (0, ""))


if __name__ == "__main__":
    veltrane.main()

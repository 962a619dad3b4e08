"""Saving from the running program: a connection is selected in the tree with the mouse, and saved in each form with
the keys. What the raw files hold is compared with what went over the wire."""

import ftplib
import re
import socket
import threading

import history
import servers
import veltrane
from pictures import DisplayTest, Window
from veltrane import expect_end, payload, sha, wait_for

DIALOG = "^Save Data$"
# By default the program keeps 400 KB of history; the connections stay below.
# What the text file holds without any box checked: kinds of which all events are let in.
IN_TEXT = (
    history.FROM_SERVER,
    history.HELD_TO_SERVER,
    history.HELD_TO_CLIENT,
    history.TO_CLIENT,
    history.FROM_CLIENT,
    history.TO_SERVER,
)
# The forms of the text, in the order of the dialog: digits for a byte, and their base.
FORMS = {"hexadecimal": (2, 16), "octal": (3, 8), "decimal": (3, 10), "binary": (8, 2)}


class Recorder:
    """A web server for one request, which keeps what came."""

    def __init__(self, reply):
        self.listener = socket.create_server(("127.0.0.1", 0))
        self.port = self.listener.getsockname()[1]
        self.reply = reply
        self.received = b""
        self.thread = threading.Thread(target=self.serve, daemon=True)
        self.thread.start()

    def serve(self):
        connection, _ = self.listener.accept()
        with connection:
            while not self.complete():
                self.received += connection.recv(65536)
            connection.sendall(self.reply)

    def complete(self):
        head, end, body = self.received.partition(b"\r\n\r\n")
        length = re.search(rb"Content-Length: (\d+)", head)
        return end and len(body) == int(length.group(1))


class Site:
    """A file server that knows three lines by heart, and keeps what went over its wire."""

    REPLIES = (b"331 who are you\r\n", b"230 you are in\r\n", b"227 Entering Passive Mode (127,0,0,1,200,21)\r\n")

    def __init__(self):
        self.listener = socket.create_server(("127.0.0.1", 0))
        self.port = self.listener.getsockname()[1]
        self.received = b""
        self.sent = b""
        threading.Thread(target=self.serve, daemon=True).start()

    def serve(self):
        connection, _ = self.listener.accept()
        with connection:
            self.say(connection, b"220 at your service\r\n")
            for reply in self.REPLIES:
                self.received += read_line(connection)
                self.say(connection, reply)
            connection.recv(1)  # until the client leaves

    def say(self, connection, line):
        self.sent += line
        connection.sendall(line)


def read_line(end):
    line = b""
    while not line.endswith(b"\r\n"):
        line += end.recv(1)
    return line


class Saves(DisplayTest):
    NEEDS = (*DisplayTest.NEEDS, "curl")

    def start(self, protocol, **settings):
        self.run_, port = self.serve(protocol, platform="xcb", **settings)
        self.window = Window(self.screen)
        return port

    def save(self, name, *keys):
        """Opens the dialog by the menu, types the path, and then the keys, the last of which press Save."""
        path = self.run_.home / name
        # Of a file that is there, the keys would stop at the button that views it.
        self.assertFalse(path.exists(), name)
        dialog = self.window.open("t", "s", DIALOG)
        # Into the field of the path, at the top; the keys count from there.
        self.screen.click(dialog, 200, 20)
        self.screen.key("ctrl+a")
        self.screen.tool("type", str(path))
        self.screen.key(*keys)
        # It closes when the file is written.
        self.screen.wait_until_closed(DIALOG)
        self.assertEqual(self.run_.store.get("SaveHistory", "File"), str(path))
        self.assertTrue(path.exists())
        return path

    def save_report(self):
        # Backwards: Cancel, Save.
        return self.save("Report.htm", "shift+Tab", "shift+Tab", "space")

    def save_text(self, form):
        # The file's button, the format; its five boxes, the direction, the digits; the width, the opening, Save.
        digits = ["Right"] * list(FORMS).index(form)
        return self.save(form, "Tab", "Tab", "Down", *["Tab"] * 7, *digits, *["Tab"] * 3, "space")

    def save_raw(self, direction):
        # As above to the direction and the digits, up to the raw data; the direction, the opening, Save.
        choose = [*["Tab"] * 6, "Home", *["Down"] * direction, "Tab", "Up"]
        return self.save(f"raw{direction}", "Tab", "Tab", "Down", *choose, *["Tab"] * 3, "space")

    def expect_saved(self, records, wanted):
        """wanted: the bytes of each direction, in the order of the list."""
        for direction, data in enumerate(wanted):
            saved = self.save_raw(direction).read_bytes()
            self.assertEqual((len(saved), sha(saved)), (len(data), sha(data)), f"direction {direction}")
        self.expect_text(records)
        self.expect_report(records)

    def expect_text(self, records, form="hexadecimal"):
        text = self.save_text(form).read_bytes()
        width, base = FORMS[form]
        told = b"".join(record.data for record in records if record.kind in IN_TEXT)
        self.assertGreater(len(told), 0)
        rows = [line[19:].replace(b" ", b"").rstrip(b".") for line in text.split(b"\r\n") if line]
        digits = b"".join(rows)
        data = bytes(int(digits[at : at + width], base) for at in range(0, len(digits), width))
        self.assertEqual(sha(data), sha(told), form)

    def expect_report(self, records):
        path = self.save_report()
        page = path.read_bytes()
        self.assertTrue(page.startswith(b"<html>"))
        pages = {f"Event{number}.htm" for number in range(1, len(records) + 1)}
        self.assertEqual({entry.name for entry in path.with_suffix("").iterdir()}, pages)
        for name in re.findall(rb"images/(\w+\.gif)", page):
            self.assertTrue((path.parent / "images" / name.decode()).exists(), name)
        self.assertEqual(set(re.findall(rb"Report/(Event\d+\.htm)", page)), {name.encode() for name in pages})

    def test_a_web_request(self):
        body = payload(60_000)
        reply = b"HTTP/1.1 200 OK\r\nContent-Length: %d\r\nConnection: close\r\n\r\n" % len(body) + body
        server = Recorder(reply)
        self.addCleanup(server.listener.close)
        port = self.start("HTTP")
        site = f"http://127.0.0.1:{server.port}"
        sent = self.run_.home / "sent"
        sent.write_bytes(payload(40_000))
        words = ["--noproxy", "", "-x", f"http://127.0.0.1:{port}", "--data-binary", f"@{sent}", f"{site}/page"]
        self.assertEqual(sha(self.run_client("curl", "-sS", *words)), sha(body))
        server.thread.join(10)
        wait_for(lambda: history.parse_so_far(self.run_.log)[-1].kind == history.CLOSED_CLIENT, 10, "the end")
        # The client names the server in the request line; nothing else changes on the way.
        asked = server.received.replace(b"POST ", b"POST " + site.encode(), 1)
        self.assertIn(sent.read_bytes(), asked)
        self.window.unfold(1, 2, 3)
        self.expect_saved(history.parse(self.run_.log), [asked, server.received, reply, reply])
        expect_end(self, self.run_)

    def test_an_upload_to_an_ftp_server_while_it_stands(self):
        try:
            import pyftpdlib  # noqa: F401
        except ImportError:
            self.skipTest("pyftpdlib is not installed")
        site = servers.FileServer()
        self.addCleanup(site.close)
        port = self.start("FTP")
        client = ftplib.FTP()
        self.addCleanup(client.close)
        client.connect("127.0.0.1", port, timeout=30)
        client.login(f"{site.USER}@127.0.0.1:{site.port}", site.PASSWORD)
        client.voidcmd("TYPE I")
        upload = payload(80_000)
        with client.transfercmd("STOR up") as data:
            data.sendall(upload)
            wait_for(lambda: (site.files / "up").stat().st_size == len(upload), 10, "the upload")
            # Below the FTP port stands that of the data.
            self.window.unfold(2, 3, 4)
            records = [record for record in history.parse(self.run_.log) if record.id == "KEY2"]
            self.expect_saved(records, [upload, upload, b"", b""])
        client.voidresp()
        client.quit()
        self.assertEqual(sha((site.files / "up").read_bytes()), sha(upload))
        expect_end(self, self.run_)

    def test_the_control_connection_of_an_ftp_conversation(self):
        site = Site()
        self.addCleanup(site.listener.close)
        port = self.start("FTP")
        with socket.create_connection(("127.0.0.1", port), timeout=30) as client:
            lines = [b"USER me@127.0.0.1:%d\r\n" % site.port, b"PASS secret\r\n", b"PASV\r\n"]
            heard = read_line(client)
            for line in lines:
                client.sendall(line)
                heard += read_line(client)
            # The destination goes no further, the site's greeting neither, and the data go another way.
            self.assertEqual(site.received, b"USER me\r\nPASS secret\r\nPASV\r\n")
            self.assertNotEqual(heard.splitlines()[-1], site.sent.splitlines()[-1])
            self.window.unfold(1, 2, 3)
            records = history.parse(self.run_.log)
            self.expect_saved(records, [b"".join(lines), site.received, site.sent, heard])
        expect_end(self, self.run_)

    def test_a_dangled_connection_with_what_is_held_both_ways(self):
        server = socket.create_server(("127.0.0.1", 0))
        self.addCleanup(server.close)
        # From the first moment, for longer than the test.
        schedule = {"chkDangleConnections": 1, "txtDangleNthConnection": 1, "txtDangleStartTime": 1}
        schedule["txtDangleStopTime"] = 600_000
        target = {"Server": "127.0.0.1", "Port": server.getsockname()[1]}
        port = self.start("Pass Through", schedule=schedule, **target)
        with socket.create_connection(("127.0.0.1", port), timeout=30) as client, server.accept()[0] as site:

            def count(kind):
                return sum(record.kind == kind for record in history.parse_so_far(self.run_.log))

            wait_for(lambda: count(history.SERVER_DANGLE) and count(history.CLIENT_DANGLE), 20, "the dangle")
            asked, answered = payload(3000), payload(5000)
            client.sendall(asked)
            wait_for(lambda: count(history.HELD_TO_SERVER), 20, "the held question")
            site.sendall(answered)
            wait_for(lambda: count(history.HELD_TO_CLIENT), 20, "the held answer")
            self.window.unfold(1, 2, 3)
            records = history.parse(self.run_.log)
            held = [record.data for record in records if record.kind in (history.HELD_TO_SERVER, history.HELD_TO_CLIENT)]
            self.assertEqual(held, [asked, answered])
            # What is held has arrived, and has not been sent.
            self.expect_saved(records, [asked, b"", answered, b""])
            for form in list(FORMS)[1:]:
                self.expect_text(records, form)
        expect_end(self, self.run_)


if __name__ == "__main__":
    veltrane.main()

"""The log file of real conversations, record by record, and files that cannot be written.

What is expected is told step by step in history.Story.
"""

import concurrent.futures
import os
import pathlib
import random
import resource
import shutil
import smtplib
import socket
import tempfile
import time
import unittest

from aiosmtpd.controller import Controller

import history
import veltrane
from history import Story
from veltrane import Veltrane, free_port, wait_for

HUNDRED_MB = 100 * 1000 * 1000
LOCAL = "127.0.0.1"
WRITING = "An error occurred while attempting to write the log file.  The operating system reports: "


def read(end, count):
    """That many bytes, or fewer when the stream ends."""
    data = bytearray()
    while len(data) < count:
        piece = end.recv(min(count - len(data), 1 << 20))
        if not piece:
            break
        data += piece
    return bytes(data)


class Logged(unittest.TestCase):
    """The program with logging switched on in its store, and a server."""

    def setUp(self):
        self.server = socket.create_server((LOCAL, 0))
        self.server.settimeout(20)
        self.addCleanup(self.server.close)
        self.server_port = self.server.getsockname()[1]

    def prepare(self, server=LOCAL, server_port=None, log=None):
        """The program, not yet started, and its port."""
        run = Veltrane()
        self.addCleanup(run.__exit__)
        self.log = run.home / "log.txt" if log is None else pathlib.Path(log)
        run.store.set("RealTimeLogging", "LoggingOn", 1)
        run.store.set("RealTimeLogging", "LogFile", self.log)
        port = free_port()
        run.store.add_port(port, server=server, server_port=server_port or self.server_port)
        return run, port

    def start(self, *arguments, **options):
        run, port = self.prepare(*arguments, **options)
        run.start(listening=[port])
        return run, port

    def end(self, run, *reports):
        veltrane.expect_end(self, run, *reports)

    def connect(self, port):
        client = socket.create_connection((LOCAL, port))
        client.settimeout(20)
        self.addCleanup(client.close)
        return client

    def accept(self):
        end, _ = self.server.accept()
        end.settimeout(20)
        self.addCleanup(end.close)
        return end

    def story(self, port, client, key="KEY1"):
        return Story(key, port, client.getsockname()[1])

    def wait_for_records(self, count, log=None):
        """Waits until the file has that many records. What has happened is in it, with the program running."""
        path = log or self.log
        wait_for(lambda: len(history.parse_so_far(path)) >= count, 15, f"{count} records")
        return history.parse(path)

    def assertTold(self, records, story):
        self.maxDiff = 20_000
        self.assertEqual(history.joined(records), story.records)

    def talk(self, port):
        """A short conversation: 9 events. Gives the client's port."""
        client = self.connect(port)
        own = client.getsockname()[1]
        server = self.accept()
        client.sendall(b"question")
        self.assertEqual(read(server, 8), b"question")
        server.sendall(b"answer")
        self.assertEqual(read(client, 6), b"answer")
        client.close()
        self.assertEqual(server.recv(1), b"")
        server.close()
        return own

    def talk_story(self, port, own, key):
        story = Story(key, port, own).connect(self.server_port)
        story.up(b"question").down(b"answer")
        return story.add(history.CLIENT_LEFT).add(history.CLOSED_SERVER)


TALK_EVENTS = 9


class Conversations(Logged):
    def test_a_line_for_each_event_in_their_order_at_once(self):
        run, port = self.start()
        first = self.talk(port)
        records = self.wait_for_records(TALK_EVENTS)
        self.assertEqual(history.timeless(records), self.talk_story(port, first, "KEY1").records)
        times = [record.time for record in records]
        if times[0] < "23:59":
            self.assertEqual(times, sorted(times))
        second = self.talk(port)
        records = self.wait_for_records(2 * TALK_EVENTS)
        self.assertEqual(
            history.timeless(history.of(records, "KEY2")), self.talk_story(port, second, "KEY2").records
        )
        self.end(run)
        self.assertEqual(len(history.parse(self.log)), 2 * TALK_EVENTS)

    def test_every_byte_comes_back_from_its_escape(self):
        run, port = self.start()
        client = self.connect(port)
        server = self.accept()
        data = bytes(range(256)) + b'""\r\n\r\n\n\r\r"end"<13 >'
        client.sendall(data)
        self.assertEqual(read(server, len(data)), data)
        server.sendall(data[::-1])
        self.assertEqual(read(client, len(data)), data[::-1])
        story = self.story(port, client).connect(self.server_port)
        story.up(data).down(data[::-1])
        self.assertTold(self.wait_for_records(7), story)
        self.end(run)

    def test_the_server_leaves_first(self):
        run, port = self.start()
        client = self.connect(port)
        self.accept().close()
        self.assertEqual(client.recv(1), b"")
        story = self.story(port, client).connect(self.server_port)
        story.add(history.SERVER_LEFT).add(history.CLOSED_CLIENT)
        self.end(run)
        self.assertTold(history.parse(self.log), story)

    def test_a_refused_destination(self):
        dead = free_port()
        run, port = self.start(server_port=dead)
        client = self.connect(port)
        self.assertEqual(client.recv(1), b"")
        story = self.story(port, client).add(history.ACCEPTED).attempt(LOCAL, dead)
        # The number stands in the text; the fields for it are those of failed attempts alone.
        story.add(history.SERVER_SIDE_BAD, "10061, Connection refused").add(history.CLOSED_CLIENT)
        self.end(run)
        self.assertTold(history.parse(self.log), story)

    def test_a_host_that_does_not_exist(self):
        host = "no-such-host.invalid"
        # Without a name server the machine cannot even tell that there is none.
        number, text = 11001, "Host not found"
        try:
            socket.getaddrinfo(host, 80, socket.AF_INET)
        except socket.gaierror as failure:
            if failure.errno == socket.EAI_AGAIN:
                number, text = 11002, "Host not found, the name server did not answer"
        run, port = self.start(server=host, server_port=80)
        client = self.connect(port)
        self.assertEqual(client.recv(1), b"")
        story = self.story(port, client).add(history.ACCEPTED).attempt(host, 80, ip="")
        story.add(history.ATTEMPT_FAILED, text, error=number, error_text=text).add(history.CLOSED_CLIENT)
        self.end(run)
        self.assertTold(history.parse(self.log), story)

    def test_a_rejected_connection(self):
        run, port = self.prepare()
        run.store.set("FailureSim", "chkRefuseConnections", 1)
        run.store.set("FailureSim", "txtRefuseNthConnection", 2)
        run.start(listening=[port])
        first = self.talk(port)
        client = self.connect(port)
        try:
            self.assertEqual(client.recv(1), b"")
        except ConnectionResetError:
            pass
        third = self.talk(port)
        self.end(run)
        records = history.parse(self.log)
        self.assertTold(history.of(records, "KEY1"), self.talk_story(port, first, "KEY1"))
        # Nothing was accepted, so nobody can say who asked.
        story = Story("KEY2", port, 0, client_ip="").add(history.REJECTED)
        self.assertTold(history.of(records, "KEY2"), story)
        self.assertTold(history.of(records, "KEY3"), self.talk_story(port, third, "KEY3"))
        self.assertEqual(len(records), 2 * TALK_EVENTS + 1)


class Slow(Logged):
    """A server whose backlog is full: attempts wait until it accepts."""

    def setUp(self):
        self.server = socket.socket()
        self.server.bind((LOCAL, 0))
        self.server.listen(0)
        self.server.settimeout(20)
        self.addCleanup(self.server.close)
        self.server_port = self.server.getsockname()[1]
        self.fillers = []
        while True:
            filler = socket.socket()
            self.addCleanup(filler.close)
            filler.settimeout(0.5)
            try:
                filler.connect((LOCAL, self.server_port))
            except TimeoutError:
                filler.close()
                break
            self.fillers.append(filler)

    def let_in(self):
        """Accepts all that wait, and then the program's connection, which is the one that is left."""
        own = {filler.getsockname()[1] for filler in self.fillers}
        while True:
            end, address = self.server.accept()
            self.addCleanup(end.close)
            if address[1] not in own:
                end.settimeout(20)
                return end

    def leave(self, data):
        run, port = self.start()
        client = self.connect(port)
        if data:
            client.sendall(data)
            self.wait_for_records(4)
        own = client.getsockname()[1]
        client.close()
        self.wait_for_records(5 if data else 3)
        server = self.let_in()
        self.assertEqual(read(server, len(data) + 1), data)
        self.end(run)
        story = Story("KEY1", port, own).add(history.ACCEPTED).attempt(LOCAL, self.server_port)
        if data:
            story.add(history.FROM_CLIENT, data=data).add(history.BUFFERED_TO_SERVER, data=data)
        story.add(history.CLIENT_LEFT).add(history.CONNECTED, " ")
        if data:
            story.add(history.TO_SERVER, data=data)
        story.add(history.CLOSED_SERVER)
        self.assertTold(history.parse(self.log), story)

    def test_a_client_that_leaves_before_the_server_is_there(self):
        self.leave(b"")

    def test_a_client_that_speaks_and_leaves_before_the_server_is_there(self):
        self.leave(b"the last words")


class TapSocket(socket.socket):
    """A client's socket that keeps what was said: pairs of who spoke and what."""

    def __init__(self, inner):
        super().__init__(inner.family, inner.type, inner.proto, fileno=inner.detach())
        self.settimeout(20)
        self.said = []

    def keep(self, speaker, data):
        if self.said and self.said[-1][0] == speaker:
            data = self.said.pop()[1] + data
        self.said.append((speaker, data))

    def sendall(self, data, *flags):
        self.keep("client", bytes(data))
        return super().sendall(data, *flags)

    def recv_into(self, buffer, *arguments):
        count = super().recv_into(buffer, *arguments)
        if count:
            self.keep("server", bytes(memoryview(buffer)[:count]))
        return count


class TapSmtp(smtplib.SMTP):
    def _get_socket(self, *arguments):
        self.tap = TapSocket(super()._get_socket(*arguments))
        return self.tap


class Mail(Logged):
    def test_the_log_tells_what_client_and_server_said(self):
        received = []

        class Keep:
            async def handle_DATA(self, _server, _session, envelope):
                received.append(envelope.content)
                return "250 OK"

        controller = Controller(Keep(), hostname=LOCAL, port=free_port())
        controller.start()
        self.addCleanup(controller.stop)
        run, port = self.start(server_port=controller.port)
        client = TapSmtp(LOCAL, port, timeout=20)
        own = client.tap.getsockname()[1]
        text = 'Subject: "Quotes"\r\n\r\nand <brackets>\r\n..dot\r\n' + "x" * 70 + "\r\n"
        self.assertEqual(client.sendmail("a@example.org", ["b@example.org"], text), {})
        client.docmd("quit")
        # The server closes; a client that closed as well might be the first.
        self.assertEqual(client.tap.recv(1), b"")
        said = client.tap.said
        client.close()
        self.end(run)
        self.assertEqual(received, [text.encode()])
        self.assertGreaterEqual(len(said), 12)
        story = Story("KEY1", port, own).connect(controller.port)
        for speaker, data in said:
            story.down(data) if speaker == "server" else story.up(data)
        story.add(history.SERVER_LEFT).add(history.CLOSED_CLIENT)
        self.assertTold(history.parse(self.log), story)


class Bulk(Logged):
    def payload(self, size, seed):
        return history.without_literals(random.Random(seed).randbytes(size))

    def check_hops(self, records, down, up):
        self.assertEqual(
            [record.kind for record in records[:3]], [history.ACCEPTED, history.ATTEMPT, history.CONNECTED]
        )
        for record in records:
            if record.kind in history.DATA_KINDS:
                self.assertEqual(record.description, history.TEXTS[record.kind].format(len(record.data)))
        for data, direction in ((down, history.DOWN), (up, history.UP)):
            for kind in (direction.arrived, direction.sent):
                hop = history.data_of(records, kind)
                self.assertEqual((len(hop), veltrane.sha(hop)), (len(data), veltrane.sha(data)), f"kind {kind}")
            direction.check(records)
        self.assertEqual(
            [record.kind for record in records[-2:]], [history.CLIENT_LEFT, history.CLOSED_SERVER]
        )

    def transfer(self, down, up):
        run, port = self.start()
        client = self.connect(port)
        server = self.accept()
        with concurrent.futures.ThreadPoolExecutor(3) as pool:
            jobs = [pool.submit(client.sendall, up), pool.submit(server.sendall, down)]
            there = pool.submit(read, server, len(up))
            self.assertEqual(veltrane.sha(read(client, len(down))), veltrane.sha(down))
            self.assertEqual(veltrane.sha(there.result()), veltrane.sha(up))
            for job in jobs:
                job.result()
        client.close()
        self.assertEqual(server.recv(1), b"")
        self.end(run)
        records = history.parse(self.log)
        self.assertEqual({record.id for record in records}, {"KEY1"})
        self.check_hops(records, down, up)
        return records

    def test_a_download_of_100_mb_is_there_on_every_hop(self):
        self.transfer(self.payload(HUNDRED_MB, 1), b"GET it")

    def test_both_ways_at_once(self):
        self.transfer(self.payload(10_000_000, 2), self.payload(10_000_000, 3))

    def test_a_reader_that_is_slow_has_its_data_buffered(self):
        down = self.payload(30_000_000, 4)
        run, port = self.start()
        client = self.connect(port)
        server = self.accept()
        client.sendall(b"x")
        self.assertEqual(read(server, 1), b"x")
        server.sendall(down)
        self.assertEqual(veltrane.sha(read(client, len(down))), veltrane.sha(down))
        client.close()
        self.assertEqual(server.recv(1), b"")
        self.end(run)
        records = history.parse(self.log)
        self.check_hops(records, down, b"x")
        held = history.data_of(records, history.BUFFERED_TO_CLIENT)
        self.assertGreater(len(held), 1_000_000)


class Files(Logged):
    def test_a_second_run_goes_on_in_the_file_without_a_second_header(self):
        run, port = self.start()
        first = self.talk(port)
        self.end(run)
        run.start(listening=[port])
        second = self.talk(port)
        self.end(run)
        records = history.parse(self.log)
        self.assertEqual(len(records), 2 * TALK_EVENTS)
        # Connections are numbered from 1 in each run.
        self.assertTold(records[:TALK_EVENTS], self.talk_story(port, first, "KEY1"))
        self.assertTold(records[TALK_EVENTS:], self.talk_story(port, second, "KEY1"))

    def test_a_file_that_is_deleted_meanwhile_begins_anew(self):
        run, port = self.start()
        self.talk(port)
        self.wait_for_records(TALK_EVENTS)
        self.log.unlink()
        second = self.talk(port)
        self.end(run)
        self.assertTold(history.parse(self.log), self.talk_story(port, second, "KEY2"))

    def test_with_logging_off_there_is_no_file(self):
        run, port = self.prepare()
        run.store.set("RealTimeLogging", "LoggingOn", 0)
        run.start(listening=[port])
        self.talk(port)
        self.end(run)
        self.assertFalse(self.log.exists())
        self.assertEqual(run.store.get("RealTimeLogging", "LoggingOn"), "0")

    def test_connections_live_on_when_the_file_cannot_be_written(self):
        folder = pathlib.Path(tempfile.mkdtemp(prefix="veltrane-log-"))
        self.addCleanup(shutil.rmtree, folder)
        # A pipe that nobody reads.
        os.mkfifo(folder / "pipe")
        failures = {
            folder: "70, Permission denied",
            folder / "missing" / "log.txt": "76, Path not found",
            folder / "pipe": "6, No such device or address",
            "/dev/full": "61, Disk full",
            "": "76, Path not found",
        }
        for path, failure in failures.items():
            with self.subTest(path=str(path)):
                run, port = self.prepare()
                run.store.set("RealTimeLogging", "LogFile", path)
                run.start(listening=[port])
                before = run.descriptors()
                for _ in range(3):
                    self.talk(port)
                wait_for(lambda: run.descriptors() == before, 10, "all sockets to be closed")
                self.end(run, WRITING + failure)
                self.assertEqual(run.store.get("RealTimeLogging", "LogFile"), str(path))
                self.assertEqual(run.store.get("RealTimeLogging", "LoggingOn"), "1")
        self.assertEqual([entry.name for entry in folder.iterdir()], ["pipe"])


class LimitedSize(Logged):
    def test_a_file_that_may_not_grow_ends_no_program(self):
        run, port = self.start()
        self.talk(port)
        size = self.log.stat().st_size
        limit = 256 * 1024
        resource.prlimit(run.process.pid, resource.RLIMIT_FSIZE, (limit, resource.RLIM_INFINITY))
        client = self.connect(port)
        server = self.accept()
        for _ in range(8):
            client.sendall(b"x" * 100_000)
            self.assertEqual(read(server, 100_000), b"x" * 100_000)
        client.close()
        server.close()
        self.assertLessEqual(self.log.stat().st_size, limit)
        self.assertGreater(self.log.stat().st_size, size)
        history.parse(self.log)  # no half line
        resource.prlimit(run.process.pid, resource.RLIMIT_FSIZE, (resource.RLIM_INFINITY, resource.RLIM_INFINITY))
        self.end(run, WRITING + "27, File too large")


class OnAScreen(Logged):
    """Works the window of the log file by hand."""

    FAILURE = "An error occurred while attempting to write the log file.  The operating system reports: "

    def setUp(self):
        super().setUp()
        if not (veltrane.which("Xvfb") and veltrane.which("xdotool") and veltrane.which("openbox")):
            self.skipTest("Xvfb, xdotool or openbox is not installed")
        self.screen = veltrane.Screen()
        self.addCleanup(self.screen.close)
        self.addCleanup(os.environ.pop, "DISPLAY", None)
        os.environ["DISPLAY"] = self.screen.display

    def open_window(self, log=None):
        """Starts the program and opens the window from the menu of the main one."""
        run, port = self.prepare(log=log)
        run.platform = "xcb"
        run.start(listening=[port])
        self.activate("^Veltrane$")
        self.keys("alt+t", "r")
        self.activate("^Real Time Logging$")
        return run, port

    def activate(self, title):
        found = wait_for(lambda: veltrane.windows(self.screen.display, title), 15, f"a window {title!r}")
        self.screen.tool("windowactivate", "--sync", found[0])
        time.sleep(0.3)

    def keys(self, *names):
        for name in names:
            self.screen.tool("key", name)
            time.sleep(0.15)

    def type_path(self, path):
        """From the check box, which has the focus at first, into the field; and back."""
        self.keys("Tab", "ctrl+a")
        self.screen.tool("type", "--delay", "20", str(path))
        time.sleep(0.3)
        self.keys("shift+Tab")

    def test_another_file_takes_over_from_the_next_event_on(self):
        run, port = self.open_window()
        first = self.talk(port)
        self.wait_for_records(TALK_EVENTS)
        other = run.home / "other.txt"
        self.type_path(other)
        self.assertFalse(other.exists(), "before there is an event")
        second = self.talk(port)
        records = self.wait_for_records(TALK_EVENTS, other)
        self.assertTold(history.parse(self.log), self.talk_story(port, first, "KEY1"))
        self.assertTold(records, self.talk_story(port, second, "KEY2"))
        self.end(run)
        self.assertEqual(run.store.get("RealTimeLogging", "LogFile"), str(other))

    def test_logging_is_switched_off_and_on_by_hand(self):
        run, port = self.open_window()
        self.talk(port)
        self.wait_for_records(TALK_EVENTS)
        self.keys("space")
        self.talk(port)
        self.keys("space")
        third = self.talk(port)
        self.end(run)
        records = history.parse(self.log)
        self.assertEqual(len(records), 2 * TALK_EVENTS)
        self.assertTold(records[TALK_EVENTS:], self.talk_story(port, third, "KEY3"))

    def test_the_file_is_deleted_by_hand_and_begins_anew(self):
        run, port = self.open_window()
        self.talk(port)
        self.wait_for_records(TALK_EVENTS)
        self.keys("Tab", "Tab", "Tab", "Tab", "space")
        wait_for(lambda: len(veltrane.windows(self.screen.display, "^Veltrane$")) == 2, 10, "the question")
        self.assertTrue(self.log.exists(), "before the answer")
        self.keys("alt+y")
        wait_for(lambda: not self.log.exists(), 10, "the file to go")
        second = self.talk(port)
        self.end(run)
        self.assertTold(history.parse(self.log), self.talk_story(port, second, "KEY2"))

    def test_each_event_that_cannot_be_written_is_reported_once_and_another_file_helps(self):
        run, port = self.open_window(log="/dev/full")
        self.talk(port)
        self.activate("^Error$")
        self.keys("ctrl+a", "ctrl+c")
        self.activate("^Real Time Logging$")
        self.type_path(run.home / "log.txt")
        second = self.talk(port)
        records = self.wait_for_records(TALK_EVENTS, run.home / "log.txt")
        self.assertTold(records, self.talk_story(port, second, "KEY2"))
        # The reports, by way of a field that is saved.
        self.keys("Tab", "ctrl+a", "ctrl+v")
        self.end(run, WRITING + "61, Disk full")
        reports = run.store.get("RealTimeLogging", "LogFile")
        self.assertEqual(reports.count(self.FAILURE), TALK_EVENTS, reports)


if __name__ == "__main__":
    veltrane.main()

"""Failures on a schedule, between real clients and servers: refusals, terminations, throttling, dangling.

How late something happens is measured in bench/failures.py; here nothing may happen too early, and what has
to happen is waited for, in the log file if it cannot be seen from outside: the machine may be busy. What was
recorded of each connection is compared with what it went through.
"""

import concurrent.futures
import http.server
import os
import select
import socket
import subprocess
import threading
import time
import unittest

import history
import veltrane
from history import Story
from veltrane import Veltrane, free_port, wait_for

CONTENT = b"here it is\n" * 50


class WebServer(http.server.ThreadingHTTPServer):
    """Answers every request with the same text."""

    def __init__(self):
        class Answer(http.server.BaseHTTPRequestHandler):
            def do_GET(self):
                self.send_response(200)
                self.send_header("Content-Length", str(len(CONTENT)))
                self.end_headers()
                self.wfile.write(CONTENT)

            def log_message(self, *_):
                pass

        super().__init__(("127.0.0.1", 0), Answer)
        threading.Thread(target=self.serve_forever, daemon=True).start()

    def close(self):
        self.shutdown()
        self.server_close()


class Connection:
    """Both ends of one connection through the program."""

    def __init__(self, port, server):
        self.started = time.monotonic()
        self.client = socket.create_connection(("127.0.0.1", port))
        self.server, _ = server.accept()
        self.client_port = self.client.getsockname()[1]
        for end in (self.client, self.server):
            end.settimeout(20)

    def age(self):
        return time.monotonic() - self.started

    def wait_until(self, age):
        time.sleep(max(0.0, age - self.age()))

    def ends(self, to_server):
        """The sending and the receiving end of a direction."""
        return (self.client, self.server) if to_server else (self.server, self.client)

    def leave(self):
        """The client leaves; the server follows once it has heard of it."""
        self.client.close()
        if read(self.server, 1) != b"":
            raise AssertionError("the server got something else than the end")
        self.server.close()

    def close(self):
        self.client.close()
        self.server.close()


def is_quiet(end):
    """Whether nothing has arrived, no end of the stream either."""
    return not select.select([end], [], [], 0)[0]


def read(end, count):
    """That many bytes, or fewer when the stream ends."""
    data = b""
    while len(data) < count:
        try:
            piece = end.recv(count - len(data))
        except ConnectionResetError:
            break
        if not piece:
            break
        data += piece
    return data


def saw_end(end):
    return read(end, 1) == b""


class Scheduled(unittest.TestCase):
    def setUp(self):
        self.server = socket.create_server(("127.0.0.1", 0), backlog=512)
        self.server.settimeout(20)
        self.addCleanup(self.server.close)

    def prepare(self, schedule, server_port=None):
        """The program, not yet started, with a schedule in its store, and its port. It logs."""
        run = Veltrane()
        self.addCleanup(run.__exit__)
        run.log = run.home / "log.txt"
        run.store.set("RealTimeLogging", "LoggingOn", 1)
        run.store.set("RealTimeLogging", "LogFile", run.log)
        for key, value in schedule.items():
            run.store.set("FailureSim", key, value)
        port = free_port()
        run.store.add_port(port, server="127.0.0.1", server_port=server_port or self.server.getsockname()[1])
        return run, port

    def start(self, schedule, server_port=None):
        run, port = self.prepare(schedule, server_port)
        run.start(listening=[port])
        return run, port

    def connect(self, port, server=None):
        connection = Connection(port, server or self.server)
        self.addCleanup(connection.close)
        return connection

    def wait_for_kind(self, run, kind, count=1):
        """Waits until so many events of a kind were recorded."""

        def found():
            return sum(record.kind == kind for record in history.parse_so_far(run.log)) >= count

        wait_for(found, 20, f"{count} events of kind {kind}")

    def end(self, run, *stories, reports=()):
        """Ends the program; gives what it recorded. Each story is that of one connection."""
        veltrane.expect_end(self, run, *reports)
        records = history.parse(run.log)
        self.maxDiff = 20_000
        for story in stories:
            key = story.fixed["id"]
            self.assertEqual(history.joined(history.of(records, key)), story.records, key)
        return records

    def story(self, port, connection, number=1, comment=" ", server=None):
        """The beginning of a connection's story, up to when it stands."""
        story = Story(f"KEY{number}", port, connection.client_port)
        return story.connect((server or self.server).getsockname()[1], comment)

    def check_held(self, records, started, stopped, sent, most_early=1):
        """Between the two events of a dangle lies its time, and no send that way."""
        kinds = [record.kind for record in records]
        first, last = kinds.index(started), kinds.index(stopped)
        self.assertNotIn(sent, kinds[first:last])
        due = int(records[first].description.split()[-2])
        self.assertGreaterEqual(history.between(records[first], records[last]), due - most_early)


class Refusal(Scheduled):
    def test_of_20_requests_exactly_every_5th_fails(self):
        if not veltrane.which("curl"):
            self.skipTest("curl is not installed")
        web = WebServer()
        self.addCleanup(web.close)
        run, port = self.start({"chkRefuseConnections": 1, "txtRefuseNthConnection": 5}, web.server_address[1])
        failed = []
        for number in range(1, 21):
            done = subprocess.run(
                ["curl", "-sS", "--noproxy", "*", f"http://127.0.0.1:{port}/"], capture_output=True, check=False
            )
            if done.returncode == 0:
                self.assertEqual(done.stdout, CONTENT)
            else:
                failed.append(number)
        self.assertEqual(failed, [5, 10, 15, 20])
        # Nothing was accepted, so nobody can say who asked.
        refused = [Story(f"KEY{number}", port, 0, client_ip="").add(history.REJECTED) for number in failed]
        records = self.end(run, *refused)
        for number in set(range(1, 21)) - set(failed):
            own = history.of(records, f"KEY{number}")
            self.assertEqual(
                [record.kind for record in own[:3]], [history.ACCEPTED, history.ATTEMPT, history.CONNECTED]
            )
            self.assertIn(CONTENT, history.data_of(own, history.TO_CLIENT))
        self.assertEqual({record.id for record in records}, {f"KEY{number}" for number in range(1, 21)})


class Termination(Scheduled):
    def terminate_every_2nd(self, schedule, ending):
        run, port = self.start(
            {"chkTerminateConnections": 1, "txtTerminateNthConnection": 2, "txtTerminateTime": 1000, **schedule}
        )
        stories = []
        for number in range(1, 7):
            connection = self.connect(port)
            story = self.story(port, connection, number).up(b"question")
            connection.client.sendall(b"question")
            self.assertEqual(read(connection.server, 8), b"question")
            if number % 2 == 0:
                self.assertTrue(saw_end(connection.client))
                self.assertGreaterEqual(connection.age(), 1.0)
                self.assertTrue(saw_end(connection.server))
                ending(story)
            else:
                connection.wait_until(1.3)
                connection.server.sendall(b"answer")
                self.assertEqual(read(connection.client, 6), b"answer")
                connection.leave()
                story.down(b"answer").add(history.CLIENT_LEFT).add(history.CLOSED_SERVER)
            stories.append(story)
        self.end(run, *stories)

    def test_every_2nd_ends_in_good_order_after_a_second_and_not_before(self):
        def ending(story):
            story.add(history.SERVER_LEFT, "Connection terminated as per schedule.").add(history.CLOSED_CLIENT)

        self.terminate_every_2nd({}, ending)

    def test_every_2nd_ends_by_force_after_a_second_and_not_before(self):
        def ending(story):
            story.add(history.SERVER_SIDE_BAD, "0, Socket connection scheduled for termination by VLT.")
            story.add(history.CLOSED_SERVER).add(history.CLOSED_CLIENT)

        self.terminate_every_2nd(
            {"optGracefulTermination_0": "False", "optGracefulTermination_1": "True"}, ending
        )


def throttle(direction, size=8000, period=100):
    return {
        f"chkThrottle{direction}Data": 1,
        f"txt{direction}Bytes": size,
        f"txt{direction}Period": period,
    }


class Throttling(Scheduled):
    def transfer(self, connection, to_server, data, throttled):
        """Sends data one way; gives how long it took until all was there."""
        sender, receiver = connection.ends(to_server)
        feeder = threading.Thread(target=sender.sendall, args=(data,))
        start = time.monotonic()
        feeder.start()
        got = read(receiver, len(data))
        seconds = time.monotonic() - start
        feeder.join()
        self.assertEqual(veltrane.sha(got), veltrane.sha(data))
        if throttled:
            # The first piece goes at once.
            self.assertGreaterEqual(seconds, (len(data) // 8000 - 1) * 0.1)

    def check_log(self, records, direction, data, most):
        """All of the data on its way through the events of one throttled direction."""
        direction.check(records, most)
        self.assertEqual(history.data_of(records, direction.arrived), data)
        self.assertEqual(history.data_of(records, direction.throttled), data)
        self.assertEqual(history.data_of(records, direction.sent), b"", "all sends are throttled")
        for record in records:
            if record.kind == direction.throttled:
                text = history.TEXTS[record.kind].format(len(record.data))
                self.assertEqual(record.description, text)

    def payload(self, size):
        return history.without_literals(os.urandom(size))

    def test_one_direction_is_held_to_its_rate_and_arrives_unchanged(self):
        run, port = self.start(throttle("S2C"))
        connection = self.connect(port)
        down, up = self.payload(80_000), self.payload(800_000)
        self.transfer(connection, False, down, throttled=True)
        self.transfer(connection, True, up, throttled=False)
        records = self.end(run)
        self.check_log(records, history.DOWN, down, 8000)
        history.UP.check(records)
        self.assertEqual(history.data_of(records, history.TO_SERVER), up, "no send is throttled")

    def test_both_directions_at_once(self):
        run, port = self.start({**throttle("S2C"), **throttle("C2S")})
        connection = self.connect(port)
        with concurrent.futures.ThreadPoolExecutor(2) as pool:
            down, up = self.payload(80_000), self.payload(80_000)
            ways = [
                pool.submit(self.transfer, connection, False, down, True),
                pool.submit(self.transfer, connection, True, up, True),
            ]
            for way in ways:
                way.result()
        records = self.end(run)
        self.check_log(records, history.DOWN, down, 8000)
        self.check_log(records, history.UP, up, 8000)

    def test_random_sizes_and_waits_arrive_unchanged(self):
        run, port = self.start(
            {
                "chkThrottleS2CData": 1,
                "optS2CThrottle_0": "False",
                "optS2CThrottle_1": "True",
                "txtS2CBytesFrom": 5000,
                "txtS2CBytesTo": 1,
                "txtS2CPeriodFrom": 1,
                "txtS2CPeriodTo": 5,
            }
        )
        data = self.payload(300_000)
        self.transfer(self.connect(port), False, data, throttled=False)
        self.check_log(self.end(run), history.DOWN, data, 5000)

    def test_the_rest_of_a_sender_that_leaves_still_arrives(self):
        run, port = self.start(throttle("S2C"))
        connection = self.connect(port)
        data = self.payload(40_000)
        connection.server.sendall(data)
        connection.server.close()
        self.assertEqual(read(connection.client, len(data) + 1), data)
        records = self.end(run)
        self.check_log(records, history.DOWN, data, 8000)
        rest = [record for record in history.timeless(records) if record.kind not in history.DOWN.kinds]
        story = self.story(port, connection).add(history.SERVER_LEFT).add(history.CLOSED_CLIENT)
        self.assertEqual(rest, story.records)
        self.assertEqual(records[-1].kind, history.CLOSED_CLIENT, "behind the last of the data")


class Dangling(Scheduled):
    CLOSE, SEND, DISCARD = range(3)

    def dangle(self, to_server, ending):
        """A connection that is dangled one way, from 500 ms on, for 2 s."""
        direction = 0 if to_server else 1
        server = socket.create_server(("127.0.0.1", 0))
        server.settimeout(20)
        run, port = self.prepare(
            {
                "chkDangleConnections": 1,
                "txtDangleNthConnection": 1,
                "txtDangleStartTime": 500,
                "txtDangleStopTime": 2000,
                **{f"optDangleDirections_{i}": str(i == direction) for i in range(3)},
                **{f"optDangleClose_{i}": str(i == ending) for i in range(3)},
            },
            server.getsockname()[1],
        )
        run.start(listening=[port])
        connection = self.connect(port, server)
        sender, receiver = connection.ends(to_server)
        sender.sendall(b"before ")
        self.assertEqual(read(receiver, 7), b"before ")
        started = history.SERVER_DANGLE if to_server else history.CLIENT_DANGLE
        self.wait_for_kind(run, started)
        self.assertGreaterEqual(connection.age(), 0.5)
        for held in (b"held ", b"back "):
            sender.sendall(held)
        receiver.sendall(b"free")
        self.assertEqual(read(sender, 4), b"free", "the other direction goes on")
        connection.wait_until(2.4)
        quiet = is_quiet(receiver)
        if connection.age() < 2.5:
            self.assertTrue(quiet)
        self.after(run, connection, to_server, ending)
        self.assertGreaterEqual(connection.age(), 2.5)
        if ending != self.CLOSE:
            connection.leave()
        records = self.end(run)
        self.compare(records, self.story(port, connection, comment=self.COMMENT, server=server), to_server, ending)
        server.close()

    COMMENT = " Connection to be dangled in 500 mSecs and it will dangled for 2000 mSecs"

    def after(self, run, connection, to_server, ending):
        sender, receiver = connection.ends(to_server)
        if ending == self.SEND:
            self.assertEqual(read(receiver, 10), b"held back ")
        elif ending == self.CLOSE:
            self.assertTrue(saw_end(receiver), "what was held is lost")
            self.assertTrue(saw_end(sender))
        else:
            self.wait_for_kind(run, history.SERVER_DANGLE_OVER if to_server else history.CLIENT_DANGLE_OVER)
            sender.sendall(b"later")
            self.assertEqual(read(receiver, 5), b"later")

    def compare(self, records, story, to_server, ending):
        """The log of the dangled direction with its story; the other's one exchange lies within the dangle."""
        if to_server:
            arrived, held, sent = history.FROM_CLIENT, history.HELD_TO_SERVER, history.TO_SERVER
            started, stopped = history.SERVER_DANGLE, history.SERVER_DANGLE_OVER
            other = Story.down
        else:
            arrived, held, sent = history.FROM_SERVER, history.HELD_TO_CLIENT, history.TO_CLIENT
            started, stopped = history.CLIENT_DANGLE, history.CLIENT_DANGLE_OVER
            other = Story.up
        story.add(arrived, data=b"before ").add(sent, data=b"before ").add(started, 2000)
        story.add(arrived, data=b"held back ").add(held, data=b"held back ").add(stopped)
        if ending == self.CLOSE:
            story.add(history.SERVER_LEFT, "Connection terminated as per dangling schedule.")
            story.add(history.CLOSED_CLIENT)
        else:
            if ending == self.SEND:
                story.add(sent, data=b"held back ")
            else:
                story.add(arrived, data=b"later").add(sent, data=b"later")
            story.add(history.CLIENT_LEFT).add(history.CLOSED_SERVER)
        free = [record for record in records if record.data == b"free"]
        own = [record for record in records if record.data != b"free"]
        self.assertEqual(history.joined(own), story.records)
        self.assertEqual(history.timeless(free), other(self.free_story(story), b"free").records)
        kinds = [record.kind for record in records]
        for record in free:
            self.assertTrue(kinds.index(started) < records.index(record) < kinds.index(stopped))
        self.check_held(records, started, stopped, sent)

    def free_story(self, story):
        """An empty one of the same connection, at the point where it stands."""
        free = Story("", 0, 0)
        free.fixed = dict(story.fixed)
        return free

    def test_each_direction_with_each_ending(self):
        # Three programs at a time: most of a run is waiting.
        with concurrent.futures.ThreadPoolExecutor(3) as pool:
            cases = {
                (to_server, ending): pool.submit(self.dangle, to_server, ending)
                for ending in (self.CLOSE, self.SEND, self.DISCARD)
                for to_server in (True, False)
            }
        for (to_server, ending), case in cases.items():
            with self.subTest(to_server=to_server, ending=ending):
                case.result()


class Settings(Scheduled):
    def test_the_settings_are_saved_at_the_end_and_unusable_ones_replaced(self):
        run, port = self.start(
            {"chkTerminateConnections": "rather not", "optClose_0": "", "txtTerminateTime": "777"}
        )
        connection = self.connect(port)
        connection.client.sendall(b"hello")
        self.assertEqual(read(connection.server, 5), b"hello")
        loading = "An error occurred while attempting to load the failure setting "
        self.end(run, reports=[loading + "chkTerminateConnections.", loading + "optClose_0."])
        saved = dict(run.store.section("FailureSim"))
        self.assertEqual(len(saved), 56)
        self.assertEqual(saved["chkTerminateConnections"], "0")
        self.assertEqual(saved["optClose_0"], "True")
        self.assertEqual(saved["txtTerminateTime"], "777")


class OnAScreen(Scheduled):
    """Works the window's controls on a virtual display. The tabs have the focus when it opens."""

    COUNT = 200

    def setUp(self):
        super().setUp()
        if not (veltrane.which("Xvfb") and veltrane.which("xdotool") and veltrane.which("openbox")):
            self.skipTest("Xvfb, xdotool or openbox is not installed")
        self.screen = veltrane.Screen()
        self.addCleanup(self.screen.close)
        self.addCleanup(os.environ.pop, "DISPLAY", None)
        os.environ["DISPLAY"] = self.screen.display

    def open_window(self, schedule):
        """Starts the program and opens the failure window from the menu of the main one."""
        run, port = self.prepare(schedule)
        run.platform = "xcb"
        run.start(listening=[port])
        main = self.wait_for_window("^Veltrane$")
        self.screen.tool("windowactivate", "--sync", main)
        self.keys("alt+t", "f")
        self.window = self.wait_for_window("^Connection Failure Simulation Strategies$")
        self.screen.tool("windowactivate", "--sync", self.window)
        return run, port

    def wait_for_window(self, title):
        return wait_for(lambda: veltrane.windows(self.screen.display, title), 15, f"a window {title!r}")[0]

    def keys(self, *names):
        for name in names:
            self.screen.tool("key", name)
            time.sleep(0.15)

    def connect_all(self, port):
        return [self.connect(port) for _ in range(self.COUNT)]

    def test_terminate_all_ends_200_connections(self):
        run, port = self.open_window({})
        before = run.descriptors()
        connections = self.connect_all(port)
        # From the tabs backwards: Close, and the button of the first tab.
        self.keys("shift+Tab", "shift+Tab")
        self.assertTrue(all(is_quiet(connection.client) for connection in connections))
        self.keys("space")
        for connection in connections:
            self.assertTrue(saw_end(connection.client))
            self.assertTrue(saw_end(connection.server))
        wait_for(lambda: run.descriptors() == before, 10, "all sockets to be closed")
        stories = [
            self.story(port, connection, number)
            .add(history.SERVER_LEFT, "Connection terminated as per schedule.")
            .add(history.CLOSED_CLIENT)
            for number, connection in enumerate(connections, 1)
        ]
        self.end(run, *stories)

    def test_dangle_all_holds_200_connections_for_their_time(self):
        run, port = self.open_window({"txtDangleStopTime": 3000})
        connections = self.connect_all(port)
        self.keys("Right", "Right", "shift+Tab", "shift+Tab")
        start = time.monotonic()
        self.keys("space")
        # Of each connection the side of the server comes last.
        self.wait_for_kind(run, history.SERVER_DANGLE, self.COUNT)
        for connection in connections:
            connection.client.sendall(b"question")
            connection.server.sendall(b"answer")
        time.sleep(max(0.0, start + 2.9 - time.monotonic()))
        quiet = all(is_quiet(end) for connection in connections for end in connection.ends(True))
        if time.monotonic() < start + 3.0:
            self.assertTrue(quiet)
        for connection in connections:
            self.assertEqual(read(connection.server, 8), b"question")
            self.assertEqual(read(connection.client, 6), b"answer")
        self.assertGreaterEqual(time.monotonic() - start, 3.0)
        records = self.end(run)
        for number, connection in enumerate(connections, 1):
            own = history.of(records, f"KEY{number}")
            self.compare_dangled(own, self.story(port, connection, number))

    def compare_dangled(self, records, story):
        """The two messages come at the same time, so each is compared on its own."""
        story.add(history.CLIENT_DANGLE, 3000).add(history.SERVER_DANGLE, 3000)
        story.add(history.FROM_CLIENT, data=b"question").add(history.HELD_TO_SERVER, data=b"question")
        story.add(history.FROM_SERVER, data=b"answer").add(history.HELD_TO_CLIENT, data=b"answer")
        story.add(history.CLIENT_DANGLE_OVER).add(history.SERVER_DANGLE_OVER)
        story.add(history.TO_SERVER, data=b"question").add(history.TO_CLIENT, data=b"answer")
        for message in (b"question", b"answer"):
            self.assertEqual(
                [record for record in history.timeless(records) if record.data in (b"", message)],
                [record for record in story.records if record.data in (b"", message)],
            )
        self.assertEqual(len(records), len(story.records))
        self.check_held(records, history.CLIENT_DANGLE, history.CLIENT_DANGLE_OVER, history.TO_CLIENT)
        self.check_held(records, history.SERVER_DANGLE, history.SERVER_DANGLE_OVER, history.TO_SERVER)

    def test_throttling_is_switched_on_and_off_during_a_transfer(self):
        run, port = self.open_window({**throttle("S2C"), "chkThrottleS2CData": 0})
        connection = self.connect(port)
        sender, receiver = connection.ends(to_server=False)
        sender.sendall(b"x" * 100_000)
        self.assertEqual(read(receiver, 100_000), b"x" * 100_000)
        # The first control of the second tab.
        self.keys("Right", "Tab", "space")
        self.probe_until(run, sender, receiver, history.TO_CLIENT_THROTTLED)
        # Half a minute's worth at this rate.
        data = os.urandom(2_400_000)
        start = time.monotonic()
        feeder = threading.Thread(target=sender.sendall, args=(data,))
        feeder.start()
        first = read(receiver, 80_000)
        self.assertGreaterEqual(time.monotonic() - start, 0.9)
        self.keys("space")
        rest = read(receiver, len(data) - len(first))
        feeder.join()
        self.assertEqual(veltrane.sha(first + rest), veltrane.sha(data))
        self.assertLess(time.monotonic() - start, 25)
        records = self.end(run)
        sent = [record.kind for record in records if record.kind in history.DOWN.kinds]
        # Unthrottled, throttled, unthrottled.
        first = sent.index(history.TO_CLIENT_THROTTLED)
        self.assertIn(history.TO_CLIENT, sent[:first])
        self.assertIn(history.TO_CLIENT, sent[first:])
        self.assertNotIn(history.TO_CLIENT_THROTTLED, sent[first + sent[first:].index(history.TO_CLIENT) :])
        self.assertEqual(run.store.get("FailureSim", "chkThrottleS2CData"), "0")

    def probe_until(self, run, sender, receiver, kind):
        """One byte after the other, until one is sent as that kind of event."""

        def probe():
            sender.sendall(b"?")
            self.assertEqual(read(receiver, 1), b"?")
            return any(record.kind == kind for record in history.parse_so_far(run.log))

        wait_for(probe, 20, f"an event of kind {kind}")

    def test_a_wrong_value_is_said_once_and_the_focus_goes_back(self):
        # Two wrong fields side by side: the return to the one must not count as leaving the other.
        run, _ = self.open_window({"txtS2CBytes": "", "txtS2CPeriod": ""})
        # Second tab, check box, option, field; then out of the field, into its neighbour.
        self.keys("Right", "Tab", "Tab", "Tab", "Tab")
        wait_for(lambda: len(veltrane.windows(self.screen.display, "^Veltrane$")) == 2, 10, "the box")
        self.keys("Return")
        wait_for(lambda: len(veltrane.windows(self.screen.display, "^Veltrane$")) == 1, 10, "the box to go")
        time.sleep(0.5)
        self.assertEqual(len(veltrane.windows(self.screen.display, "^Veltrane$")), 1)
        self.keys("3")
        self.assertEqual(run.stop(), (0, ""))
        self.assertEqual(run.store.get("FailureSim", "txtS2CBytes"), "3")
        self.assertEqual(run.store.get("FailureSim", "txtS2CPeriod"), "")

    def test_what_is_typed_holds_for_the_next_connection(self):
        run, port = self.open_window({"txtTerminateNthConnection": "", "txtTerminateTime": 300})
        self.keys("Tab", "space", "Tab", "Tab", "1")
        # Nothing outside tells that the keys have arrived.
        time.sleep(1)
        connection = self.connect(port)
        self.assertTrue(saw_end(connection.client))
        self.assertGreaterEqual(connection.age(), 0.3)
        story = self.story(port, connection).add(history.SERVER_LEFT, "Connection terminated as per schedule.")
        self.end(run, story.add(history.CLOSED_CLIENT))
        self.assertEqual(run.store.get("FailureSim", "chkTerminateConnections"), "1")


if __name__ == "__main__":
    veltrane.main()

"""The demo: within a minute its log has events of each kind, and nothing is left of it when it ends."""

import fcntl
import os
import pathlib
import pty
import re
import signal
import subprocess
import sys
import tempfile
import termios
import unittest

import history
import veltrane
from veltrane import listens, retry, wait_for

ROOT = pathlib.Path(__file__).resolve().parents[2]
MINUTE = 60
# What a newcomer is to see: traffic, and all that the schedule of failures does to it.
KINDS = {
    history.ACCEPTED, history.REJECTED, history.ATTEMPT, history.CONNECTED, history.SERVER_LEFT, history.CLOSED_CLIENT,
    history.FROM_CLIENT, history.TO_SERVER, history.FROM_SERVER, history.TO_CLIENT_THROTTLED, history.HELD_TO_CLIENT,
    history.SERVER_DANGLE, history.SERVER_DANGLE_OVER, history.CLIENT_DANGLE, history.CLIENT_DANGLE_OVER,
    # The archive, where nobody answers.
    history.SERVER_SIDE_BAD,
}  # fmt: skip
# The event of an ended connection is that of a server that leaves; its words tell them apart.
ENDED = "Connection terminated as per schedule."
PROTOCOLS = {"HTTP", "POP3", "FTP", "Pass Through"}


def of_session(session):
    """The processes of a session, by number."""
    found = []
    for stat in pathlib.Path("/proc").glob("[0-9]*/stat"):
        try:
            # Behind the name, which may hold anything: state, parent, group, session.
            fields = stat.read_text().rpartition(")")[2].split()
        except (FileNotFoundError, ProcessLookupError):
            continue
        if int(fields[3]) == session and fields[0] != "Z":
            found.append(int(stat.parent.name))
    return found


class Demo(unittest.TestCase):
    def setUp(self):
        if not all(veltrane.which(name) for name in ("Xvfb", "xdotool", "openbox")):
            self.skipTest("Xvfb, xdotool or openbox is not installed")
        self.folder = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory(prefix="veltrane-demo-test-")))
        self.screen = veltrane.Screen()
        self.addCleanup(self.screen.close)

    def start(self, *command, display=True, terminal=None):
        """On the terminal, a pair of descriptors, as its first process; otherwise with its output in a pipe."""
        environment = self.screen.environment | veltrane.LEAKS | {"TMPDIR": str(self.folder), "HOME": str(self.folder)}
        if not display:
            environment = {key: value for key, value in environment.items() if key not in ("DISPLAY", "WAYLAND_DISPLAY")}
        streams = {"stdout": subprocess.PIPE, "stderr": subprocess.STDOUT}
        if terminal:
            streams = dict.fromkeys(("stdin", "stdout", "stderr"), terminal[1])
            streams["preexec_fn"] = lambda: fcntl.ioctl(terminal[1], termios.TIOCSCTTY, 0)
        self.demo = subprocess.Popen(command, cwd=ROOT, env=environment, text=True, start_new_session=True, **streams)
        self.addCleanup(self.kill)
        lines = terminal[0] if terminal else self.demo.stdout
        self.told = []
        while not (line := lines.readline()).startswith("Try: curl"):
            self.assertNotEqual(line, "", "".join(self.told))
            self.told.append(line)
        self.assertRegex(line, r"^Try: curl -x http://127\.0\.0\.1:\d+ http://127\.0\.0\.2:\d+/news$")
        self.ports = [int(found[1]) for told in self.told if (found := re.match(r" +(\d+)  ", told))]
        self.assertEqual(len(self.ports), 5)
        (log,) = [line.split(": ")[1].strip() for line in self.told if line.startswith("Log file: ")]
        self.log = pathlib.Path(log)
        self.example = line.removeprefix("Try: ").split()

    def kill(self):
        """What a failed test has left: told to end first, so that ./run takes its display down."""
        if self.demo.poll() is None:
            self.demo.terminate()
            try:
                self.demo.communicate(timeout=20)
                return
            except subprocess.TimeoutExpired:
                os.killpg(self.demo.pid, signal.SIGKILL)
        self.demo.communicate()

    def records(self):
        return history.parse_so_far(self.log) if self.log.exists() else []

    def missing(self):
        records = self.records()
        ended = any(record.description.endswith(ENDED) for record in records)
        return KINDS - {record.kind for record in records} | (set() if ended else {ENDED})

    def expect_alive(self):
        try:
            wait_for(lambda: not self.missing(), MINUTE, "events of each kind")
        except AssertionError:
            self.assertEqual(self.missing(), set())
        self.assertLessEqual(PROTOCOLS, {record.protocol for record in self.records()})

    def expect_nothing_left(self):
        output = self.demo.communicate(timeout=20)[0] or ""
        self.assertEqual(of_session(self.demo.pid), [])
        self.assertEqual([port for port in self.ports if listens(port)], [])
        self.assertEqual([path.name for path in self.folder.glob("veltrane-demo-*")], [])
        self.assertNotIn("Traceback", output)
        return output

    def test_it_shows_each_kind_of_event_and_ends_with_its_window(self):
        self.start(sys.executable, "demo/demo.py", veltrane.program())
        self.expect_alive()
        got = subprocess.run(
            [*self.example, "-sS", "--noproxy", "", "--retry", "3", "--retry-all-errors"], capture_output=True, timeout=60, check=False
        )
        self.assertIn(b"News of today", got.stdout, got.stderr)
        # A key that comes while another window has the keyboard is lost.
        retry(
            lambda: self.screen.activate(self.screen.windows("^Veltrane$")[0]) or self.screen.key("alt+F4"),
            lambda: not self.screen.windows("^Veltrane$"),
            "the window to close",
        )
        self.expect_nothing_left()
        self.assertEqual(self.demo.returncode, 0)

    def run_script(self, **where):
        """By the user's command, which starts the program of one build."""
        if pathlib.Path(veltrane.program()).resolve() != ROOT / "build/release/bin/Veltrane":
            self.skipTest("the program is not the one that ./run starts")
        self.start("./run", "--demo", **where)
        wait_for(lambda: len(self.records()) > 20, MINUTE, "traffic")

    def virtual_display(self):
        number = re.search(r"virtual one \(Xvfb, :(\d+)\)", "".join(self.told))[1]
        return pathlib.Path(f"/tmp/.X11-unix/X{number}")

    def test_Ctrl_C_ends_it(self):
        self.run_script()
        # As the terminal does, to all of them.
        os.killpg(self.demo.pid, signal.SIGINT)
        self.expect_nothing_left()

    def test_without_a_display_it_gets_one_and_takes_it_down_last(self):
        self.run_script(display=False)
        display = self.virtual_display()
        self.assertTrue(display.exists())
        # Out of reach of Ctrl-C, or it could go before the program has ended well.
        names = [pathlib.Path(f"/proc/{pid}/comm").read_text().strip() for pid in of_session(self.demo.pid)]
        self.assertIn("Veltrane", names)
        self.assertNotIn("Xvfb", names)
        os.killpg(self.demo.pid, signal.SIGINT)
        output = self.expect_nothing_left()
        self.assertNotIn("X11 connection broke", output)
        wait_for(lambda: not display.exists(), 10, "the display to go")

    def test_Ctrl_C_at_once_ends_it_too(self):
        self.start(sys.executable, "demo/demo.py", veltrane.program())
        os.killpg(self.demo.pid, signal.SIGINT)
        self.expect_nothing_left()

    def test_a_closed_terminal_ends_it(self):
        outer, inner = pty.openpty()
        self.addCleanup(os.close, inner)
        with open(outer, encoding="utf-8") as terminal:
            self.start(sys.executable, "demo/demo.py", veltrane.program(), terminal=(terminal, inner))
            wait_for(lambda: len(self.records()) > 20, MINUTE, "traffic")
        # The system tells all of them, and nothing can be written from here on.
        self.expect_nothing_left()
        self.assertEqual(self.demo.returncode, 0)

    def test_a_closed_terminal_ends_the_script(self):
        outer, inner = pty.openpty()
        self.addCleanup(os.close, inner)
        with open(outer, encoding="utf-8") as terminal:
            self.run_script(display=False, terminal=(terminal, inner))
        display = self.virtual_display()
        self.expect_nothing_left()
        wait_for(lambda: not display.exists(), 10, "the display to go")

    def test_the_end_of_its_session_ends_it(self):
        self.start(sys.executable, "demo/demo.py", veltrane.program())
        wait_for(lambda: len(self.records()) > 20, MINUTE, "traffic")
        self.demo.terminate()
        self.expect_nothing_left()


if __name__ == "__main__":
    veltrane.main()

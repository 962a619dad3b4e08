"""Starts the built program on a private store and takes it down again; helpers for the tests beside it."""

import contextlib
import hashlib
import itertools
import os
import pathlib
import random
import re
import shutil
import signal
import socket
import sqlite3
import subprocess
import sys
import tempfile
import time
import unittest

import conversations
import history

START_PAUSE = 2.0  # how long the splash picture stands; connections wait meanwhile


# What the graphics libraries keep to the end is not ours to free.
LEAKS = {"LSAN_OPTIONS": f"suppressions={pathlib.Path(__file__).with_name('leaks.supp')}:print_suppressions=0"}


def program():
    """The program under test: the last argument of the command line, or VELTRANE."""
    return os.environ["VELTRANE"]


# Test files that run side by side get ranges of their own ("first-last"), below what the system gives to
# clients, so that nobody takes a port before the test does.
_first, _last = map(int, os.environ.get("VELTRANE_TEST_PORTS", "20000-29999").split("-"))
_ports = itertools.cycle(random.sample(range(_first, _last + 1), _last - _first + 1))


def free_port():
    """A port on which nobody listens at this moment; another one at each call."""
    for port in _ports:
        with socket.socket() as probe:
            try:
                probe.bind(("127.0.0.1", port))
                return port
            except OSError:
                pass


def wait_for(condition, seconds=15, what="the condition"):
    """Waits until condition() is true and gives what it gave."""
    end = time.monotonic() + seconds
    while True:
        result = condition()
        if result:
            return result
        if time.monotonic() > end:
            raise AssertionError(f"waited {seconds} s in vain for {what}")
        time.sleep(0.02)


def retry(action, condition, what="the condition", tries=4, seconds=5):
    """For what may come too early or take too long to be understood, as a key or a double click: does it, and once
    more where it has led to nothing for some seconds."""
    for _ in range(tries - 1):
        action()
        with contextlib.suppress(AssertionError):
            return wait_for(condition, seconds, what)
    action()
    return wait_for(condition, seconds, what)


def holds(condition, seconds):
    """Whether the condition is true all along."""
    end = time.monotonic() + seconds
    while time.monotonic() < end:
        if not condition():
            return False
        time.sleep(0.02)
    return True


def listens(port):
    """Whether somebody listens on the port, told without connecting to it."""
    hexport = f"{port:04X}"
    for line in pathlib.Path("/proc/net/tcp").read_text().splitlines()[1:]:
        fields = line.split()
        if fields[1].endswith(":" + hexport) and fields[3] == "0A":
            return True
    return False


class Store:
    """The program's settings store, as another program sees it."""

    def __init__(self, path):
        self.path = path

    def connect(self):
        self.path.parent.mkdir(mode=0o700, parents=True, exist_ok=True)
        connection = sqlite3.connect(self.path, timeout=5, isolation_level=None)
        connection.execute(
            "CREATE TABLE IF NOT EXISTS settings (application TEXT, section TEXT, key TEXT, value TEXT)"
        )
        return connection

    def get(self, section, key):
        connection = self.connect()
        row = connection.execute(
            "SELECT value FROM settings WHERE section = ? COLLATE NOCASE AND key = ? COLLATE NOCASE",
            (section, str(key)),
        ).fetchone()
        connection.close()
        return row[0] if row else None

    def set(self, section, key, value):
        connection = self.connect()
        done = connection.execute(
            "UPDATE settings SET value = ? WHERE section = ? COLLATE NOCASE AND key = ? COLLATE NOCASE",
            (str(value), section, str(key)),
        )
        if done.rowcount == 0:
            connection.execute(
                "INSERT INTO settings VALUES ('Veltrane', ?, ?, ?)", (section, str(key), str(value))
            )
        connection.close()

    def section(self, section):
        connection = self.connect()
        rows = connection.execute(
            "SELECT key, value FROM settings WHERE section = ? COLLATE NOCASE ORDER BY rowid", (section,)
        ).fetchall()
        connection.close()
        return rows

    def add_port(self, port, protocol="Pass Through", description="Test", server=None, server_port=None):
        """A row of the port table, and the destination of a Pass Through port."""
        self.set("PortsInUse", port, description)
        self.set("Protocols", port, protocol)
        if server:
            section = f"Protocols\\Pass Through\\Port {port}"
            self.set(section, "Server", server)
            self.set(section, "Port", server_port)


class Veltrane:
    """One run of the program. By default the store is not that of a first run."""

    def __init__(self, home=None, first_run=False, platform="offscreen", arguments=(), user=None, command=None):
        self.own_home = home is None
        self.home = pathlib.Path(home or tempfile.mkdtemp(prefix="veltrane-e2e-"))
        self.store = Store(self.home / "config" / "Veltrane" / "settings.db")
        self.platform = platform
        self.arguments = list(arguments)
        self.user = user
        self.command = command or program()
        self.process = None
        self.log = None  # where it keeps one
        if not first_run:
            self.store.set("FirstRun", "FirstRun", "False")
            self.store.set("Options", "ShowConfigAtStartUp", "0")

    def environment(self):
        values = dict(os.environ)
        values.update(
            HOME=str(self.home),
            XDG_CONFIG_HOME=str(self.home / "config"),
            XDG_DATA_HOME=str(self.home / "data"),
            XDG_RUNTIME_DIR=str(self.home),
            QT_QPA_PLATFORM=self.platform,
        )
        return values | LEAKS

    def start(self, listening=(), served=True):
        """Starts the program and waits until the ports listen, and with served until they are served."""
        command = [str(self.command), *self.arguments]
        if self.user is not None:
            command = ["setpriv", f"--reuid={self.user}", f"--regid={self.user}", "--clear-groups", *command]
        self.started = time.monotonic()
        self.process = subprocess.Popen(
            command, env=self.environment(), stdout=subprocess.PIPE, stderr=subprocess.STDOUT, cwd=self.home
        )
        for port in listening:
            wait_for(lambda: listens(port) or self.ended(), 30, f"port {port} to listen")
        if self.ended():
            raise AssertionError("the program has ended: " + self.process.stdout.read().decode(errors="replace"))
        if served:
            time.sleep(max(0.0, START_PAUSE + 0.3 - (time.monotonic() - self.started)))
        return self

    def ended(self):
        return self.process.poll() is not None

    def descriptors(self):
        """Descriptors of sockets that the program has open."""
        folder = pathlib.Path(f"/proc/{self.process.pid}/fd")
        count = 0
        for entry in folder.iterdir():
            try:
                count += os.readlink(entry).startswith("socket:")
            except FileNotFoundError:
                pass
        return count

    def resident(self):
        """MB of memory that the program has."""
        text = pathlib.Path(f"/proc/{self.process.pid}/status").read_text()
        return int(re.search(r"VmRSS:\s+(\d+)", text).group(1)) * 1024 / 1e6

    def processor_seconds(self):
        """What the program has spent, in the kernel too."""
        fields = pathlib.Path(f"/proc/{self.process.pid}/stat").read_text().rsplit(")", 1)[1].split()
        return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")

    def stop(self, with_signal=signal.SIGTERM, seconds=20):
        """Ends the program as a user's session would; gives exit code and what it printed."""
        if not self.ended():
            self.process.send_signal(with_signal)
        try:
            output, _ = self.process.communicate(timeout=seconds)
        except subprocess.TimeoutExpired:
            self.process.kill()
            output, _ = self.process.communicate()
            raise AssertionError("the program did not end: " + output.decode(errors="replace")) from None
        # The offscreen platform says such things of every window; they are no words of the program's.
        lines = output.decode(errors="replace").splitlines(keepends=True)
        return self.process.returncode, "".join(line for line in lines if "This plugin does not support" not in line)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        if self.process and not self.ended():
            self.process.kill()
        if self.process and self.process.stdout and not self.process.stdout.closed:
            self.process.communicate()
        if self.own_home:
            shutil.rmtree(self.home, ignore_errors=True)


def expect_end(test, run, *reports):
    """The program ends well, and has reported such failures and no others: how their texts begin."""
    code, output = run.stop()
    test.assertEqual(code, 0, output)
    told = [line.removeprefix("Veltrane: ") for line in output.splitlines()]
    test.assertEqual({next((text for text in reports if line.startswith(text)), line) for line in told}, set(reports))


def payload(size):
    """That many random bytes, but for such as a log file could not tell from its own escapes."""
    return history.without_literals(os.urandom(size))


def sha(data):
    return hashlib.sha256(data).hexdigest()


def which(*names):
    """The first of the programs that is installed, or None."""
    for name in names:
        found = shutil.which(name, path=os.environ["PATH"] + ":/usr/sbin:/sbin")
        if found:
            return found
    return None


def windows(display, title):
    """Ids of the visible windows whose title matches."""
    done = subprocess.run(
        ["xdotool", "search", "--onlyvisible", "--name", title],
        env=dict(os.environ, DISPLAY=display),
        capture_output=True,
        text=True,
        check=False,
    )
    return done.stdout.split()


class Screen:
    """A virtual display, with a window manager, for tests that look at windows."""

    def __init__(self, size="1280x900x24"):
        read, write = os.pipe()
        # Without repetition of keys: on a busy machine one that is only struck may seem to be held.
        self.server = subprocess.Popen(
            ["Xvfb", "-displayfd", str(write), "-screen", "0", size, "-nolisten", "tcp", "-noreset", "-r"],
            pass_fds=[write],
            stderr=subprocess.DEVNULL,
        )
        os.close(write)
        with os.fdopen(read) as pipe:
            self.display = ":" + pipe.readline().strip()
        self.environment = dict(os.environ, DISPLAY=self.display)
        quiet = {"stdout": subprocess.DEVNULL, "stderr": subprocess.DEVNULL}
        self.manager = subprocess.Popen(["openbox"], env=self.environment, **quiet)
        # A window that asks to be shown before the manager is ready may be forgotten.
        check = ["xprop", "-root", "_NET_SUPPORTING_WM_CHECK"]
        try:
            wait_for(
                lambda: b"window id"
                in subprocess.run(check, env=self.environment, capture_output=True, check=False).stdout,
                30,
                "the window manager",
            )
        except AssertionError:
            self.close()
            raise

    def tool(self, *arguments):
        """Runs xdotool on this display; gives what it writes."""
        return subprocess.run(
            ["xdotool", *arguments], env=self.environment, stdout=subprocess.PIPE, text=True, check=True
        ).stdout

    def ask(self, *arguments):
        """The same for what may fail at this moment, which gives nothing."""
        done = subprocess.run(
            ["xdotool", *arguments], env=self.environment, capture_output=True, text=True, check=False
        )
        return done.stdout.strip()

    def windows(self, title):
        return windows(self.display, title)

    def activate(self, window):
        """Brings a window to the front and waits until it has the keyboard."""

        def has_keyboard():
            return window == self.ask("getactivewindow") == self.ask("getwindowfocus")

        if not has_keyboard():
            retry(lambda: self.ask("windowactivate", window), has_keyboard, f"window {window} to get the keyboard")

    def open(self, title, seconds=15):
        """The window of that title, when it has come and has the keyboard."""
        window = wait_for(lambda: self.windows(title), seconds, f"a window {title}")[0]
        self.activate(window)
        return window

    def wait_until_closed(self, title, seconds=15):
        wait_for(lambda: not self.windows(title), seconds, f"window {title} to close")

    def key(self, *keys):
        self.tool("key", "--delay", "40", *keys)

    def click(self, window, x, y, button=1, repeat=1):
        """Places are in pixels, from the window's upper left corner."""
        self.tool(
            "mousemove", "--window", window, str(x), str(y), "click", "--repeat", str(repeat), "--delay", "80", str(button)
        )

    def pop_up(self, action):
        """The menu that the action opens."""

        before = self.shown()
        return retry(action, lambda: self.shown() - before, "a menu").pop()

    def shown(self):
        """The program's visible windows, menus too."""
        return set(self.ask("search", "--onlyvisible", "--class", "veltrane").split())

    def wait_until_gone(self, window):
        wait_for(lambda: window not in self.shown(), 15, f"window {window} to go")

    def place(self, window):
        """Left, top, width and height."""
        told = self.ask("getwindowgeometry", "--shell", window)
        values = dict(line.split("=") for line in told.split() if "=" in line)
        return tuple(int(values.get(name, -1)) for name in ("X", "Y", "WIDTH", "HEIGHT"))

    def picture(self, path):
        subprocess.run(["import", "-window", "root", str(path)], env=self.environment, check=True)

    def close(self):
        for process in (self.manager, self.server):
            process.terminate()
            process.wait()


class ProgramTest(unittest.TestCase):
    """Conversations through the program, each of which ends in silence."""

    def need(self, *programs):
        """Skips the test where one of the programs is not installed."""
        for name in programs:
            if not which(name):
                self.skipTest(f"{name} is not installed")

    def run_client(self, *command, environment=None, expect=0, seconds=120):
        """Runs a client program, without the proxy settings of whoever runs the tests; gives what it wrote."""
        values = {key: value for key, value in os.environ.items() if not key.lower().endswith("_proxy")}
        values.update(environment or {})
        done = subprocess.run(
            [str(word) for word in command], env=values, capture_output=True, timeout=seconds, check=False
        )
        self.assertEqual(done.returncode, expect, (done.stdout[-2000:], done.stderr[-2000:]))
        return done.stdout

    def serve(self, protocol, platform="offscreen", schedule=(), **settings):
        """A run of the program with one port of the protocol and its settings, and failures by the schedule, which
        keeps a log; gives both."""
        run = Veltrane(platform=platform)
        self.addCleanup(run.__exit__)
        port = free_port()
        for key, value in dict(schedule).items():
            run.store.set("FailureSim", key, value)
        run.store.add_port(port, protocol=protocol, description=f"Test of {protocol}")
        for key, value in settings.items():
            run.store.set(f"Protocols\\{protocol}\\Port {port}", key, value)
        run.log = run.home / "log.txt"
        run.store.set("RealTimeLogging", "LoggingOn", 1)
        run.store.set("RealTimeLogging", "LogFile", run.log)
        run.ports = {port: (protocol, settings)}
        run.start(listening=[port])
        return run, port

    def expect_quiet(self, run, descriptors, reports=(), **expected):
        """No socket is left of what was open, the end is clean, and the log tells it all: see conversations.Log."""
        wait_for(lambda: run.descriptors() == descriptors, 10, "all sockets to be closed")
        expect_end(self, run, *reports)
        if run.log:
            conversations.Log(run.log, run.ports).check(**expected)


def note_skipped(tests):
    """For the last lines of ./test: what did not run is not to look like what passed."""
    if path := os.environ.get("VELTRANE_SKIPPED"):
        with open(path, "a") as notes:
            notes.writelines(f"{pathlib.Path(sys.argv[0]).stem} {test}: {reason}\n" for test, reason in tests)


def main():
    """Runs the tests of the calling file; the program's path may stand last on the command line."""
    if len(sys.argv) > 1 and os.access(sys.argv[-1], os.X_OK) and "/" in sys.argv[-1]:
        os.environ["VELTRANE"] = str(pathlib.Path(sys.argv.pop()).resolve())
    result = unittest.main(verbosity=2, exit=False).result
    note_skipped(result.skipped)
    sys.exit(not result.wasSuccessful())


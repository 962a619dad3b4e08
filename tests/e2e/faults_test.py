"""What goes wrong around the program: peers from outside, ports and disks that run out, ends at a bad moment."""

import concurrent.futures
import contextlib
import ctypes
import os
import pathlib
import random
import resource
import shutil
import signal
import socket
import sqlite3
import subprocess
import tempfile
import threading
import time
import unittest

import history
import veltrane
from relay_test import EchoServer
from veltrane import Veltrane, expect_end, free_port, listens, wait_for

DYNAMIC = "FTP Data - Dynamically allocated"
MISSING_ROW = (
    "Veltrane: An error occurred while attempting to delete the Ephemeral port references from the registry.  "
    "The operating system reports: 5, Invalid procedure call or argument"
)


def exchange(client, text):
    """Sends the text and reads as much back."""
    client.sendall(text)
    got = b""
    while len(got) < len(text):
        piece = client.recv(65536)
        if not piece:
            break
        got += piece
    return got


class Faults(veltrane.ProgramTest):
    def setUp(self):
        self.echo = EchoServer()
        self.addCleanup(self.echo.close)

    def prepare(self, **options):
        run = Veltrane(**options)
        self.addCleanup(run.__exit__)
        port = free_port()
        run.store.add_port(port, server="127.0.0.1", server_port=self.echo.port)
        return run, port

    def connect(self, port, source=None):
        client = socket.create_connection(("127.0.0.1", port), timeout=20, source_address=source)
        self.addCleanup(client.close)
        return client

    def expect_served(self, port):
        with self.connect(port) as client:
            self.assertEqual(exchange(client, b"still here"), b"still here")


class OwnNetwork(Faults):
    """With the network devices of a machine of its own: nothing that is done to them is seen elsewhere."""

    CLONE_NEWNET = 0x40000000

    def setUp(self):
        libc = ctypes.CDLL(None, use_errno=True)
        outside = os.open("/proc/thread-self/ns/net", os.O_RDONLY)
        self.addCleanup(os.close, outside)
        if libc.unshare(self.CLONE_NEWNET) != 0:
            self.skipTest("may not make a network of its own")
        self.addCleanup(libc.setns, outside, self.CLONE_NEWNET)
        self.need("ip")
        subprocess.run([veltrane.which("ip"), "link", "set", "lo", "up"], check=True)
        super().setUp()

    def test_a_public_peer_is_turned_away_and_a_near_one_is_served(self):
        public, near = "8.8.4.4", "192.168.7.7"
        for address in (public, near):
            subprocess.run([veltrane.which("ip"), "addr", "add", f"{address}/32", "dev", "lo"], check=True)
        run, port = self.prepare()
        run.start(listening=[port])

        def talk(address):
            with socket.create_connection((address, port), timeout=20, source_address=(address, 0)) as client:
                try:
                    return exchange(client, b"hello")
                except ConnectionError:
                    return b""

        for _ in range(3):
            self.assertEqual(talk(public), b"")
        self.assertEqual(talk(near), b"hello")
        run.store.set("Options", "AcceptPublicPeers", 1)
        self.assertEqual(talk(public), b"hello")
        expect_end(self, run, f"A connection from the public address {public} to port {port} was turned away.")

    def test_out_of_ports_fails_that_connection_alone(self):
        limits = pathlib.Path("/proc/sys/net/ipv4/ip_local_port_range")
        run, port = self.prepare()
        run.log = run.home / "log.txt"
        run.store.set("RealTimeLogging", "LoggingOn", 1)
        run.store.set("RealTimeLogging", "LogFile", run.log)
        run.start(listening=[port])
        # The clients have ports of their own; what is scarce is those that the program goes out from.
        limits.write_text("40000 40003")
        clients = [self.connect(port, ("127.0.0.1", 30000 + number)) for number in range(4)]
        for client in clients:
            self.assertEqual(exchange(client, b"room"), b"room")
        late = self.connect(port, ("127.0.0.1", 30009))
        self.assertEqual(late.recv(1), b"", "closed, for there is no port to go out from")
        for client in clients:
            self.assertEqual(exchange(client, b"as before"), b"as before")
        clients[0].close()
        limits.write_text("40000 40007")
        again = self.connect(port, ("127.0.0.1", 30010))
        self.assertEqual(exchange(again, b"again"), b"again")
        told = [(record.kind, record.description) for record in history.of(history.parse_so_far(run.log), "KEY5")]
        failed = "The local client socket is in a error state: 10049, Address not available"
        self.assertIn((history.SERVER_SIDE_BAD, failed), told)
        for client in [*clients, again]:
            client.close()
        expect_end(self, run)


class Store(Faults):
    def test_a_store_that_vanishes_costs_no_connection_and_is_told_once(self):
        run, port = self.prepare()
        run.start(listening=[port])
        stands = self.connect(port)
        self.assertEqual(exchange(stands, b"before"), b"before")
        run.store.path.unlink()
        for _ in range(3):
            self.expect_served(port)
        self.assertEqual(exchange(stands, b"after"), b"after")
        stands.close()
        expect_end(self, run, f"The settings file {run.store.path} was removed or replaced.")
        # Nothing is left that the next store could be taken for.
        self.assertEqual([path.name for path in run.store.path.parent.glob("settings.db*")], [])

    def test_a_store_that_another_program_locks_for_good_keeps_serving(self):
        run, port = self.prepare()
        run.start(listening=[port])
        other = sqlite3.connect(run.store.path, isolation_level=None)
        other.execute("BEGIN EXCLUSIVE")
        for _ in range(3):
            self.expect_served(port)
        other.execute("ROLLBACK")
        other.close()
        expect_end(self, run)

    def test_a_store_that_another_program_writes_to_for_long_slows_no_connection(self):
        server = FtpServer()
        self.addCleanup(server.close)
        run, port = self.prepare()
        ftp = free_port()
        run.store.add_port(ftp, protocol="FTP")
        run.start(listening=[port, ftp])
        client = Login(self, ftp, server.port)
        data = []
        for _ in range(10):
            high, low = client.ask(b"PASV").split(b"(")[1].split(b")")[0].split(b",")[4:]
            data.append(int(high) * 256 + int(low))
        other = sqlite3.connect(run.store.path, isolation_level=None)
        other.execute("BEGIN IMMEDIATE")
        # Each of them is over at once, and its rows are to go: from then on each purge tries to delete them all.
        for number in data:
            with contextlib.suppress(ConnectionError):
                self.assertEqual(self.connect(number).recv(1), b"")
        began = time.monotonic()
        for _ in range(20):
            self.expect_served(port)
        self.assertLess(time.monotonic() - began, 5)
        other.execute("ROLLBACK")
        other.close()
        wait_for(lambda: not [key for key, value in run.store.section("Protocols") if value == DYNAMIC], 10,
                 "the data ports to go from the store")
        client.close()
        expect_end(self, run, "An error occurred while attempting to delete the Ephemeral port references")

    def test_a_full_disk_costs_a_data_port_and_nothing_else(self):
        server = FtpServer()
        self.addCleanup(server.close)
        run, port = self.prepare()
        ftp = free_port()
        run.store.add_port(ftp, protocol="FTP")
        run.start(listening=[port, ftp])
        client = Login(self, ftp, server.port)
        self.assertTrue(client.ask(b"PASV").startswith(b"227 "))
        resource.prlimit(run.process.pid, resource.RLIMIT_FSIZE, (4096, resource.RLIM_INFINITY))
        # No row can be written, so no port can be opened. To whom that is told is the handler's own business.
        client.say(b"PASV")
        wait_for(lambda: b"451 Veltrane: " in b"".join(server.heard), 15, "the refusal")
        self.expect_served(port)
        resource.prlimit(run.process.pid, resource.RLIMIT_FSIZE, (resource.RLIM_INFINITY, resource.RLIM_INFINITY))
        self.assertTrue(client.ask(b"PASV").startswith(b"227 "))
        client.close()
        code, _ = run.stop()
        self.assertEqual(code, 0)
        self.assertEqual(check(run.store.path), "ok")


class Ends(Faults):
    def test_sigterm_in_the_middle_of_100_transfers(self):
        run, port = self.prepare()
        run.start(listening=[port])
        done = threading.Event()
        moved = [0] * 100

        def transfer(number):
            with contextlib.suppress(OSError), self.connect(port) as client:
                while not done.is_set():
                    text = os.urandom(50_000)
                    if exchange(client, text) != text:
                        return
                    moved[number] += 1

        with concurrent.futures.ThreadPoolExecutor(100) as pool:
            jobs = [pool.submit(transfer, number) for number in range(100)]
            try:
                wait_for(lambda: all(moved), 60, "all transfers to run")
                began = time.monotonic()
                self.assertEqual(run.stop(), (0, ""))
                self.assertLess(time.monotonic() - began, 10)
            finally:
                done.set()
            for job in jobs:
                job.result()
        self.assertFalse(listens(port))
        self.assertEqual(check(run.store.path), "ok")

    def test_killed_at_50_moments_the_store_is_whole_and_the_next_start_clears_up(self):
        # By turns counted from the start of the program and from the first data port.
        dice = random.Random(20)
        moments = [[(dice.uniform(0.05, 3), dice.uniform(0, 1)) for _ in range(5)] for _ in range(5)]
        server = FtpServer()
        self.addCleanup(server.close)
        with concurrent.futures.ThreadPoolExecutor(5) as pool:
            written = list(pool.map(lambda row: self.kill_again_and_again(row, server.port), moments))
        self.assertGreaterEqual(sum(written), 25, "there were data ports to lose")

    def kill_again_and_again(self, moments, server_port):
        """Kills a run of one store at these moments; gives how many data ports it saw left."""
        written = 0
        with Veltrane() as run:
            port = free_port()
            run.store.add_port(port, protocol="FTP")
            for after_start, after_first in moments:
                written += self.kill(run, port, server_port, after_start, None)
                written += self.kill(run, port, server_port, 60, after_first)
            run.start(listening=[port])
            self.assertEqual(run.stop(), (0, ""))
            self.assertEqual(self.expect_whole(run.store, port), 0)
        return written

    def kill(self, run, port, server_port, after_start, after_first):
        """Kills a run so many seconds after its start, or after its first data port where that is given."""
        run.start(served=False)
        end = time.monotonic() + after_start
        opened = False
        while time.monotonic() < end:
            with contextlib.suppress(OSError, AssertionError):
                patience = max(0.01, end - time.monotonic())
                with contextlib.closing(Login(self, port, server_port, patience)) as client:
                    while time.monotonic() < end:
                        self.assertTrue(client.ask(b"PASV").startswith(b"227 "))
                        # All programs draw from the same ports, and nobody uses one up.
                        time.sleep(0.02)
                        if after_first is not None and not opened:
                            opened = True
                            end = time.monotonic() + after_first
            time.sleep(0.01)
        run.process.kill()
        output, _ = run.process.communicate()
        self.assertNotIn("Veltrane: ", output.decode())
        # What opens a store mends it: that is left to the next start.
        with tempfile.TemporaryDirectory() as folder:
            for path in run.store.path.parent.glob("settings.db*"):
                shutil.copy(path, folder)
            copy = veltrane.Store(pathlib.Path(folder) / run.store.path.name)
            self.assertEqual(check(copy.path), "ok")
            return self.expect_whole(copy, port)

    def test_rows_that_lack_others_are_told_and_keep_nothing_from_starting(self):
        run, port = self.prepare()
        run.store.set("Protocols", 1024, DYNAMIC)
        run.store.set("PortsInUse", 5000, DYNAMIC)
        for expected in (2, 1):
            run.start(listening=[port])
            # So many events that a purge has run.
            for _ in range(10):
                self.expect_served(port)
            code, output = run.stop()
            self.assertEqual(code, 0)
            self.assertEqual([line for line in output.splitlines() if line.startswith("Veltrane: ")],
                             [MISSING_ROW] * expected)
            self.assertEqual([key for key, _ in run.store.section("Protocols")], [str(port)])
            # What has lost its first row stays described, and each start tells that.
            self.assertIn(("5000", DYNAMIC), run.store.section("PortsInUse"))

    def expect_whole(self, store, port):
        """Each port has all of its rows and nothing else is there; gives the number of data ports."""
        connection = store.connect()
        rows = connection.execute("SELECT application, section, key, value FROM settings").fetchall()
        connection.close()
        data = {row[2] for row in rows if row[3] == DYNAMIC}
        for key in data:
            self.assertTrue(1024 <= int(key) <= 5000, rows)
        parts = {("Protocols", key) for key in data} | {("PortsInUse", key) for key in data}
        parts |= {(f"Protocols\\Pass Through\\Port {key}", name) for key in data for name in ("Port", "Server")}
        parts |= {("Protocols", str(port)), ("PortsInUse", str(port))}
        told = [(section, key) for _, section, key, _ in rows if section.startswith(("Protocols", "PortsInUse"))]
        self.assertCountEqual(told, parts)
        return len(data)


def check(path):
    """What SQLite says of the file, which it opens as the next start would."""
    connection = sqlite3.connect(path, timeout=5)
    answer = connection.execute("PRAGMA integrity_check").fetchone()[0]
    connection.close()
    return answer


class FtpServer:
    """Says yes to everything, and to PASV an address at which nobody is."""

    def __init__(self):
        self.listener = socket.create_server(("127.0.0.1", 0), backlog=200)
        self.port = self.listener.getsockname()[1]
        self.heard = []
        threading.Thread(target=self.serve, daemon=True).start()

    def serve(self):
        with contextlib.suppress(OSError):
            while True:
                threading.Thread(target=self.answer, args=(self.listener.accept()[0],), daemon=True).start()

    def answer(self, connection):
        with connection, contextlib.suppress(OSError):
            connection.sendall(b"220 here\r\n")
            while line := connection.recv(4096):
                self.heard.append(line)
                if line.startswith(b"PASV"):
                    connection.sendall(b"227 Entering Passive Mode (127,0,0,1,1,9)\r\n")
                elif not line.startswith(b"451"):
                    connection.sendall(b"200 yes\r\n")

    def close(self):
        self.listener.close()


class Login:
    """The control connection of a client that has named its server."""

    def __init__(self, test, port, server_port, patience=20):
        self.socket = socket.create_connection(("127.0.0.1", port), timeout=patience)
        self.lines = self.socket.makefile("rb")
        try:
            test.assertTrue(self.lines.readline().startswith(b"220 Veltrane"))
            test.assertEqual(self.ask(f"USER a@127.0.0.1:{server_port}".encode()), b"200 yes\r\n")
        except BaseException:
            self.close()
            raise

    def say(self, line):
        self.socket.sendall(line + b"\r\n")

    def ask(self, line):
        self.say(line)
        answer = self.lines.readline()
        if not answer:
            raise ConnectionError("the program has gone")
        return answer

    def close(self):
        self.lines.close()
        self.socket.close()


if __name__ == "__main__":
    veltrane.main()

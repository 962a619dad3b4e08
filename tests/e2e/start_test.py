"""First run, second run, second instance, ports that cannot be had, damaged stores, ends."""

import contextlib
import os
import pathlib
import signal
import socket
import subprocess
import time
import unittest

import veltrane
from veltrane import Veltrane, free_port, listens, wait_for

SIX_PORTS = ["25", "110", "8080", "443", "21", "1000"]


def can_listen_below_1024():
    try:
        with socket.socket() as probe:
            probe.bind(("127.0.0.1", 999))
        return True
    except PermissionError:
        return False


def traces(folder):
    """Every file below the folder, with its size and the time of its last change."""
    return sorted((str(path), path.stat().st_size, path.stat().st_mtime_ns) for path in folder.rglob("*"))


class OnAScreen(unittest.TestCase):
    """Looks at the windows of a virtual display."""

    def setUp(self):
        if not (veltrane.which("Xvfb") and veltrane.which("xdotool") and veltrane.which("openbox")):
            self.skipTest("Xvfb, xdotool or openbox is not installed")
        self.screen = veltrane.Screen()
        self.addCleanup(self.screen.close)

    def start(self, run, **options):
        run.platform = "xcb"
        os.environ["DISPLAY"] = self.screen.display
        return run.start(**options)

    def window(self, title):
        return wait_for(lambda: veltrane.windows(self.screen.display, title), 15, f"a window {title!r}")

    def test_first_run_seeds_welcomes_and_listens_and_the_second_does_neither(self):
        if not can_listen_below_1024():
            self.skipTest("this user may not listen on ports below 1024")
        if any(listens(int(port)) for port in SIX_PORTS):
            self.skipTest("one of the six ports is taken on this machine")
        with Veltrane(first_run=True) as run:
            self.start(run, listening=[int(port) for port in SIX_PORTS])
            self.window("^Veltrane$")
            # The welcome box stands over the main window and has the product's name as its title too.
            wait_for(lambda: len(veltrane.windows(self.screen.display, "^Veltrane$")) == 2, 15, "the welcome")
            self.assertEqual([key for key, _ in run.store.section("PortsInUse")], SIX_PORTS)
            self.assertEqual(run.store.get("FirstRun", "FirstRun"), "False")
            # While it is open, connections are served.
            server = socket.create_server(("127.0.0.1", 0))
            run.store.add_port(1000, server="127.0.0.1", server_port=server.getsockname()[1])
            with socket.create_connection(("127.0.0.1", 1000)) as client:
                server.settimeout(5)
                accepted, _ = server.accept()
                accepted.sendall(b"hello")
                self.assertEqual(client.recv(5), b"hello")
                accepted.close()
            server.close()
            self.screen.tool("key", "Return")
            wait_for(lambda: len(veltrane.windows(self.screen.display, "^Veltrane$")) == 1, 10, "the box to go")
            rows = run.store.section("Protocols")
            code, output = run.stop()
            self.assertEqual((code, output), (0, ""))

            run.store.set("Options", "ShowConfigAtStartUp", "0")
            self.start(run, listening=[int(port) for port in SIX_PORTS])
            self.window("^Veltrane$")
            time.sleep(1)
            self.assertEqual(len(veltrane.windows(self.screen.display, "^Veltrane$")), 1)
            self.assertEqual(run.store.section("Protocols"), rows)
            self.assertEqual(run.stop(), (0, ""))

    def test_end_while_the_welcome_is_open(self):
        with Veltrane(first_run=True) as run:
            self.start(run, served=False)
            wait_for(lambda: len(veltrane.windows(self.screen.display, "^Veltrane$")) == 2, 20, "the welcome")
            code, _ = run.stop()
            self.assertEqual(code, 0)

    def test_a_taken_port_opens_the_error_window_and_the_others_work(self):
        taken = socket.create_server(("0.0.0.0", 0))
        other = free_port()
        with Veltrane() as run:
            run.store.add_port(taken.getsockname()[1], server="127.0.0.1", server_port=9)
            run.store.add_port(other, server="127.0.0.1", server_port=9)
            self.start(run, listening=[other])
            self.window("^Error$")
            self.window("^Veltrane$")
            port = taken.getsockname()[1]
            veltrane.expect_end(self, run, f"A problem occurred while attempting to listen on port {port}.")
        taken.close()

    def test_closing_the_window_ends_the_program(self):
        port = free_port()
        with Veltrane() as run:
            run.store.set("Options", "SystemTray", "0")
            run.store.add_port(port, server="127.0.0.1", server_port=9)
            self.start(run, listening=[port])
            window = self.window("^Veltrane$")[0]
            self.screen.tool("windowactivate", "--sync", window)
            self.screen.tool("key", "alt+F4")
            wait_for(run.ended, 15, "the program to end")
            self.assertFalse(listens(port))


class Start(unittest.TestCase):
    def test_second_instance_ends_silently_and_leaves_no_trace(self):
        port = free_port()
        with Veltrane() as first:
            first.store.add_port(port, server="127.0.0.1", server_port=9)
            first.start(listening=[port])
            # Not even a store that it would have to mend is touched.
            first.store.path.with_name("settings.db.spare").write_bytes(first.store.path.read_bytes())
            before = traces(first.home)
            process = subprocess.run(
                [veltrane.program()], env=first.environment(), capture_output=True, timeout=20, check=False
            )
            self.assertEqual((process.returncode, process.stdout, process.stderr), (0, b"", b""))
            self.assertEqual(traces(first.home), before)
            self.assertFalse(first.ended())
            self.assertTrue(listens(port))
            # Another store is another instance.
            other_port = free_port()
            with Veltrane() as other:
                other.store.add_port(other_port, server="127.0.0.1", server_port=9)
                other.start(listening=[other_port])
                self.assertEqual(other.stop()[0], 0)
            self.assertEqual(first.stop()[0], 0)

    def test_killed_instance_does_not_keep_the_next_from_starting(self):
        port = free_port()
        with Veltrane() as run:
            run.store.add_port(port, server="127.0.0.1", server_port=9)
            run.start(listening=[port])
            run.process.kill()
            run.process.communicate()
            run.start(listening=[port])
            self.assertEqual(run.stop()[0], 0)

    def test_port_that_this_user_may_not_have(self):
        allowed = int(pathlib.Path("/proc/sys/net/ipv4/ip_unprivileged_port_start").read_text())
        if allowed <= 87:
            self.skipTest("this machine lets everybody listen on port 87")
        if os.geteuid() != 0 and can_listen_below_1024():
            self.skipTest("this user may listen on every port")
        other = free_port()
        with Veltrane(user=65534 if os.geteuid() == 0 else None) as run:
            run.store.add_port(87, server="127.0.0.1", server_port=9)
            run.store.add_port(other, server="127.0.0.1", server_port=9)
            if run.user is not None:
                for path in [run.home, *run.home.rglob("*")]:
                    os.chown(path, run.user, run.user)
            run.start(listening=[other])
            self.assertFalse(listens(87))
            self.assertEqual(run.stop()[0], 0)

    def test_store_and_lock_are_private_whatever_the_mask(self):
        usual = os.umask(0)
        self.addCleanup(os.umask, usual)
        with Veltrane(first_run=True) as run:
            folder = run.store.path.parent
            run.start(served=False)
            wait_for(lambda: run.store.path.exists() and run.store.get("FirstRun", "FirstRun"), 15, "the store")
            rights = {path.name: oct(path.stat().st_mode & 0o777) for path in [folder, *folder.iterdir()]}
            self.assertEqual(rights.pop(folder.name), "0o700")
            self.assertIn("instance.lock", rights)
            self.assertEqual(set(rights.values()), {"0o600"}, rights)
            self.assertEqual(run.stop()[0], 0)

    def test_corrupt_store_is_set_aside_and_the_program_starts_anew(self):
        with Veltrane(first_run=True) as run:
            run.store.path.parent.mkdir(parents=True)
            run.store.path.write_bytes(b"this is no database" * 1000)
            run.start(served=False)
            kept = wait_for(
                lambda: list(run.store.path.parent.glob("settings.db.damaged-*")), 15, "the old file"
            )
            self.assertEqual(kept[0].read_bytes(), b"this is no database" * 1000)
            wait_for(lambda: run.store.get("FirstRun", "FirstRun") == "False", 15, "the port table")
            self.assertEqual(run.stop()[0], 0)

    def test_command_line_is_refused(self):
        if not veltrane.which("Xvfb"):
            self.skipTest("Xvfb is not installed")
        screen = veltrane.Screen()
        self.addCleanup(screen.close)
        os.environ["DISPLAY"] = screen.display
        with Veltrane(platform="xcb", arguments=["--anything"], first_run=True) as run:
            run.start(served=False)
            wait_for(lambda: veltrane.windows(screen.display, "^Veltrane$"), 15, "the message")
            screen.tool("key", "Return")
            wait_for(run.ended, 10, "the program to end")
            # Nothing has been created.
            self.assertFalse((run.home / "config" / "Veltrane").exists())

    def test_command_line_for_the_toolkit_is_refused_too(self):
        if not veltrane.which("Xvfb"):
            self.skipTest("Xvfb is not installed")
        screen = veltrane.Screen()
        self.addCleanup(screen.close)
        os.environ["DISPLAY"] = screen.display
        with Veltrane(platform="xcb", arguments=["-platform", "offscreen"], first_run=True) as run:
            run.start(served=False)
            wait_for(lambda: veltrane.windows(screen.display, "^Veltrane$"), 15, "the message")
            screen.tool("key", "Return")
            wait_for(run.ended, 10, "the program to end")
            self.assertFalse((run.home / "config" / "Veltrane").exists())

    def test_store_in_a_folder_that_cannot_be_written(self):
        if os.geteuid() != 0 or not veltrane.which("setpriv"):
            self.skipTest("needs to run as another user")
        port = free_port()
        with Veltrane(user=65534) as run:
            run.store.add_port(port, server="127.0.0.1", server_port=9)
            folder = run.store.path.parent
            for path in (run.home, run.home / "config", folder):
                path.chmod(0o755)
            run.store.path.chmod(0o644)
            run.start(listening=[port])
            before = sorted(folder.iterdir())
            # It still is the only one for this store.
            command = ["setpriv", "--reuid=65534", "--regid=65534", "--clear-groups", veltrane.program()]
            second = subprocess.run(command, env=run.environment(), capture_output=True, timeout=20, check=False)
            self.assertEqual((second.returncode, second.stdout), (0, b""))
            self.assertEqual(sorted(folder.iterdir()), before)
            self.assertEqual(run.stop()[0], 0)


class End(unittest.TestCase):
    def end_with(self, with_signal):
        port = free_port()
        server = socket.create_server(("127.0.0.1", 0))
        with Veltrane() as run:
            run.store.add_port(port, server="127.0.0.1", server_port=server.getsockname()[1])
            run.start(listening=[port])
            clients = [socket.create_connection(("127.0.0.1", port)) for _ in range(20)]
            servers = [server.accept()[0] for _ in clients]
            self.assertEqual(run.stop(with_signal), (0, ""))
            for connection in clients + servers:
                connection.settimeout(5)
                try:
                    self.assertEqual(connection.recv(1), b"")
                except ConnectionResetError:
                    pass
                connection.close()
        server.close()
        self.assertFalse(listens(port))

    def test_sigterm_takes_everything_down(self):
        self.end_with(signal.SIGTERM)

    def test_sigint_takes_everything_down(self):
        self.end_with(signal.SIGINT)

    def test_a_report_that_nobody_reads_stops_nothing(self):
        taken = socket.create_server(("0.0.0.0", 0))
        self.addCleanup(taken.close)
        for full in (False, True):
            with self.subTest(full=full), Veltrane() as run:
                read, write = os.pipe()
                if full:
                    os.set_blocking(write, False)
                    with contextlib.suppress(BlockingIOError):
                        while True:
                            os.write(write, bytes(4096))
                    os.set_blocking(write, True)
                else:
                    os.close(read)
                port = free_port()
                run.store.add_port(taken.getsockname()[1], server="127.0.0.1", server_port=9)
                run.store.add_port(port, server="127.0.0.1", server_port=9)
                run.process = subprocess.Popen([veltrane.program()], env=run.environment(), stderr=write)
                os.close(write)
                wait_for(lambda: listens(port) or run.ended(), 30, "the port to listen")
                time.sleep(0.5)
                self.assertFalse(run.ended())
                run.process.terminate()
                self.assertEqual(run.process.wait(20), 0)
                if full:
                    os.close(read)

    def test_sigterm_during_the_splash_pause(self):
        port = free_port()
        with Veltrane() as run:
            run.store.add_port(port, server="127.0.0.1", server_port=9)
            run.start(listening=[port], served=False)
            self.assertEqual(run.stop(), (0, ""))


if __name__ == "__main__":
    veltrane.main()

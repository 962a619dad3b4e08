"""Real traffic through Pass Through ports: mail, web, many connections, early leavers, dead hosts."""

import concurrent.futures
import email.message
import os
import pathlib
import smtplib
import socket
import socketserver
import subprocess
import tempfile
import threading
import time
import unittest

import servers
import veltrane
from veltrane import Veltrane, free_port, sha, wait_for

HUNDRED_MB = 100 * 1000 * 1000


class Relay(veltrane.ProgramTest):
    def relay_to(self, port, count=1):
        """The program with ports that lead to the server's port."""
        run = Veltrane()
        self.addCleanup(run.__exit__)
        ports = [free_port() for _ in range(count)]
        for own in ports:
            run.store.add_port(own, server="127.0.0.1", server_port=port)
        run.start(listening=ports)
        return run, ports[0] if count == 1 else ports


class Web(Relay):
    def setUp(self):
        if not (veltrane.which("nginx") and veltrane.which("curl")):
            self.skipTest("nginx or curl is not installed")
        self.web = servers.WebServer()
        self.addCleanup(self.web.close)
        self.payload = os.urandom(HUNDRED_MB)
        (self.web.folder / "www" / "big").write_bytes(self.payload)

    def test_downloads_and_uploads_of_100_mb_at_once_arrive_unchanged(self):
        run, port = self.relay_to(self.web.port)
        before = run.descriptors()
        upload = self.web.folder / "upload"
        upload.write_bytes(self.payload)

        def download(_):
            done = subprocess.run(
                ["curl", "-sS", "--noproxy", "*", f"http://127.0.0.1:{port}/big"], capture_output=True, check=True
            )
            return sha(done.stdout)

        def send(number):
            done = subprocess.run(
                ["curl", "-sS", "--noproxy", "*", "-T", str(upload), f"http://127.0.0.1:{port}/up/{number}"],
                capture_output=True,
                check=True,
            )
            return done.stdout

        with concurrent.futures.ThreadPoolExecutor(6) as pool:
            downloads = [pool.submit(download, i) for i in range(3)]
            uploads = [pool.submit(send, i) for i in range(2)]
            self.assertEqual({job.result() for job in downloads}, {sha(self.payload)})
            self.assertEqual({job.result() for job in uploads}, {b"done\n"})
        files = self.web.uploaded()
        self.assertEqual([sha(path.read_bytes()) for path in files], [sha(self.payload)] * 2)
        self.expect_quiet(run, before)


class Mail(Relay):
    def test_a_mail_goes_through_port_25_unchanged(self):
        try:
            from aiosmtpd.controller import Controller
        except ImportError:
            self.skipTest("aiosmtpd is not installed")
        received = []

        class Keep:
            async def handle_DATA(self, _server, _session, envelope):
                received.append(envelope)
                return "250 OK"

        controller = Controller(Keep(), hostname="127.0.0.1", port=free_port())
        controller.start()
        self.addCleanup(controller.stop)

        # The port that mail programs use, where this user may have it.
        own = 25
        try:
            with socket.socket() as probe:
                probe.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
                probe.bind(("0.0.0.0", 25))
        except OSError:
            own = free_port()
        with Veltrane() as run:
            run.store.add_port(own, description="SMTP", server="127.0.0.1", server_port=controller.port)
            run.start(listening=[own])
            before = run.descriptors()
            for number in range(3):
                message = email.message.EmailMessage()
                message["From"] = "a@example.org"
                message["To"] = "b@example.org"
                message["Subject"] = f"Number {number}"
                message.set_content("Line\n.dot\n" + "x" * 70 + "\n" + "äöü\n" * 1000)
                with smtplib.SMTP("127.0.0.1", own) as client:
                    client.send_message(message)
                sent = message.as_bytes(policy=message.policy.clone(linesep="\r\n"))
                self.assertEqual(received[-1].content.rstrip(), sent.rstrip())
            self.assertEqual(len(received), 3)
            self.expect_quiet(run, before)


class EchoServer(socketserver.ThreadingTCPServer):
    """Sends back what it gets, until the client stops sending."""

    allow_reuse_address = True
    daemon_threads = True
    request_queue_size = 512

    def __init__(self):
        class Echo(socketserver.BaseRequestHandler):
            def handle(self):
                while data := self.request.recv(65536):
                    self.request.sendall(data)

        super().__init__(("127.0.0.1", 0), Echo)
        threading.Thread(target=self.serve_forever, daemon=True).start()

    @property
    def port(self):
        return self.server_address[1]

    def close(self):
        self.shutdown()
        self.server_close()


class Connections(Relay):
    def test_two_hundred_connections_at_once_on_two_ports(self):
        echo = EchoServer()
        self.addCleanup(echo.close)
        run, ports = self.relay_to(echo.port, count=2)
        before = run.descriptors()
        clients = [socket.create_connection(("127.0.0.1", ports[i % 2])) for i in range(200)]
        for i, client in enumerate(clients):
            client.sendall(f"client {i}".encode() * 10)
        for i, client in enumerate(clients):
            expected = f"client {i}".encode() * 10
            got = b""
            client.settimeout(10)
            while len(got) < len(expected):
                got += client.recv(65536)
            self.assertEqual(got, expected)
        self.assertEqual(run.descriptors(), before + 400)
        for client in clients:
            client.close()
        self.expect_quiet(run, before)

    def test_bytes_one_at_a_time(self):
        echo = EchoServer()
        self.addCleanup(echo.close)
        run, port = self.relay_to(echo.port)
        with socket.create_connection(("127.0.0.1", port)) as client:
            client.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
            client.settimeout(10)
            for value in range(256):
                client.sendall(bytes([value]))
                self.assertEqual(client.recv(1), bytes([value]))
        self.assertEqual(run.stop(), (0, ""))

    def test_a_client_that_leaves_at_once_and_a_client_that_resets(self):
        echo = EchoServer()
        self.addCleanup(echo.close)
        run, port = self.relay_to(echo.port)
        before = run.descriptors()
        for _ in range(50):
            socket.create_connection(("127.0.0.1", port)).close()
            rude = socket.create_connection(("127.0.0.1", port))
            rude.sendall(b"x")
            rude.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, b"\1\0\0\0\0\0\0\0")
            rude.close()
        self.expect_quiet(run, before)

    def test_dead_ports_and_names_that_do_not_exist_just_close(self):
        run = Veltrane()
        self.addCleanup(run.__exit__)
        dead, unknown = free_port(), free_port()
        run.store.add_port(dead, server="127.0.0.1", server_port=free_port())
        run.store.add_port(unknown, server="no-such-host.invalid", server_port=80)
        run.start(listening=[dead, unknown])
        before = run.descriptors()
        for port in (dead, unknown):
            with socket.create_connection(("127.0.0.1", port)) as client:
                client.settimeout(15)
                self.assertEqual(client.recv(1), b"")
        self.expect_quiet(run, before)

    def test_a_changed_destination_holds_from_the_next_connection_on(self):
        one, two = EchoServer(), socket.create_server(("127.0.0.1", 0))
        self.addCleanup(one.close)
        run, port = self.relay_to(one.port)
        with socket.create_connection(("127.0.0.1", port)) as client:
            client.sendall(b"x")
            self.assertEqual(client.recv(1), b"x")
            run.store.set(f"Protocols\\Pass Through\\Port {port}", "Port", two.getsockname()[1])
            client.sendall(b"y")
            self.assertEqual(client.recv(1), b"y")
            with socket.create_connection(("127.0.0.1", port)):
                two.settimeout(5)
                two.accept()[0].close()
        two.close()
        self.assertEqual(run.stop(), (0, ""))

    def test_a_reader_that_stops_does_not_hold_others_up(self):
        echo = EchoServer()
        self.addCleanup(echo.close)
        run, port = self.relay_to(echo.port)
        # What it does not read waits in the program.
        lazy = socket.create_connection(("127.0.0.1", port))
        lazy.sendall(b"x" * 50_000_000)
        with socket.create_connection(("127.0.0.1", port)) as client:
            client.settimeout(5)
            start = time.monotonic()
            for _ in range(100):
                client.sendall(b"ping")
                self.assertEqual(client.recv(4), b"ping")
            self.assertLess(time.monotonic() - start, 5)
        lazy.close()
        self.assertEqual(run.stop(), (0, ""))


if __name__ == "__main__":
    veltrane.main()

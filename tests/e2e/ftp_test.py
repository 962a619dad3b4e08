"""Real FTP clients through an FTP port to a real FTP server, named inside the user name."""

import contextlib
import ftplib
import io
import socket
import tempfile
import unittest

import servers
import veltrane
from veltrane import free_port, listens, payload, sha, wait_for

DYNAMIC = "FTP Data - Dynamically allocated"


class Files(veltrane.ProgramTest):
    def setUp(self):
        try:
            import pyftpdlib  # noqa: F401
        except ImportError:
            self.skipTest("pyftpdlib is not installed")
        self.site = servers.FileServer()
        self.addCleanup(self.site.close)
        self.payload = payload(20_000_000)
        (self.site.files / "big").write_bytes(self.payload)
        (self.site.files / "small").write_bytes(b"small\n")
        self.where = f"{self.site.USER}@127.0.0.1:{self.site.port}"

    def start(self):
        run, self.port = self.serve("FTP")
        return run

    def log_in(self, passive=True, where=None):
        client = ftplib.FTP()
        self.addCleanup(client.close)
        welcome = client.connect("127.0.0.1", self.port, timeout=30)
        self.assertEqual(welcome, "220 Veltrane FTP Server")
        client.login(where or self.where, self.site.PASSWORD)
        client.set_pasv(passive)
        return client

    def data_ports(self, run):
        """The data ports that the store knows."""
        return [int(key) for key, value in run.store.section("Protocols") if value == DYNAMIC]

    def finish(self, run, descriptors):
        """All connections and data ports are gone, from the store too, and the log tells it all."""
        wait_for(lambda: self.data_ports(run) == [], 10, "the data ports to go from the store")
        for section in ("Protocols", "PortsInUse"):
            self.assertEqual([key for key, _ in run.store.section(section)], [str(self.port)])
        connection = run.store.connect()
        rows = connection.execute("SELECT COUNT(*) FROM settings WHERE section LIKE 'Protocols\\Pass Through%'")
        self.assertEqual(rows.fetchone(), (0,))
        connection.close()
        self.expect_quiet(run, descriptors)

    def transfer(self, client):
        """Lists, gets and puts, one data connection after the other."""
        self.assertEqual(sorted(client.nlst()), ["big", "small"])
        lines = []
        client.retrlines("LIST", lines.append)
        self.assertTrue(any(line.endswith(" small") for line in lines))
        for _ in range(3):
            received = io.BytesIO()
            client.retrbinary("RETR big", received.write)
            self.assertEqual(sha(received.getvalue()), sha(self.payload))
        upload = payload(20_000_000)
        client.storbinary("STOR up", io.BytesIO(upload))
        self.assertEqual(sha((self.site.files / "up").read_bytes()), sha(upload))
        client.delete("up")
        self.assertEqual(client.size("small"), 6)

    def test_passive_mode(self):
        run = self.start()
        before = run.descriptors()
        client = self.log_in()
        self.transfer(client)
        client.quit()
        self.finish(run, before)

    def test_active_mode(self):
        run = self.start()
        before = run.descriptors()
        client = self.log_in(passive=False)
        self.transfer(client)
        client.quit()
        self.finish(run, before)

    def test_two_control_connections_at_once(self):
        run = self.start()
        before = run.descriptors()
        one, two = self.log_in(), self.log_in(passive=False)
        one.voidcmd("TYPE I")
        with contextlib.closing(one.transfercmd("RETR big")) as first:
            # The second works while the first is in the middle of a transfer.
            start = first.recv(1000)
            received = io.BytesIO()
            two.retrbinary("RETR big", received.write)
            self.assertEqual(sha(received.getvalue()), sha(self.payload))
            rest = first.makefile("rb").read()
            self.assertEqual(sha(start + rest), sha(self.payload))
        self.assertTrue(one.voidresp().startswith("226"))
        one.quit()
        two.quit()
        self.finish(run, before)

    def test_a_data_port_appears_serves_one_connection_and_ends(self):
        run = self.start()
        before = run.descriptors()
        client = self.log_in()
        client.voidcmd("TYPE I")
        host, port = client.makepasv()
        self.assertEqual(host, "127.0.0.1")
        self.assertTrue(1024 <= port <= 5000)
        self.assertTrue(listens(port))
        section = f"Protocols\\Pass Through\\Port {port}"
        self.assertEqual(run.store.get("Protocols", port), DYNAMIC)
        self.assertEqual(run.store.get("PortsInUse", port), DYNAMIC)
        self.assertEqual(run.store.get(section, "Server"), "127.0.0.1")
        self.assertTrue(listens(int(run.store.get(section, "Port"))), "the server's own data port")
        client.putcmd("RETR small")
        with socket.create_connection((host, port), timeout=20) as data:
            self.assertEqual(data.makefile("rb").read(), b"small\n")
        wait_for(lambda: not listens(port), 10, "the data port to end")
        self.assertTrue(client.getresp().startswith("1"))
        self.assertTrue(client.getresp().startswith("226"))
        client.quit()
        self.finish(run, before)

    def test_many_data_connections_one_after_the_other(self):
        run = self.start()
        before = run.descriptors()
        clients = [self.log_in(), self.log_in(passive=False)]
        for number in range(60):
            received = io.BytesIO()
            clients[number % 2].retrbinary("RETR small", received.write)
            self.assertEqual(received.getvalue(), b"small\n")
        for client in clients:
            client.quit()
        self.finish(run, before)

    def test_a_site_without_a_port_is_on_port_21(self):
        try:
            with socket.socket() as probe:
                probe.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
                probe.bind(("127.0.0.1", 21))
        except OSError as error:
            self.skipTest(f"port 21 cannot be had here: {error}")
        other = servers.FileServer(port=21)
        self.addCleanup(other.close)
        (other.files / "there").write_bytes(b"port 21")
        run = self.start()
        before = run.descriptors()
        client = self.log_in(where=f"{other.USER}@localhost")
        self.assertEqual(client.nlst(), ["there"])
        client.quit()
        self.finish(run, before)

    def test_curl_passive_and_active(self):
        self.need("curl")
        run = self.start()
        before = run.descriptors()
        user = f"{self.site.USER}%40127.0.0.1%3A{self.site.port}:{self.site.PASSWORD}"
        url = f"ftp://{user}@127.0.0.1:{self.port}"
        upload = self.site.folder / "upload"
        upload.write_bytes(self.payload[::-1])
        # The extended commands pass unchanged and lead past the proxy, so they stay off.
        for mode in (["--disable-epsv"], ["--disable-eprt", "-P", "-"]):
            curl = ["curl", "-sS", "--noproxy", "*", *mode]
            self.assertEqual(sha(self.run_client(*curl, f"{url}/big")), sha(self.payload))
            self.assertIn(b" small", self.run_client(*curl, f"{url}/"))
            self.run_client(*curl, "-T", upload, f"{url}/up")
            self.assertEqual(sha((self.site.files / "up").read_bytes()), sha(self.payload[::-1]))
            (self.site.files / "up").unlink()
        self.finish(run, before)

    def test_lftp_passive_and_active(self):
        self.need("lftp")
        run = self.start()
        before = run.descriptors()
        upload = self.site.folder / "upload"
        upload.write_bytes(self.payload[::-1])
        for passive in ("yes", "no"):
            with tempfile.TemporaryDirectory() as folder:
                # The first line must be the login, so the client may not ask for features before it.
                script = (
                    f"set ftp:passive-mode {passive}; set ftp:use-feat no; set ftp:ssl-allow no;"
                    "set net:max-retries 1; set net:timeout 30; set cmd:fail-exit yes;"
                    f"open -u '{self.where},{self.site.PASSWORD}' -p {self.port} 127.0.0.1;"
                    f"cls -1; get big -o {folder}/out; put {upload} -o up; bye"
                )
                out = self.run_client("lftp", "-c", script, environment={"HOME": folder})
                self.assertEqual(sorted(out.decode().split()), ["big", "small"])
                with open(f"{folder}/out", "rb") as got:
                    self.assertEqual(sha(got.read()), sha(self.payload))
            self.assertEqual(sha((self.site.files / "up").read_bytes()), sha(self.payload[::-1]))
            (self.site.files / "up").unlink()
        self.finish(run, before)

    def converse(self, first):
        """What a client that begins with first sees, up to the end."""
        with socket.create_connection(("127.0.0.1", self.port)) as client:
            client.settimeout(20)
            client.sendall(first)
            return client.makefile("rb").read()

    def test_a_site_that_cannot_be_reached_ends_after_the_greeting(self):
        run = self.start()
        before = run.descriptors()
        greeting = b"220 Veltrane FTP Server\r\n"
        nobody = f"USER a@127.0.0.1:{free_port()}\r\n".encode()
        for first in (nobody, b"USER a@no-such-host.invalid\r\n", b"USER a\r\n", b"USER a@127.0.0.1:abc\r\n"):
            self.assertEqual(self.converse(first), greeting, first)
        routing = "An error occurred while attempting to route the FTP request (FTP).  The operating system reports: "
        # Of the last two: the one names no site, the other no port.
        self.expect_quiet(run, before, reports=[routing + "5, ", routing + "13, "])


if __name__ == "__main__":
    veltrane.main()

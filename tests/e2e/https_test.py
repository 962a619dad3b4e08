"""Real TLS clients through an HTTPS port to a real web server; TLS is verified end to end."""

import os
import socket
import ssl
import threading
import unittest

import conversations
import history
import servers
import veltrane
from veltrane import free_port, sha, wait_for

REPLY = b"HTTP/1.0 200 Connection established\r\nProxy-agent: Netscape -Proxy / 1.1 \r\n\r\n"


class Tunnel(veltrane.ProgramTest):
    def setUp(self):
        self.need("nginx", "curl", "openssl")
        self.web = servers.WebServer(tls=True)
        self.addCleanup(self.web.close)

    def start(self, **settings):
        return self.serve("HTTPS", **settings)

    def curl(self, port, *words, **options):
        return self.run_client(
            "curl",
            "-sS",
            "--noproxy",
            "",
            "--cacert",
            self.web.certificate,
            "-x",
            f"http://127.0.0.1:{port}",
            *words,
            **options,
        )

    def test_downloads_and_an_upload_by_name_and_by_address(self):
        run, port = self.start()
        before = run.descriptors()
        payload, upload = os.urandom(20_000_000), os.urandom(10_000_000)
        self.web.put("big", payload)
        body = self.web.folder / "body"
        body.write_bytes(upload)
        for host in ("localhost", "127.0.0.1"):
            self.assertEqual(sha(self.curl(port, f"https://{host}:{self.web.tls_port}/big")), sha(payload))
        site = f"https://localhost:{self.web.tls_port}"
        self.assertEqual(self.curl(port, "--data-binary", f"@{body}", f"{site}/up/1"), b"done\n")
        self.assertEqual([sha(path.read_bytes()) for path in self.web.uploaded()], [sha(upload)])
        # No CONNECT came as far as the server.
        self.assertEqual(self.web.requests(3), ["GET /big HTTP/1.1"] * 2 + ["POST /up/1 HTTP/1.1"])
        self.expect_quiet(run, before)

    def test_an_unknown_certificate_is_seen_by_the_client(self):
        run, port = self.start()
        before = run.descriptors()
        # 60: the client does not trust the server, whose certificate is the one that it sees.
        self.run_client(
            "curl", "-sS", "--noproxy", "", "-x", f"http://127.0.0.1:{port}",
            f"https://localhost:{self.web.tls_port}/", expect=60,
        )  # fmt: skip
        # It hangs up in the middle of the handshake.
        self.expect_quiet(run, before, ends=[*conversations.ENDS, conversations.RESET])

    def test_a_failure_shows_its_text_or_nothing(self):
        run, port = self.start()
        before = run.descriptors()
        with socket.create_connection(("127.0.0.1", port)) as client:
            client.settimeout(20)
            client.sendall(f"CONNECT 127.0.0.1:{free_port()} HTTP/1.1\r\n\r\n".encode())
            self.assertEqual(client.recv(100), b"")
        run.store.set("Protocols\\HTTPS", "NoSiteError", "HTTP/1.0 504 Gone\r\n\r\n")
        with socket.create_connection(("127.0.0.1", port)) as client:
            client.settimeout(20)
            client.sendall(b"CONNECT no-such-host.invalid:443 HTTP/1.1\r\n\r\n")
            self.assertEqual(client.makefile("rb").read(), b"HTTP/1.0 504 Gone\r\n\r\n")
        self.expect_quiet(run, before, no_site=[b"HTTP/1.0 504 Gone\r\n\r\n"])

    def test_a_client_that_sends_its_hello_before_the_connection_stands(self):
        run, port = self.start()
        before = run.descriptors()
        context = ssl.create_default_context(cafile=str(self.web.certificate))
        incoming, outgoing = ssl.MemoryBIO(), ssl.MemoryBIO()
        secure = context.wrap_bio(incoming, outgoing, server_hostname="localhost")
        with self.assertRaises(ssl.SSLWantReadError):
            secure.do_handshake()

        # A server whose queue of connections is full: the outgoing connection takes a second try.
        slow = socket.create_server(("127.0.0.1", 0), backlog=0)
        self.addCleanup(slow.close)
        fillers = []
        for _ in range(2):
            filler = socket.socket()
            filler.setblocking(False)
            filler.connect_ex(slow.getsockname())
            fillers.append(filler)
        client = socket.create_connection(("127.0.0.1", port))
        self.addCleanup(client.close)
        client.settimeout(20)
        client.sendall(f"CONNECT localhost:{slow.getsockname()[1]} HTTP/1.1\r\n\r\n".encode())
        # The hello is a chunk of its own.
        wait_for(lambda: history.FROM_CLIENT in (r.kind for r in history.parse_so_far(run.log)), 20, "the request")
        client.sendall(outgoing.read())
        client.settimeout(0.2)
        with self.assertRaises(TimeoutError, msg="no reply before the connection stands"):
            client.recv(1)
        client.settimeout(20)

        def serve():
            """Makes room, and speaks TLS with whoever comes last."""
            for filler in fillers:
                filler.close()
            server_context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
            server_context.load_cert_chain(self.web.certificate, self.web.folder / "server.key")
            slow.settimeout(20)
            while True:
                accepted, _ = slow.accept()
                try:
                    with server_context.wrap_socket(accepted, server_side=True) as connection:
                        connection.sendall(connection.recv(100).upper())
                    return
                except (ssl.SSLError, OSError):
                    continue  # one of those that filled the queue

        thread = threading.Thread(target=serve, daemon=True)
        thread.start()
        reader = client.makefile("rb")
        self.assertEqual(reader.read(len(REPLY)), REPLY)

        def pump(operation):
            while True:
                try:
                    result = operation()
                    client.sendall(outgoing.read())
                    return result
                except ssl.SSLWantReadError:
                    client.sendall(outgoing.read())
                    incoming.write(reader.read1(65536))

        pump(secure.do_handshake)
        pump(lambda: secure.write(b"hello"))
        self.assertEqual(pump(lambda: secure.read(100)), b"HELLO")
        thread.join(20)
        client.close()
        reader.close()
        self.expect_quiet(run, before)

    def test_with_another_proxy_the_request_does_not_reach_it(self):
        run, port = self.start(ConnectToProxy="True", Proxy="127.0.0.1", Port=self.web.tls_port)
        before = run.descriptors()
        self.web.put("page", b"here")
        # What is taken for the next proxy gets the client's bytes alone, and so may be the server itself.
        self.assertEqual(self.curl(port, f"https://localhost:{free_port()}/page"), b"here")
        self.expect_quiet(run, before)


if __name__ == "__main__":
    veltrane.main()

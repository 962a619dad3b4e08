"""Real web clients through an HTTP port to a real web server."""

import socket
import tempfile
import unittest

import history
import servers
import veltrane
from veltrane import free_port, payload, sha, wait_for


class Web(veltrane.ProgramTest):
    def setUp(self):
        self.need("nginx", "curl")
        self.web = servers.WebServer()
        self.addCleanup(self.web.close)
        self.site = f"http://127.0.0.1:{self.web.port}"

    def start(self, **settings):
        return self.serve("HTTP", **settings)

    def curl(self, port, *words, **options):
        return self.run_client(
            "curl", "-sS", "--noproxy", "", "-x", f"http://127.0.0.1:{port}", *words, **options
        )

    def test_get_head_and_post(self):
        run, port = self.start()
        before = run.descriptors()
        page, upload = payload(300_000), payload(10_000_000)
        self.web.put("page", page)
        body = self.web.folder / "body"
        body.write_bytes(upload)
        self.assertEqual(sha(self.curl(port, f"{self.site}/page")), sha(page))
        head = self.curl(port, "-I", f"{self.site}/page")
        self.assertTrue(head.startswith(b"HTTP/1.1 200 OK"))
        self.assertIn(b"Content-Length: 300000", head)
        self.assertEqual(self.curl(port, "--data-binary", f"@{body}", f"{self.site}/up/1"), b"done\n")
        self.assertEqual([sha(path.read_bytes()) for path in self.web.uploaded()], [sha(upload)])
        self.assertEqual(
            self.web.requests(3), ["GET /page HTTP/1.1", "HEAD /page HTTP/1.1", "POST /up/1 HTTP/1.1"]
        )
        self.expect_quiet(run, before)

    def test_a_body_of_100_mb_by_name_and_by_address(self):
        run, port = self.start()
        before = run.descriptors()
        content = payload(100_000_000)
        self.web.put("big", content)
        for host in ("127.0.0.1", "localhost"):
            self.assertEqual(sha(self.curl(port, f"http://{host}:{self.web.port}/big")), sha(content))
        self.expect_quiet(run, before)

    def test_wget_downloads(self):
        self.need("wget")
        run, port = self.start()
        before = run.descriptors()
        page = payload(1_000_000)
        self.web.put("page", page)
        with tempfile.TemporaryDirectory() as folder:
            proxy = {"http_proxy": f"http://127.0.0.1:{port}", "HOME": folder}
            self.run_client("wget", "-q", "-O", f"{folder}/out", f"{self.site}/page", environment=proxy)
            with open(f"{folder}/out", "rb") as out:
                self.assertEqual(sha(out.read()), sha(page))
        self.assertEqual(self.web.requests(1), ["GET /page HTTP/1.1"])
        self.expect_quiet(run, before)

    def test_the_specific_port_serves_a_url_without_one(self):
        run, port = self.start(SpecificPort=self.web.port)
        before = run.descriptors()
        self.web.put("page", b"here")
        self.assertEqual(self.curl(port, "http://127.0.0.1/page"), b"here")
        self.expect_quiet(run, before)

    def test_a_connection_is_kept_for_one_host(self):
        run, port = self.start()
        before = run.descriptors()
        self.web.put("a", b"A")
        self.web.put("b", b"B")
        out = self.curl(port, "-w", "%{num_connects}\n", f"{self.site}/a", f"{self.site}/b")
        self.assertEqual(out, b"A1\nB0\n")
        # The second request passes as the client wrote it; the server is told its own URL.
        self.assertEqual(self.web.requests(2), ["GET /a HTTP/1.1", f"GET {self.site}/b HTTP/1.1"])
        self.expect_quiet(run, before)

    def test_a_later_request_for_another_host_goes_to_the_first(self):
        run, port = self.start()
        before = run.descriptors()
        self.web.put("a", b"A")
        with socket.create_connection(("127.0.0.1", port)) as client:
            client.settimeout(10)
            client.sendall(f"GET {self.site}/a HTTP/1.1\r\nHost: x\r\n\r\n".encode())
            reader = client.makefile("rb")
            self.assertIn(b"200", reader.readline())
            client.sendall(b"GET http://elsewhere.invalid/a HTTP/1.1\r\nHost: x\r\nConnection: close\r\n\r\n")
            self.assertTrue(reader.read().endswith(b"A"))
        self.assertEqual(self.web.requests(2)[1], "GET http://elsewhere.invalid/a HTTP/1.1")
        self.expect_quiet(run, before)

    def test_two_instances_in_a_chain(self):
        near_page = payload(500_000)
        self.web.put("page", near_page)
        far, far_port = self.start()
        near, near_port = self.start(
            ConnectToProxy="True", ConnectToPort="False", Proxy="127.0.0.1", Port=far_port
        )
        before = near.descriptors(), far.descriptors()
        self.assertEqual(sha(self.curl(near_port, f"{self.site}/page")), sha(near_page))
        # The request was rewritten once, by the far one.
        self.assertEqual(self.web.requests(1), ["GET /page HTTP/1.1"])
        self.expect_quiet(near, before[0])
        self.expect_quiet(far, before[1])

    def test_what_the_client_sees_of_failures(self):
        run, port = self.start()
        before = run.descriptors()
        unknown = "http://no-such-host.invalid/"
        # 52: the server closed without a word.
        self.curl(port, unknown, expect=52)
        run.store.set("Protocols\\HTTP", "NoSiteError", "HTTP/1.0 504 Gone\r\n\r\nno such site")
        self.assertEqual(self.curl(port, unknown), b"no such site")
        self.curl(port, f"http://127.0.0.1:{free_port()}/", expect=52)
        with socket.create_connection(("127.0.0.1", port)) as client:
            client.settimeout(10)
            client.sendall(b"GET http://127.0.0.1:70000/ HTTP/1.0\r\n\r\n")
            self.assertEqual(client.recv(100), b"")
        told = b"HTTP/1.0 504 Gone\r\n\r\nno such site"
        self.expect_quiet(run, before, no_site=(b"", told))

    def test_a_request_line_in_two_pieces_has_no_destination(self):
        run, port = self.start()
        before = run.descriptors()
        run.store.set("Protocols\\HTTP", "NoSiteError", "no such site")
        with socket.create_connection(("127.0.0.1", port)) as client:
            client.settimeout(20)
            client.sendall(f"GET {self.site}/ ".encode())
            received = b""
            while data := client.recv(1000):
                received += data
            self.assertEqual(received, b"no such site")
        self.assertEqual(self.web.requests(0), [])
        self.expect_quiet(run, before, no_site=[b"no such site"])

    def test_clients_that_leave_without_a_word(self):
        run, port = self.start()
        before = run.descriptors()
        for _ in range(50):
            socket.create_connection(("127.0.0.1", port)).close()
        wait_for(lambda: len(history.parse_so_far(run.log)) == 100, 20, "all to have come and gone")
        self.expect_quiet(run, before)

    def test_chromium_loads_a_page_with_pictures(self):
        chromium = veltrane.which("chromium", "chromium-browser", "google-chrome")
        if not chromium:
            self.skipTest("Chromium is not installed")
        run, port = self.start()
        before = run.descriptors()
        pictures = range(12)
        for number in pictures:
            svg = f'<svg xmlns="http://www.w3.org/2000/svg" width="{10 + number}" height="9"><rect width="9" height="9"/></svg>'
            self.web.put(f"{number}.svg", svg.encode())
        tags = "".join(f'<img src="/{number}.svg">' for number in pictures)
        script = "onload = () => document.title = [...document.images].map(i => i.naturalWidth).join()"
        self.web.put("index.html", f"<html><body>{tags}<script>{script}</script></body></html>".encode())
        with tempfile.TemporaryDirectory() as folder:
            dom = self.run_client(
                chromium,
                "--headless",
                "--no-sandbox",
                "--disable-gpu",
                f"--user-data-dir={folder}",
                f"--proxy-server=http=127.0.0.1:{port};https=127.0.0.1:{free_port()}",
                # The page goes through the proxy, loopback or not. What the browser wants for itself does not,
                # and it finds no host for that.
                "--proxy-bypass-list=<-loopback>;*.com",
                "--host-resolver-rules=MAP * ~NOTFOUND, EXCLUDE 127.0.0.1",
                "--no-first-run",
                "--disable-sync",
                "--disable-default-apps",
                "--disable-domain-reliability",
                "--disable-background-networking",
                "--disable-component-update",
                "--disable-client-side-phishing-detection",
                "--disable-features=NetworkTimeServiceQuerying,OptimizationHints,MediaRouter",
                "--virtual-time-budget=10000",
                "--dump-dom",
                f"{self.site}/index.html",
                environment={"HOME": folder},
            )
        widths = ",".join(str(10 + number) for number in pictures)
        self.assertIn(f"<title>{widths}</title>", dom.decode())
        paths = {line.split()[1].removeprefix(self.site) for line in self.web.requests(1 + len(pictures))}
        self.assertLessEqual({f"/{number}.svg" for number in pictures} | {"/index.html"}, paths)
        self.expect_quiet(run, before)


if __name__ == "__main__":
    veltrane.main()

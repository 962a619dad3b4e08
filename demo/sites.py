"""Small real servers for the clients of the demo, each on a loopback address of its own."""

import http.server
import pathlib
import socket
import socketserver
import threading

PAGES = {
    "/": b"<h1>The corner shop</h1>\n<p>Open all day. <a href='/news'>News</a>, <a href='/catalogue'>catalogue</a>.</p>\n",
    "/news": b"<h1>News of today</h1>\n" + b"<p>Fresh apples have come in, and so have pears.</p>\n" * 20,
    "/catalogue": b"<h1>Catalogue</h1>\n" + b"<tr><td>Apples</td><td>3.20 a kilo</td><td>from the valley</td></tr>\n" * 200,
}
MESSAGES = [
    b"From: ann@corner.invalid\r\nTo: demo@corner.invalid\r\nSubject: Apples\r\n\r\nTen crates by Friday, please.\r\n",
    b"From: bob@corner.invalid\r\nTo: demo@corner.invalid\r\nSubject: Pears\r\n\r\nNone left until next week.\r\n",
]
FILES = {"prices.txt": b"apples;3.20\r\npears;4.10\r\n" * 30}


class Site(socketserver.ThreadingTCPServer):
    """Serves in the background from its making to close()."""

    allow_reuse_address = True
    daemon_threads = True
    block_on_close = False

    def __init__(self, address, handler):
        super().__init__((address, 0), handler)
        self.address, self.port = self.server_address
        threading.Thread(target=self.serve_forever, args=(0.05,), daemon=True).start()

    def handle_error(self, request, client_address):
        """A connection that Veltrane ends on purpose is no news."""

    def close(self):
        self.shutdown()
        self.server_close()


class Web(http.server.BaseHTTPRequestHandler):
    def do_GET(self):
        page = PAGES.get(self.path)
        self.answer(200 if page else 404, page or b"<h1>Not found</h1>\n")

    def do_POST(self):
        self.rfile.read(int(self.headers.get("Content-Length", 0)))
        self.answer(200, b"<p>Thank you for your order.</p>\n")

    def answer(self, status, content):
        self.send_response(status)
        self.send_header("Content-Type", "text/html")
        self.send_header("Content-Length", str(len(content)))
        self.end_headers()
        self.wfile.write(content)

    def log_message(self, *_):
        pass


class Lines(socketserver.StreamRequestHandler):
    """A conversation in lines: each command has an operation of its name, which gives the answer, or None at the end."""

    greeting = None
    unknown = ""

    def say(self, text):
        self.wfile.write(text.encode() + b"\r\n")

    def handle(self):
        if self.greeting:
            self.say(self.greeting)
        while line := self.rfile.readline():
            word, _, rest = line.decode("latin-1").strip().partition(" ")
            answer = getattr(self, "do_" + word.upper(), lambda _: self.unknown)(rest)
            if answer is None:
                return
            self.say(answer)


class Mail(Lines):
    """POP3 (RFC 1939) with two messages for whoever asks."""

    greeting = "+OK the corner's mail"
    unknown = "-ERR what?"

    def do_USER(self, _):
        return "+OK"

    do_PASS = do_USER

    def do_STAT(self, _):
        return f"+OK {len(MESSAGES)} {sum(map(len, MESSAGES))}"

    def do_LIST(self, _):
        sizes = "".join(f"{number} {len(text)}\r\n" for number, text in enumerate(MESSAGES, 1))
        return f"+OK\r\n{sizes}."

    def do_RETR(self, number):
        return "+OK\r\n" + MESSAGES[int(number) - 1].decode() + "."

    def do_QUIT(self, _):
        self.say("+OK goodbye")


class Files(Lines):
    """FTP (RFC 959) with passive transfers, one at a time."""

    greeting = "220 the corner's files"
    unknown = "502 not here"

    def do_USER(self, _):
        return "331 and the password?"

    def do_PASS(self, _):
        return "230 welcome"

    def do_TYPE(self, _):
        return "200 as you like"

    def do_PASV(self, _):
        address = self.server.address
        self.data = socket.create_server((address, 0))
        self.data.settimeout(10)
        high, low = divmod(self.data.getsockname()[1], 256)
        return f"227 Entering Passive Mode ({address.replace('.', ',')},{high},{low})"

    def transfer(self, move):
        self.say("150 here it comes")
        with self.data, self.data.accept()[0] as connection:
            connection.settimeout(10)
            move(connection)
        return "226 done"

    def do_RETR(self, name):
        content = FILES.get(pathlib.PurePath(name).name)
        return self.transfer(lambda connection: connection.sendall(content)) if content else "550 no such file"

    def do_STOR(self, _):
        def take(connection):
            while connection.recv(65536):
                pass

        return self.transfer(take)

    def do_QUIT(self, _):
        self.say("221 goodbye")


class Orders(Lines):
    """A protocol of one's own: every line is acknowledged."""

    unknown = "OK noted"

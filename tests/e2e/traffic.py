"""A server that answers and clients that talk to it through the program, for tests that look at windows."""

import contextlib
import socket
import threading
import time

from veltrane import free_port

TEXT = b"GET /news/today HTTP/1.1\r\nHost: example.invalid\r\n\r\n"


def serve(listener):
    """Answers each piece with itself, in upper case, on any number of connections."""

    def answer(connection):
        with connection, contextlib.suppress(OSError):
            while data := connection.recv(65536):
                connection.sendall(data.upper())

    with contextlib.suppress(OSError):
        while True:
            threading.Thread(target=answer, args=(listener.accept()[0],), daemon=True).start()


class Traffic:
    """Three ports: the first two lead to the server, the third does not listen."""

    def __init__(self, store):
        self.server = socket.create_server(("127.0.0.1", 0))
        self.ports = [free_port(), free_port()]
        self.idle = free_port()
        names = ["Web shop", "Orders database"]
        for port, name in zip(self.ports, names):
            store.add_port(port, description=name, server="127.0.0.1", server_port=self.server.getsockname()[1])
        store.add_port(self.idle, protocol="<Don't use>", description="Mail")
        threading.Thread(target=serve, args=(self.server,), daemon=True).start()
        self.done = threading.Event()
        self.clients = []
        self.replies = 0

    def start(self, talkers=2, pause=0.1, closed=4):
        """Some connections that talk and end, and talkers that go on until the end."""
        for number in range(closed):
            with self.connect(number % 2) as client:
                client.sendall(TEXT * (number + 1))
                client.recv(65536)
        for number in range(talkers):
            self.clients.append(threading.Thread(target=self.talk, args=(number % 2, pause), daemon=True))
            self.clients[-1].start()

    def connect(self, which=0):
        return socket.create_connection(("127.0.0.1", self.ports[which]), timeout=10)

    def talk(self, which, pause):
        with contextlib.suppress(OSError), self.connect(which) as client:
            while not self.done.is_set():
                client.sendall(TEXT)
                client.recv(65536)
                self.replies += 1
                time.sleep(pause)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.done.set()
        for client in self.clients:
            client.join(15)
        self.server.close()

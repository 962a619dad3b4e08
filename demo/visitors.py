"""Clients that visit their sites through Veltrane again and again. What fails on the way is what Veltrane is there to
show, so it ends the visit and no more."""

import contextlib
import ftplib
import http.client
import io
import poplib
import socket
import threading

HERE = "127.0.0.1"
PATIENCE = 20  # seconds


class Visitor(threading.Thread):
    """Calls visit() every so many seconds until the end is told."""

    def __init__(self, visit, pause, end):
        super().__init__(daemon=True)
        self.visit, self.pause, self.end = visit, pause, end

    def run(self):
        while not self.end.is_set():
            with contextlib.suppress(OSError, EOFError, http.client.HTTPException, ftplib.Error, poplib.error_proto):
                self.visit()
            self.end.wait(self.pause)


def browse(port, site):
    """A browser: each page over a connection of its own, then an order."""
    for path in ("/", "/news", "/catalogue", None):
        proxy = http.client.HTTPConnection(HERE, port, timeout=PATIENCE)
        with contextlib.closing(proxy):
            url = f"http://{site.address}:{site.port}"
            if path:
                proxy.request("GET", url + path, headers={"Connection": "close"})
            else:
                proxy.request("POST", url + "/order", body=b"item=apples&kilos=12", headers={"Connection": "close"})
            proxy.getresponse().read()


def fetch_mail(port, site):
    """A mail program: the server stands in the user's name."""
    mail = poplib.POP3(HERE, port, timeout=PATIENCE)
    with contextlib.closing(mail):
        mail.user(f"demo#{site.address}")
        mail.pass_("secret")
        for number in range(1, mail.stat()[0] + 1):
            mail.retr(number)
        mail.quit()


def exchange_files(port, site):
    """An FTP client: site and port stand in the user's name."""
    with ftplib.FTP(timeout=PATIENCE) as ftp:
        ftp.connect(HERE, port)
        ftp.login(f"demo@{site.address}:{site.port}", "secret")
        ftp.retrbinary("RETR prices.txt", lambda _: None)
        ftp.storbinary("STOR orders.txt", io.BytesIO(b"apples;12\r\n" * 20))


def order(port, end):
    """A program of one's own, which stays connected."""
    with socket.create_connection((HERE, port), timeout=PATIENCE) as connection:
        number = 0
        while not end.is_set():
            number += 1
            connection.sendall(f"ORDER {number}: apples, 12 kilos\n".encode())
            if not connection.recv(1024):
                return
            end.wait(1.5)


def ask_archive(port):
    """Nobody is there."""
    with socket.create_connection((HERE, port), timeout=PATIENCE) as connection:
        connection.recv(1)

"""Pictures of the connection diagram: of connections that real clients and servers make, in the main window, at
100 % and 200 %, and of every kind of event, painted by make_diagram.

    python3 tests/e2e/diagram_pictures.py PATH-TO-VELTRANE FOLDER
"""

import contextlib
import http.server
import os
import pathlib
import socket
import subprocess
import sys
import threading
import time

import veltrane
from pictures import Window
from veltrane import Screen, Veltrane, free_port

WIDTH = 1024
HEIGHTS = {"dangled": 1320}  # so that all rows are seen
USUAL_HEIGHT = 860
PORT, PEER, CONNECTION = 1, 2, 3  # rows of the tree, once the ones above are open


class WebServer(http.server.ThreadingHTTPServer):
    def __init__(self):
        class Answer(http.server.BaseHTTPRequestHandler):
            wbufsize = -1  # head and page go out at once

            def do_GET(self):
                content = b"<h1>News of today</h1>\n" * 200
                self.send_response(200)
                self.send_header("Content-Length", str(len(content)))
                self.end_headers()
                self.wfile.write(content)

            def log_message(self, *_):
                pass

        super().__init__(("127.0.0.1", 0), Answer)
        threading.Thread(target=self.serve_forever, daemon=True).start()


def echo():
    """A server that answers in upper case, until the client leaves."""
    listener = socket.create_server(("127.0.0.1", 0))

    def answer():
        with contextlib.suppress(OSError):
            while True:
                connection, _ = listener.accept()
                with connection, contextlib.suppress(OSError):
                    while data := connection.recv(65536):
                        connection.sendall(data.upper())

    threading.Thread(target=answer, daemon=True).start()
    return listener


def http_request(run, port):
    """A browser asks for a page through an HTTP port, and leaves."""
    web = WebServer()
    run.store.add_port(port, protocol="HTTP", description="Web")
    yield
    with socket.create_connection(("127.0.0.1", port), timeout=20) as client:
        site = f"127.0.0.1:{web.server_address[1]}"
        client.sendall(f"GET http://{site}/news HTTP/1.0\r\nHost: {site}\r\n\r\n".encode())
        while client.recv(65536):
            pass
    yield
    web.shutdown()
    web.server_close()


def dangled(run, port):
    """What the client sends within the dangle is held, and goes on behind it."""
    server = echo()
    run.store.add_port(port, description="Orders", server="127.0.0.1", server_port=server.getsockname()[1])
    schedule = {
        "chkDangleConnections": 1,
        "txtDangleNthConnection": 1,
        "txtDangleStartTime": 300,
        "txtDangleStopTime": 1200,
        **{f"optDangleDirections_{i}": str(i == 2) for i in range(3)},
        **{f"optDangleClose_{i}": str(i == 1) for i in range(3)},
    }
    for key, value in schedule.items():
        run.store.set("FailureSim", key, value)
    yield
    with socket.create_connection(("127.0.0.1", port), timeout=20) as client:
        client.sendall(b"one order before\n")
        client.recv(65536)
        time.sleep(0.7)
        client.sendall(b"one order that waits\n" * 20)
        client.recv(65536)
    yield
    server.close()


def rejected(run, port):
    """The proxy refuses a connection, as it was told to."""
    run.store.add_port(port, description="Orders", server="127.0.0.1", server_port=free_port())
    run.store.set("FailureSim", "chkRefuseConnections", 1)
    run.store.set("FailureSim", "txtRefuseNthConnection", 1)
    yield
    with contextlib.suppress(OSError), socket.create_connection(("127.0.0.1", port), timeout=20) as client:
        client.recv(1)
    yield


def refused(run, port):
    """Nobody listens where the proxy wants to connect to."""
    run.store.add_port(port, description="Orders", server="127.0.0.1", server_port=free_port())
    yield
    with contextlib.suppress(OSError), socket.create_connection(("127.0.0.1", port), timeout=20) as client:
        client.recv(1)
    yield


def throttled(run, port):
    """A slow line towards the client."""
    server = echo()
    run.store.add_port(port, description="Orders", server="127.0.0.1", server_port=server.getsockname()[1])
    for key, value in {"chkThrottleS2CData": 1, "txtS2CBytes": 100, "txtS2CPeriod": 200}.items():
        run.store.set("FailureSim", key, value)
    yield
    with socket.create_connection(("127.0.0.1", port), timeout=20) as client:
        client.sendall(b"one order\n" * 40)
        time.sleep(1.5)
    yield


SCENES = {"http": http_request, "dangled": dangled, "rejected": rejected, "refused": refused, "throttled": throttled}


def take(folder, name, scene, scale, animate=True):
    size = (WIDTH, HEIGHTS.get(name, USUAL_HEIGHT))
    screen = Screen(f"{(size[0] + 76) * scale}x{(size[1] + 100) * scale}x24")
    port = free_port()
    os.environ.update(DISPLAY=screen.display, QT_SCALE_FACTOR=str(scale))
    try:
        with Veltrane(platform="xcb") as run:
            steps = scene(run, port)
            next(steps)
            # The diagram has the pane's room, too.
            run.store.set("RealTime", "ShowRealTimeData", 0)
            run.store.set("Options", "AnimateConnectionDiagram", int(animate))
            run.start(listening=[port])
            next(steps)
            time.sleep(0.5)
            window = Window(screen, scale)
            screen.tool("windowsize", "--sync", window.id, *(str(length * scale) for length in size))
            for row in (PORT, PEER, CONNECTION):
                window.tree_row(row)
                time.sleep(0.3)
            time.sleep(0.8)
            window.picture(folder / f"diagram-{name}-{scale * 100}.png")
            next(steps, None)
            if run.stop()[0] != 0:
                raise AssertionError("the program did not end well")
    finally:
        for key in ("QT_SCALE_FACTOR", "DISPLAY"):
            os.environ.pop(key, None)
        screen.close()


def main():
    os.environ["VELTRANE"] = str(pathlib.Path(sys.argv[1]).resolve())
    folder = pathlib.Path(sys.argv[2])
    folder.mkdir(parents=True, exist_ok=True)
    painter = pathlib.Path(veltrane.program()).with_name("make_diagram")
    subprocess.run([painter, folder, veltrane.program()], check=True)
    for name in sys.argv[3:] or SCENES:
        for scale in (1, 2):
            take(folder, name, SCENES[name], scale)


if __name__ == "__main__":
    main()

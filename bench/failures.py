#!/usr/bin/env python3
"""Measures by the wall clock how well failures keep their times, and prints a table.

    failures.py [--rounds N] [--build FOLDER]

Terminations: from just before the client connects, so that the making of both connections counts as lateness,
to the end that the client sees. Throttling:
how long 400,000 bytes take at 8,000 bytes every 100 ms, against the 49 periods between the first piece and the
last. Dangling: from just before the client connects to the arrival of what was held.
"""

import argparse
import os
import pathlib
import socket
import statistics
import sys
import threading
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))
from compare import ROOT, machine, veltrane  # noqa: E402

TRANSFER = 400_000
PIECE, PERIOD = 8000, 100
COMPUTED = (TRANSFER // PIECE - 1) * PERIOD / 1000


def options(group, count, chosen):
    return {f"{group}_{i}": str(i == chosen) for i in range(count)}


def throttle(*directions):
    schedule = {}
    for direction in directions:
        schedule.update(
            {
                f"chkThrottle{direction}Data": 1,
                f"txt{direction}Bytes": PIECE,
                f"txt{direction}Period": PERIOD,
            }
        )
    return schedule


class Program:
    """The program with a schedule, and a server behind it."""

    def __init__(self, schedule):
        self.server = socket.create_server(("127.0.0.1", 0), backlog=512)
        self.run = veltrane.Veltrane()
        for key, value in schedule.items():
            self.run.store.set("FailureSim", key, value)
        self.port = veltrane.free_port()
        self.run.store.add_port(self.port, server="127.0.0.1", server_port=self.server.getsockname()[1])
        self.run.start(listening=[self.port])

    def connect(self):
        client = socket.create_connection(("127.0.0.1", self.port))
        server, _ = self.server.accept()
        return client, server

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.run.stop()
        self.run.__exit__()
        self.server.close()


def receive(end, count):
    """When the last of count bytes, or the end of the stream, came, and how many bytes did."""
    got = 0
    while got < count:
        try:
            piece = end.recv(65536)
        except ConnectionResetError:
            break
        if not piece:
            break
        got += len(piece)
    return time.monotonic(), got


def terminations(graceful, rounds):
    """Lateness in ms of each of 20 ends a round."""
    late = []
    with Program(
        {
            "chkTerminateConnections": 1,
            "txtTerminateNthConnection": 2,
            "txtTerminateTime": 300,
            **options("optGracefulTermination", 2, 0 if graceful else 1),
        }
    ) as program:
        for _ in range(20 * rounds):
            kept = program.connect()
            start = time.monotonic()
            client, server = program.connect()
            end, _ = receive(client, 1)
            late.append((end - start) * 1000 - 300)
            for connection in (*kept, client, server):
                connection.close()
    return late


def send_and_receive(sender, receiver, seconds):
    data = os.urandom(TRANSFER)
    start = time.monotonic()
    feeder = threading.Thread(target=sender.sendall, args=(data,))
    feeder.start()
    end, got = receive(receiver, TRANSFER)
    feeder.join()
    if got != TRANSFER:
        raise AssertionError(f"{got} bytes of {TRANSFER}")
    seconds.append(end - start)


def transfers(directions, rounds):
    """Seconds of each transfer."""
    seconds = []
    with Program(throttle(*directions)) as program:
        for _ in range(rounds):
            client, server = program.connect()
            ways = {"S2C": (server, client), "C2S": (client, server)}
            threads = [
                threading.Thread(target=send_and_receive, args=(*ways[direction], seconds))
                for direction in directions
            ]
            for thread in threads:
                thread.start()
            for thread in threads:
                thread.join()
            client.close()
            server.close()
    return seconds


def dangles(rounds):
    """Lateness in ms of what was held from 500 ms on for 1 s, in each direction."""
    late = []
    with Program(
        {
            "chkDangleConnections": 1,
            "txtDangleNthConnection": 1,
            "txtDangleStartTime": 500,
            "txtDangleStopTime": 1000,
        }
    ) as program:
        for _ in range(rounds):
            start = time.monotonic()
            client, server = program.connect()
            time.sleep(0.75)
            client.sendall(b"held")
            server.sendall(b"held")
            for end in (server, client):
                arrived, _ = receive(end, 4)
                late.append((arrived - start) * 1000 - 1500)
            client.close()
            server.close()
    return late


def row(name, wanted, values, digits):
    cells = [f"{value:,.{digits}f}" for value in (min(values), statistics.median(values), max(values))]
    return f"| {name} | {len(values)} | {wanted} | " + " | ".join(cells) + " |"


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--rounds", type=int, default=5)
    parser.add_argument("--build", default=str(ROOT / "build" / "release"))
    arguments = parser.parse_args()
    os.environ["VELTRANE"] = str(pathlib.Path(arguments.build) / "bin" / "Veltrane")
    rounds = arguments.rounds

    time_wanted = f"{COMPUTED:.1f} s"
    lines = [
        "| Figure | Count | Due | Least | Median | Greatest |",
        "|---|---|---|---|---|---|",
        row("graceful termination, ms late", "300 ms", terminations(True, rounds), 2),
        row("forced termination, ms late", "300 ms", terminations(False, rounds), 2),
        row("throttled to the client, s", time_wanted, transfers(["S2C"], rounds), 3),
        row("throttled to the server, s", time_wanted, transfers(["C2S"], rounds), 3),
        row("throttled both ways at once, s", time_wanted, transfers(["S2C", "C2S"], rounds), 3),
        row("end of a dangle, ms late", "1,500 ms", dangles(rounds), 2),
    ]
    print(f"{machine()}, {rounds} rounds, load average {os.getloadavg()[0]:.1f}\n")
    print("\n".join(lines))


if __name__ == "__main__":
    main()

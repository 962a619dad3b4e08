#!/usr/bin/env python3
"""Long days: many connections at once, many in a row, and mixed traffic under every failure of the schedule.

    long.py [--at-once 5000] [--in-a-row 200000] [--kept 70000] [--mixed 3600] [--build FOLDER]

Each part is run when its count or time is not 0, and prints what it measured; a part that finds something wrong
ends the script. tests/e2e/load_test.py runs smaller ones of each.
"""

import argparse
import contextlib
import os
import pathlib
import random
import resource
import socket
import struct
import sys
import threading
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
sys.path.insert(0, str(ROOT / "tests" / "e2e"))
import veltrane  # noqa: E402

WORD = b"8 bytes."
# The share of conversations that come to their end although one in ten is refused and three in ten are terminated.
LEAST_WHOLE = 0.5
LETTERS = bytes.maketrans(b"0123456789abcdef", b"ghijklmnopqrstuv")
# The schedule with everything in it, and short times. What is dangled goes on in the end, so nothing is dropped.
EVERY_FAILURE = {
    "chkRefuseConnections": 1,
    "optRefuse_0": "False",
    "optRefuse_1": "True",
    "txtRefuseNPercOfConnections": 10,
    "chkTerminateConnections": 1,
    "optClose_0": "False",
    "optClose_1": "True",
    "txtTerminateNPercOfConnections": 30,
    "optCloseTime_0": "False",
    "optCloseTime_1": "True",
    "txtTerminateTimeFrom": 50,
    "txtTerminateTimeTo": 2000,
    "chkThrottleS2CData": 1,
    "txtS2CBytes": 20000,
    "txtS2CPeriod": 50,
    "chkThrottleC2SData": 1,
    "txtC2SBytes": 30000,
    "txtC2SPeriod": 50,
    "chkDangleConnections": 1,
    "optDangle_0": "False",
    "optDangle_1": "True",
    "txtDangleNPercOfConnections": 30,
    "txtDangleStartTime": 200,
    "txtDangleStopTime": 300,
}


def is_sanitized():
    """Whether the program keeps what it has freed for a while, so that a use of it would be seen."""
    return b"__asan_init" in pathlib.Path(veltrane.program()).read_bytes()


def read(end, count):
    """That many bytes, or fewer when the stream ends."""
    data = b""
    while len(data) < count:
        piece = end.recv(count - len(data))
        if not piece:
            break
        data += piece
    return data


@contextlib.contextmanager
def usual_descriptors():
    """The limit that sessions begin with. The program is to help itself to more."""
    soft, hard = resource.getrlimit(resource.RLIMIT_NOFILE)
    resource.setrlimit(resource.RLIMIT_NOFILE, (min(1024, hard), hard))
    yield
    resource.setrlimit(resource.RLIMIT_NOFILE, (hard, hard))


@contextlib.contextmanager
def program(schedule=None, options=None, protocols=("Pass Through",)):
    """A run with a port for each protocol, which leads to a server of its own; gives run, ports and servers."""
    with contextlib.ExitStack() as stack:
        run = stack.enter_context(veltrane.Veltrane())
        ports, servers = [], []
        for protocol in protocols:
            servers.append(stack.enter_context(socket.create_server(("127.0.0.1", 0), backlog=4096)))
            ports.append(veltrane.free_port())
            run.store.add_port(ports[-1], protocol=protocol)
            section = f"Protocols\\{protocol}\\Port {ports[-1]}"
            run.store.set(section, "Server", "127.0.0.1")
            run.store.set(section, "Port", servers[-1].getsockname()[1])
        for section, values in (("FailureSim", schedule), ("Options", options)):
            for key, value in (values or {}).items():
                run.store.set(section, key, value)
        with usual_descriptors():
            run.start(listening=ports)
        yield run, ports, servers


def finish(run, descriptors):
    """Everything is closed again, and the end is clean; gives what was reported."""
    veltrane.wait_for(lambda: run.descriptors() == descriptors, 60, "all sockets to be closed")
    code, output = run.stop(seconds=60)
    if code != 0:
        raise AssertionError(output)
    return output.splitlines()


def at_once(count):
    """So many connections that stand at the same time, each of which then carries something both ways."""
    with program() as (run, [port], [server]):
        before = run.descriptors()
        began = time.monotonic()
        clients, servers = [], []
        for _ in range(count):
            clients.append(socket.create_connection(("127.0.0.1", port), timeout=60))
            servers.append(server.accept()[0])
        made = time.monotonic() - began
        for ends in (clients, servers):
            others = {id(clients): servers, id(servers): clients}[id(ends)]
            for number, end in enumerate(ends):
                end.sendall(number.to_bytes(8, "big"))
            # The accepted order is that of the requests, so each end knows its number.
            got = sorted(int.from_bytes(read(end, 8), "big") for end in others)
            if got != list(range(count)):
                raise AssertionError("not every connection carried its own")
        memory = run.resident()
        for end in clients + servers:
            end.close()
        told = finish(run, before)
    if told:
        raise AssertionError(told)
    return {"connections at once": count, "made in s": round(made, 1), "memory in MB": round(memory)}


def in_a_row(count, kept=False):
    """One connection after the other. With kept no history is ever purged, and the keys run out at 65,536."""
    with program(options={"Discard": 0} if kept else None) as (run, [port], [server]):
        before = run.descriptors()
        threading.Thread(target=echo_in_a_row, args=(server,), daemon=True).start()
        began = time.monotonic()
        samples, served = [], 0
        for number in range(count):
            served += exchange_word(port)
            if number % max(1, count // 10) == 0:
                samples.append(round(run.resident(), 1))
        seconds = time.monotonic() - began
        samples.append(round(run.resident(), 1))
        told = finish(run, before)
    expected = min(count, 65536) if kept else count
    if served != expected:
        raise AssertionError(f"{served} served instead of {expected}")
    # The terminal, which nobody reads meanwhile, drops what it has no room for.
    if bool(told) != (expected < count) or any("This key is already in use" not in line for line in told):
        raise AssertionError(told[:5])
    # The first tenth fills what is kept; from there on nothing may grow.
    if not kept and not is_sanitized() and samples[-1] - samples[1] > 8:
        raise AssertionError(f"memory grew: {samples}")
    return {"connections in a row": count, "kept": kept, "served": served, "a second": round(count / seconds), "MB": samples}


def echo_in_a_row(server):
    with contextlib.suppress(OSError):
        while True:
            connection = server.accept()[0]
            with connection, contextlib.suppress(OSError):
                connection.settimeout(60)
                connection.sendall(read(connection, len(WORD)))
                connection.recv(1)


def exchange_word(port):
    """Whether the connection carried a word there and back."""
    with socket.create_connection(("127.0.0.1", port), timeout=60) as client:
        try:
            client.sendall(WORD)
            return read(client, len(WORD)) == WORD
        except ConnectionError:
            return False


# What the client says first, with its server's port; what the server says first; and what the client has got when
# the rest is an echo.
OPENINGS = {
    "Pass Through": (b"", b"", b""),
    "HTTP": (b"GET http://127.0.0.1:%d/ HTTP/1.0\r\n\r\n", b"", b"\r\n\r\n"),
    "HTTPS": (b"CONNECT 127.0.0.1:%d HTTP/1.1\r\n\r\n", b"", b" 1.1 \r\n\r\n"),
    "POP3": (b"USER Fred#127.0.0.1\r\n", b"+OK\r\n", b"USER Fred\r\n"),
    "FTP": (b"USER a@127.0.0.1:%d\r\n", b"220 here\r\n", b"USER a\r\n"),
}


class Mixed:
    """Clients of every protocol that come and go, and servers that send back what they get."""

    def __init__(self, ports, servers):
        self.end = threading.Event()
        self.conversations = 0
        self.whole = dict.fromkeys(OPENINGS, 0)
        self.begun = dict.fromkeys(OPENINGS, 0)
        self.bytes = 0
        self.wrong = []
        self.lock = threading.Lock()
        self.roads = []
        for port, server, (protocol, (hello, greeting, ready)) in zip(ports, servers, OPENINGS.items()):
            if b"%d" in hello:
                hello %= server.getsockname()[1]
            self.roads.append((protocol, port, hello, ready))
            threading.Thread(target=self.serve, args=(server, greeting), daemon=True).start()

    def serve(self, server, greeting):
        with contextlib.suppress(OSError):
            while True:
                answer = threading.Thread(target=self.answer, args=(server.accept()[0], greeting), daemon=True)
                answer.start()

    def answer(self, connection, greeting):
        with connection, contextlib.suppress(OSError):
            connection.settimeout(30)
            connection.sendall(greeting)
            while data := connection.recv(65536):
                connection.sendall(data)

    def talk(self, seed):
        dice = random.Random(seed)
        while not self.end.is_set():
            protocol, *road = dice.choice(self.roads)
            whole = False
            with contextlib.suppress(OSError):
                whole = self.converse(dice, *road)
            with self.lock:
                self.conversations += 1
                self.begun[protocol] += 1
                self.whole[protocol] += whole

    def shares(self):
        """Of each protocol, how much of its conversations had every echo whole."""
        return {name: round(self.whole[name] / max(1, begun), 2) for name, begun in self.begun.items()}

    def converse(self, dice, port, hello, ready):
        """Whether every echo was whole."""
        with socket.create_connection(("127.0.0.1", port), timeout=10) as client:
            client.sendall(hello)
            if not read_until(client, ready):
                return False
            for _ in range(dice.randrange(1, 10)):
                # Letters: no piece may look like a line that a handler takes for itself.
                text = dice.randbytes(dice.choice((1, 100, 8192, 100_000))).hex().encode().translate(LETTERS)
                client.sendall(text)
                got = read(client, len(text))
                if not text.startswith(got):
                    self.wrong.append((port, len(got)))
                with self.lock:
                    self.bytes += len(got)
                if len(got) < len(text):
                    return False
            if dice.random() < 0.3:
                client.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
        return True


def read_until(end, mark):
    """Reads byte by byte up to the mark; False when the stream ends before."""
    data = b""
    while not data.endswith(mark):
        byte = end.recv(1)
        if not byte:
            return False
        data += byte
    return True


def mixed(seconds, talkers=24):
    """Traffic of all protocols for so long, with every failure on."""
    with program(EVERY_FAILURE, protocols=tuple(OPENINGS)) as (run, ports, servers):
        before = run.descriptors()
        traffic = Mixed(ports, servers)
        threads = [threading.Thread(target=traffic.talk, args=(seed,), daemon=True) for seed in range(talkers)]
        for thread in threads:
            thread.start()
        samples = []
        began = time.monotonic()
        for step in range(1, 11):
            time.sleep(max(0.0, began + seconds * step / 10 - time.monotonic()))
            samples.append(round(run.resident(), 1))
            if run.ended():
                raise AssertionError(run.process.stdout.read().decode(errors="replace"))
        traffic.end.set()
        for thread in threads:
            thread.join(60)
        told = finish(run, before)
    if traffic.wrong:
        raise AssertionError(f"other bytes came back: {traffic.wrong[:5]}")
    if traffic.conversations < seconds or traffic.bytes == 0:
        raise AssertionError(f"only {traffic.conversations} conversations")
    if told:
        raise AssertionError(told[:5])
    shares = traffic.shares()
    if min(shares.values()) < LEAST_WHOLE:
        raise AssertionError(f"too few whole echoes: {shares}")
    # The second half may not need more than the first, but for what the allocator has not given back.
    if not is_sanitized() and max(samples[5:]) - max(samples[:5]) > 16:
        raise AssertionError(f"memory grew: {samples}")
    return {
        "mixed for s": seconds,
        "conversations": traffic.conversations,
        "MB carried": round(traffic.bytes / 1e6),
        "MB": samples,
        "whole": shares,
    }


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--at-once", type=int, default=5000)
    parser.add_argument("--in-a-row", type=int, default=200_000)
    parser.add_argument("--kept", type=int, default=70_000)
    parser.add_argument("--mixed", type=int, default=3600)
    parser.add_argument("--build", type=pathlib.Path, default=ROOT / "build" / "release")
    asked = parser.parse_args()
    os.environ["VELTRANE"] = str(asked.build / "bin" / "Veltrane")
    if asked.at_once:
        print(at_once(asked.at_once), flush=True)
    if asked.in_a_row:
        print(in_a_row(asked.in_a_row), flush=True)
    if asked.kept:
        print(in_a_row(asked.kept, kept=True), flush=True)
    if asked.mixed:
        print(mixed(asked.mixed), flush=True)


if __name__ == "__main__":
    main()

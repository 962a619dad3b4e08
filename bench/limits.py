#!/usr/bin/env python3
"""Measures what the program needs when much is asked of it: memory during a long transfer and with a reader that
stops, 5,000 connections, processor time while nothing happens, and the start. Prints a table and ends with 1 when a
figure misses what is wanted.

    limits.py [--rounds N] [--build FOLDER] [--gigabytes N]
"""

import argparse
import os
import pathlib
import statistics
import subprocess
import sys
import time

import compare
from compare import ROOT, start_veltrane, veltrane

HISTORY_MB = 1  # what the history may hold by default: 400 KB, and the events themselves
IDLE = 5000
ACTIVE = 50


class Bench:
    def __init__(self, load, server):
        self.load = load
        self.server = server

    def run(self, *arguments):
        done = subprocess.run([self.load, *map(str, arguments)], capture_output=True, text=True, check=True)
        return [float(word) for word in done.stdout.split()]

    def held(self, *arguments):
        """A load that has said that it is ready; a line on its input lets it go on."""
        process = subprocess.Popen(
            [self.load, *map(str, arguments)], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True
        )
        assert process.stdout.readline() == "ready\n"
        return process

    def start_up(self):
        """ms from the start of the process until its port listens; the splash pause comes later."""
        run = veltrane.Veltrane()
        port = veltrane.free_port()
        run.store.add_port(port, server="127.0.0.1", server_port=self.server)
        with run:
            begun = time.monotonic()
            run.start(served=False)
            while not veltrane.listens(port):
                time.sleep(0.001)
            taken = (time.monotonic() - begun) * 1000
            run.stop()
        return taken

    def long_transfer(self, gigabytes):
        """MB by which the memory has grown at most, sampled during the transfer."""
        run, port = start_veltrane(self.server)
        with run:
            before = run.resident()
            process = subprocess.Popen(
                [self.load, "bulk", str(port), "1", str(gigabytes * 1000), "down"], stdout=subprocess.PIPE
            )
            most = before
            while process.poll() is None:
                most = max(most, run.resident())
                time.sleep(0.05)
            run.stop()
        return most - before

    def stalled_reader(self, megabytes):
        """MB by which the memory has grown at most when a quick sender meets a reader that stops, with a limit of
        1 % of the machine's memory; and that limit."""
        limit = os.sysconf("SC_PHYS_PAGES") * os.sysconf("SC_PAGESIZE") / 1e6 / 100
        run, port = start_veltrane(self.server, PayloadMemoryPercent=1)
        with run:
            before = run.resident()
            process = self.held("stalled", port, megabytes)
            last = -1.0
            while run.resident() > last + 1:
                last = run.resident()
                time.sleep(0.5)
            process.communicate("go\n")
            assert process.returncode == 0
            run.stop()
        return last - before, limit

    def many_connections(self):
        """The bulk rate over 50 connections and a round trip, with 10 and with 5,000 others open; and the memory
        of one of those."""
        figures = []
        for count in (10, IDLE):
            run, port = start_veltrane(self.server)
            with run:
                self.run("connect", port, 1)
                before = run.resident()
                process = self.held("hold", port, count)
                held = run.resident()
                rate = self.run("bulk", port, ACTIVE, 2000, "down")[0]
                p50 = self.run("rtt", port, 5000, 100)[0]
                figures.append((rate, p50))
                process.communicate("go\n")
                run.stop()
        (few_rate, few_p50), (many_rate, many_p50) = figures
        return few_rate / many_rate, many_p50 / few_p50, (held - before) * 1000 / IDLE

    def idle(self):
        """Percent of one core with 1,000 open connections and the window shown, over 10 s."""
        screen = veltrane.Screen()
        try:
            os.environ["DISPLAY"] = screen.display
            run, port = start_veltrane(self.server, platform="xcb")
            with run:
                process = self.held("hold", port, 1000)
                time.sleep(3)
                spent = run.processor_seconds()
                time.sleep(10)
                percent = (run.processor_seconds() - spent) * 10
                process.communicate("go\n")
                run.stop()
        finally:
            screen.close()
        return percent


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--rounds", type=int, default=5)
    parser.add_argument("--gigabytes", type=int, default=10)
    parser.add_argument("--build", default=str(ROOT / "build" / "release"))
    options = parser.parse_args()
    os.environ["VELTRANE"] = str(pathlib.Path(options.build) / "bin" / "Veltrane")
    load = str(pathlib.Path(options.build) / "bin" / "load")
    server = veltrane.free_port()
    process = subprocess.Popen([load, "serve", str(server)])
    begun = os.getloadavg()[0]
    rows = []
    try:
        veltrane.wait_for(lambda: veltrane.listens(server), 15, "the server")
        bench = Bench(load, server)
        median = lambda measure: statistics.median(measure() for _ in range(options.rounds))  # noqa: E731
        rows.append(("start to listening, splash pause aside (ms)", median(bench.start_up), 300))
        many = [bench.many_connections() for _ in range(options.rounds)]
        for name, column, most in (
            (f"bulk over {ACTIVE} connections: rate with 10 others / with {IDLE:,}", 0, 1.3),
            (f"round trip of 100 bytes, p50: with {IDLE:,} others / with 10", 1, 1.3),
            ("memory of an idle connection (KB)", 2, 24),
        ):
            rows.append((name, statistics.median(figures[column] for figures in many), most))
        rows.append(("processor, 1,000 idle connections and the window (% of a core)", median(bench.idle), 1))
        rows.append(
            (
                f"memory grown during a transfer of {options.gigabytes} GB (MB)",
                bench.long_transfer(options.gigabytes),
                100 + HISTORY_MB,
            )
        )
        grown, limit = bench.stalled_reader(3000)
        rows.append((f"memory grown by a reader that stops, limit {limit:,.0f} MB (MB)", grown, limit + 100))
    finally:
        process.terminate()
        process.wait()
    print(f"{compare.machine()}, {options.rounds} rounds, load average {begun:.1f} at the start\n")
    print("| Figure | Median | At most |\n|---|---|---|")
    for name, value, most in rows:
        print(f"| {name} | {value:,.2f} | {most:,.0f} |" if most >= 10 else f"| {name} | {value:,.2f} | {most} |")
    return 0 if all(value <= most for _, value, most in rows) else 1


if __name__ == "__main__":
    sys.exit(main())

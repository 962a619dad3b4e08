#!/usr/bin/env python3
"""Measures the relay side by side with others, interleaved, and prints a table of medians and what is asked of them.
It ends with 1 when something is missed.

    compare.py [--rounds N] [--quick] [--build FOLDER] [--only NAME ...]
"""

import argparse
import os
import pathlib
import platform
import statistics
import subprocess
import sys
import tempfile
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
sys.path.insert(0, str(ROOT / "tests" / "e2e"))
import veltrane  # noqa: E402


class Way:
    """One way from the client to the server: nothing between, or a proxy."""

    def __init__(self, name, port, process=None, run=None):
        self.name = name
        self.port = port
        self.process = process
        self.run = run
        self.figures = {}

    def close(self):
        if self.process:
            self.process.terminate()
            self.process.wait()
        if self.run:
            self.run.stop()
            self.run.__exit__()


def haproxy(server, folder):
    port = veltrane.free_port()
    config = folder / "haproxy.cfg"
    config.write_text(
        f"""
global
  nbthread 1
  maxconn 9000
defaults
  mode tcp
  timeout connect 5s
  timeout client 1h
  timeout server 1h
listen relay
  bind 127.0.0.1:{port}
  server one 127.0.0.1:{server}
"""
    )
    process = subprocess.Popen([veltrane.which("haproxy"), "-f", str(config), "-db"], stderr=subprocess.DEVNULL)
    return Way("haproxy", port, process)


def socat(server, _folder):
    port = veltrane.free_port()
    process = subprocess.Popen(
        ["socat", "-b", "262144", f"TCP-LISTEN:{port},bind=127.0.0.1,fork,reuseaddr,nodelay,backlog=512",
         f"TCP:127.0.0.1:{server},nodelay"],
        stderr=subprocess.DEVNULL,
    )
    return Way("socat", port, process)


def mitmproxy(server, _folder):
    port = veltrane.free_port()
    process = subprocess.Popen(
        ["mitmdump", "-q", "--mode", f"reverse:http://127.0.0.1:{server}", "--listen-host", "127.0.0.1",
         "--listen-port", str(port), "--tcp-hosts", ".*"],
        stdout=subprocess.DEVNULL,
        stderr=subprocess.DEVNULL,
    )
    return Way("mitmproxy", port, process)


def start_veltrane(server, platform="offscreen", **options):
    run = veltrane.Veltrane(platform=platform)
    port = veltrane.free_port()
    run.store.add_port(port, server="127.0.0.1", server_port=server)
    for key, value in options.items():
        run.store.set("Options", key, value)
    run.start(listening=[port])
    return run, port


def ours(server, _folder):
    run, port = start_veltrane(server)
    return Way("Veltrane", port, run=run)


def picture(screen):
    """The pixels of the screen, three bytes each."""
    done = subprocess.run(["import", "-window", "root", "-depth", "8", "rgb:-"], env=screen.environment,
                          capture_output=True, check=True)
    return done.stdout


def changed(before, after):
    """The share of bytes that differ."""
    assert len(before) == len(after)
    return sum(left != right for left, right in zip(before, after)) / len(before)


class Shown:
    """Veltrane on a virtual display. Watched, its connection is selected before it gets data, with its branch open,
    the diagram shown and the pane in hex."""

    FIRST_ROW, ROW = 99, 18  # the middle of the tree's first row, and the height of one, in pixels

    def __init__(self, server, load, watched):
        self.name = "Veltrane watched" if watched else "Veltrane shown"
        self.server = server
        self.load = load
        self.watched = watched
        self.figures = {}

    def click(self, screen, row):
        screen.tool("mousemove", "120", str(self.FIRST_ROW + self.ROW * row), "click", "1")
        time.sleep(0.5)

    def watch(self, screen):
        before = picture(screen)
        # Port, server and connection, each of which unfolds the next.
        for row in (1, 2, 3):
            self.click(screen, row)
        screen.tool("key", "Right")
        time.sleep(0.5)
        # The diagram with its pictures takes the place of the grid; else nothing would be watched.
        assert changed(before, picture(screen)) > 0.05, "no connection was selected"

    def rate(self, megabytes, direction):
        screen = veltrane.Screen()
        try:
            os.environ["DISPLAY"] = screen.display
            run, port = start_veltrane(self.server, platform="xcb")
            with run:
                window = veltrane.wait_for(
                    lambda: veltrane.windows(screen.display, "^Veltrane$"), 20, "the window"
                )[0]
                screen.tool("windowactivate", "--sync", window, "windowmove", window, "0", "0")
                time.sleep(0.5)
                process = subprocess.Popen(
                    [self.load, "watched", str(port), str(megabytes), direction],
                    stdin=subprocess.PIPE,
                    stdout=subprocess.PIPE,
                    text=True,
                )
                process.stdout.readline()
                if self.watched:
                    self.watch(screen)
                output, _ = process.communicate("go\n")
                assert run.stop() == (0, "")
                return float(output)
        finally:
            screen.close()

    def measure(self, quick):
        megabytes = 400 if quick else 2000
        for direction in ("down", "up"):
            name = MB_DOWN if direction == "down" else MB_UP
            self.figures.setdefault(name, []).append(self.rate(megabytes, direction))

    def close(self):
        pass


def measure(load, way, quick):
    def run(*arguments):
        done = subprocess.run([load, *map(str, arguments)], capture_output=True, text=True, check=True)
        return [float(word) for word in done.stdout.split()]

    def beside_bulk(count):
        """The round trips of one connection while another downloads."""
        bulk = subprocess.Popen([load, "bulk", str(way.port), "1", "100000", "down"], stdout=subprocess.DEVNULL,
                                stderr=subprocess.DEVNULL)
        time.sleep(0.3)
        try:
            figures = run("rtt", way.port, count, 100)
            assert bulk.poll() is None, f"{way.name}: the bulk transfer ended too early"
            return figures
        finally:
            bulk.kill()
            bulk.wait()

    if isinstance(way, Shown):
        way.measure(quick)
        return
    megabytes = 400 if quick else 2000
    # What records byte by byte in an interpreted language would take minutes.
    if way.name == "mitmproxy":
        megabytes //= 10
    figures = {
        MB_DOWN: run("bulk", way.port, 1, megabytes, "down")[0],
        MB_UP: run("bulk", way.port, 1, megabytes, "up")[0],
        MB_FOUR: run("bulk", way.port, 4, megabytes, "down")[0],
    }
    p50, p99 = run("rtt", way.port, 2000 if quick else 20000, 100)
    figures["round trip of 100 bytes, p50 (us)"] = p50
    figures["round trip of 100 bytes, p99 (us)"] = p99
    figures["round trip beside a bulk transfer, p50 (us)"], figures["round trip beside a bulk transfer, p99 (us)"] = beside_bulk(
        300 if quick else 2000
    )
    seconds = 1 if quick else 3
    figures["new connections a second"] = run("connect", way.port, seconds)[0]
    figures["the same, 4 clients at once"] = run("connect", way.port, seconds, 4)[0]
    for name, value in figures.items():
        way.figures.setdefault(name, []).append(value)


# What is asked of the medians: the figure, its way, at least (True) or at most so many times that of another way, or
# of 1.
MB_DOWN, MB_UP, MB_FOUR = (
    "bulk down, 1 connection (MB/s)",
    "bulk up, 1 connection (MB/s)",
    "bulk down, 4 connections (MB/s)",
)
WANTED = [
    *((name, "Veltrane", True, 1.0, "haproxy") for name in (MB_DOWN, MB_UP, MB_FOUR, "new connections a second")),
    *((name, "Veltrane", True, 5.0, "mitmproxy") for name in (MB_DOWN, MB_UP)),
    *((name, "Veltrane watched", True, 0.85, "Veltrane shown") for name in (MB_DOWN, MB_UP)),
    ("round trip of 100 bytes, p50 (us)", "Veltrane", False, 1.25, "haproxy"),
    ("round trip beside a bulk transfer, p99 (us)", "Veltrane", False, 10000, None),
]


def judged(ways):
    """A line for each thing that is asked, and whether all was reached."""
    medians = {way.name: {name: statistics.median(values) for name, values in way.figures.items()} for way in ways}
    lines, reached = [], True
    for name, way, at_least, factor, other in WANTED:
        if way not in medians or (other and other not in medians):
            continue
        value = medians[way][name] / (medians[other][name] if other else 1)
        good = value >= factor if at_least else value <= factor
        reached = reached and good
        relation = f"{way} / {other}" if other else way
        lines.append(
            f"| {name}: {relation} | {value:,.2f} | {'at least' if at_least else 'at most'} {factor:,} | "
            f"{'reached' if good else 'missed'} |"
        )
    return "\n".join(["| Asked | Value | Wanted | |", "|---|---|---|---|", *lines]), reached


def table(ways):
    names = list(ways[0].figures)
    reference = next((way for way in ways if way.name == "haproxy"), ways[0])
    own = next((way for way in ways if way.name == "Veltrane"), ways[-1])
    lines = [
        "| Figure (median) | " + " | ".join(way.name for way in ways) + f" | {own.name} / {reference.name} |",
        "|---|" + "---|" * (len(ways) + 1),
    ]
    for name in names:
        medians = {way.name: statistics.median(way.figures[name]) for way in ways if name in way.figures}
        cells = [f"{medians[way.name]:,.0f}" if way.name in medians else "" for way in ways]
        ratio = medians[own.name] / medians[reference.name]
        lines.append(f"| {name} | " + " | ".join(cells) + f" | {ratio:.2f} |")
    return "\n".join(lines)


def machine():
    model = "unknown processor"
    for line in pathlib.Path("/proc/cpuinfo").read_text().splitlines():
        if line.startswith("model name"):
            model = line.split(":", 1)[1].strip()
            break
    return f"{os.cpu_count()} cores of {model}, Linux {platform.release()}, {time.strftime('%Y-%m-%d')}"


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--rounds", type=int, default=5)
    parser.add_argument("--quick", action="store_true")
    parser.add_argument("--build", default=str(ROOT / "build" / "release"))
    parser.add_argument(
        "--only",
        nargs="*",
        default=["direct", "haproxy", "socat", "mitmproxy", "Veltrane", "Veltrane shown", "Veltrane watched"],
    )
    options = parser.parse_args()
    os.environ["VELTRANE"] = str(pathlib.Path(options.build) / "bin" / "Veltrane")
    load = str(pathlib.Path(options.build) / "bin" / "load")

    begun = os.getloadavg()[0]
    with tempfile.TemporaryDirectory() as folder:
        server = veltrane.free_port()
        process = subprocess.Popen([load, "serve", str(server)])
        makers = {
            "direct": lambda *_: Way("direct", server),
            "haproxy": haproxy,
            "socat": socat,
            "mitmproxy": mitmproxy,
            "Veltrane": ours,
            "Veltrane shown": lambda *_: Shown(server, load, False),
            "Veltrane watched": lambda *_: Shown(server, load, True),
        }
        ways = [makers[name](server, pathlib.Path(folder)) for name in options.only]
        try:
            for way in ways:
                if isinstance(way, Shown):
                    continue
                veltrane.wait_for(lambda port=way.port: veltrane.listens(port), 15, way.name)
            for number in range(options.rounds):
                for way in ways:
                    measure(load, way, options.quick)
                print(f"round {number + 1} of {options.rounds}", file=sys.stderr)
        finally:
            for way in ways:
                way.close()
            process.terminate()
            process.wait()
    print(f"{machine()}, {options.rounds} rounds, load average {begun:.1f} at the start\n")
    lines, reached = judged(ways)
    print(f"{table(ways)}\n\n{lines}")
    return 0 if reached else 1


if __name__ == "__main__":
    sys.exit(main())

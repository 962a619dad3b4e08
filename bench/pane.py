#!/usr/bin/env python3
"""What the real-time pane costs a download: the built program on a virtual display, with the pane hidden and shown in
each format, interleaved. Measures 200 MB through a Pass Through port, the memory behind it, and how long a menu takes
to open while a longer download runs.

    pane.py [--rounds N] [--build FOLDER]
"""

import argparse
import os
import pathlib
import statistics
import subprocess
import sys
import time

import compare
from compare import ROOT, veltrane
from veltrane import Screen, Veltrane, wait_for, windows

MEGABYTES = 200
DOWNLOADS = 5  # in a row, of one run of the program
LONG = 6000  # MB, for the time in which menus are opened
MENUS = 12

WAYS = [
    ("hidden", {"ShowRealTimeData": 0}),
    ("AscII", {"DisplayAs": 0}),
    ("Hex", {"DisplayAs": 1}),
    ("Octal", {"DisplayAs": 2}),
    ("Decimal", {"DisplayAs": 3}),
    ("Binary", {"DisplayAs": 4}),
    ("Hex, all directions, no colours", {"ServerToVLT": 1, "VLTToServer": 1, "ColourCode": 0}),
]


def popups(screen):
    done = subprocess.run(
        ["xdotool", "search", "--onlyvisible", "--class", "Veltrane"],
        env=screen.environment,
        capture_output=True,
        text=True,
        check=False,
    )
    return len(done.stdout.split())


def menu_times(screen):
    """From the keystroke, the tool's own start included, until the menu stands on the screen, in ms."""
    times = []
    alone = popups(screen)
    for _ in range(MENUS):
        begun = time.monotonic()
        screen.tool("key", "alt+v")
        wait_for(lambda: popups(screen) > alone, 10, "the menu")
        times.append((time.monotonic() - begun) * 1000)
        screen.tool("key", "Escape", "Escape")
        wait_for(lambda: popups(screen) == alone, 10, "the menu to close")
    return times


def measure(load, server, settings, figures):
    screen = Screen()
    try:
        with Veltrane(platform="xcb") as run:
            port = veltrane.free_port()
            run.store.add_port(port, server="127.0.0.1", server_port=server)
            for key, value in settings.items():
                run.store.set("RealTime", key, value)
            os.environ["DISPLAY"] = screen.display
            run.start(listening=[port])
            window = wait_for(lambda: windows(screen.display, "^Veltrane$"), 20, "the window")[0]
            screen.tool("windowactivate", "--sync", window)
            time.sleep(1)

            def bulk(megabytes):
                command = [load, "bulk", str(port), "1", str(megabytes), "down"]
                return subprocess.Popen(command, stdout=subprocess.PIPE, text=True)

            def rate(process):
                return float(process.communicate()[0].split()[0])

            rate(bulk(MEGABYTES))
            spent = run.processor_seconds()
            figures["rate"] += [rate(bulk(MEGABYTES)) for _ in range(DOWNLOADS)]
            figures["processor"].append((run.processor_seconds() - spent) / DOWNLOADS)
            figures["memory"].append(run.resident())
            figures["idle menu"] += menu_times(screen)
            process = bulk(LONG)
            figures["menu"] += menu_times(screen)
            figures["busy"].append(process.poll() is None)
            rate(process)
            figures["memory later"].append(run.resident())
            assert run.stop() == (0, "")
    finally:
        screen.close()


def row(name, figures, hidden):
    rate = statistics.median(figures["rate"])
    base = statistics.median(hidden["rate"])
    return (
        f"| {name} | {rate:,.0f} | {rate / base:.2f} | {statistics.median(figures['processor']):.2f} "
        f"| {statistics.median(figures['memory']):.0f} / {statistics.median(figures['memory later']):.0f} "
        f"| {statistics.median(figures['idle menu']):.0f} / {max(figures['idle menu']):.0f} "
        f"| {statistics.median(figures['menu']):.0f} / {max(figures['menu']):.0f} |"
    )


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--rounds", type=int, default=3)
    parser.add_argument("--build", default=str(ROOT / "build" / "release"))
    options = parser.parse_args()
    os.environ["VELTRANE"] = str(pathlib.Path(options.build) / "bin" / "Veltrane")
    load = str(pathlib.Path(options.build) / "bin" / "load")
    server = veltrane.free_port()
    process = subprocess.Popen([load, "serve", str(server)])
    names = ("rate", "processor", "memory", "idle menu", "menu", "busy", "memory later")
    figures = {name: {figure: [] for figure in names} for name, _ in WAYS}
    begun = os.getloadavg()[0]
    try:
        wait_for(lambda: veltrane.listens(server), 15, "the server")
        for number in range(options.rounds):
            for name, settings in WAYS:
                measure(load, server, settings, figures[name])
            print(f"round {number + 1} of {options.rounds}", file=sys.stderr)
    finally:
        process.terminate()
        process.wait()
    print(f"{compare.machine()}, {options.rounds} rounds, load average at the start {begun:.1f}\n")
    heads = "| Pane | MB/s | to hidden | processor s a download | memory MB: after 1.2 GB / 7.2 GB | menu, nothing else to do, ms: median / greatest | menu during a download |"
    print(heads + "\n|---|---|---|---|---|---|---|")
    for name, _ in WAYS:
        print(row(name, figures[name], figures["hidden"]))
        if not all(figures[name]["busy"]):
            print(f"{name}: the download ended before the menus did", file=sys.stderr)


if __name__ == "__main__":
    main()

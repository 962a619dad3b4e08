"""What recording costs: runs build/release/bin/history for each figure, several times, and prints medians.

    python3 bench/history.py [--rounds 3]
"""

import argparse
import os
import pathlib
import re
import statistics
import subprocess

PROGRAM = pathlib.Path(__file__).resolve().parent.parent / "build" / "release" / "bin" / "history"

RUNS = [
    ["format"],
    *(["memory", str(size)] for size in (262144, 65536, 16384, 8192, 1460, 100)),
    ["live", "1000000"],
    ["live", "1000000", "unlimited"],
    *(["purge", str(count), *kind] for count in (10, 10000) for kind in ([], ["dead"])),
    *(["event", str(size), *log] for size in (100, 8192) for log in ([], ["log"])),
]


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--rounds", type=int, default=3)
    rounds = parser.parse_args().rounds
    print(f"load average {os.getloadavg()[0]:.1f}, {rounds} rounds, medians")
    figures = {}
    for _ in range(rounds):
        for run in RUNS:
            done = subprocess.run([PROGRAM, *run], capture_output=True, text=True, check=True)
            for line in done.stdout.splitlines():
                name, *values = line.split("\t")
                figures.setdefault(name, []).append(values)
    for name, values in figures.items():
        columns = []
        for column in zip(*values):
            numbers = [float(value.split()[0]) for value in column]
            columns.append(f"{statistics.median(numbers):g}" + re.sub(r"^\S+", "", column[0]))
        print(f"{name:48}", *columns, sep="\t")


if __name__ == "__main__":
    main()

"""Veltrane with servers and clients that keep it busy; ends when its window is closed, or by Ctrl-C.

    python3 demo/demo.py PATH-TO-VELTRANE
"""

import contextlib
import os
import signal
import subprocess
import sys
import tempfile

sys.dont_write_bytecode = True

from world import PORTS, World

GUIDE = """
  - Click a port in the tree at the left, then what opens below it: the peer, the connection.
    The upper right pane draws the connection as a ladder; click an arrow to see its data.
  - View, Event History turns the ladder into a list of the events. The lower pane shows data as it goes by;
    View, Real Time Data says which.
  - Every 4th connection is dangled for a second, every 6th ended when it has stood for 0.3 seconds, every 7th
    refused, and long answers are throttled: see Tools, Failure Simulation. Nobody answers at the archive.
"""


def environment(folder):
    return dict(os.environ, XDG_CONFIG_HOME=f"{folder}/config", XDG_DATA_HOME=f"{folder}/data")


def main():
    # Each of the signals ends the program, and with it this one. Ctrl-C and a terminal that is closed reach the program by
    # themselves as well.
    ending = [False]
    program = None

    def end(*_):
        ending[0] = True
        if program and program.poll() is None:
            program.terminate()

    for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
        # Who started it may have it outlive its terminal.
        if signal.getsignal(number) != signal.SIG_IGN:
            signal.signal(number, end)
    with tempfile.TemporaryDirectory(prefix="veltrane-demo-") as folder:
        world = World(folder)
        try:
            program = subprocess.Popen([sys.argv[1]], env=environment(folder))
            if ending[0]:
                program.terminate()
            print("The demo runs until you close Veltrane's window or press Ctrl-C.")
            for name, _, _, description in PORTS:
                print(f"  {world.ports[name]:5}  {description}")
            web = world.sites[0]
            print(f"Log file: {world.log}")
            print(f"Try: curl -x http://127.0.0.1:{world.ports['web']} http://{web.address}:{web.port}/news")
            print(GUIDE, flush=True)
            world.begin()
            code = program.wait()
        finally:
            world.close()
    # Nobody reads it in a terminal that is gone.
    with contextlib.suppress(OSError):
        print("The demo has ended.", flush=True)
    return code


if __name__ == "__main__":
    sys.exit(main())

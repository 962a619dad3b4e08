"""A small comparison with what the relay stands beside, with much slack: a collapse of its speed is noticed, what a
busy machine does is not. The real figures come from bench/compare.py."""

import os
import pathlib
import subprocess

import veltrane
from veltrane import expect_end, wait_for

ROUNDS = 3
MEGABYTES = 300


def load():
    return pathlib.Path(veltrane.program()).with_name("load")


class Speed(veltrane.ProgramTest):
    def setUp(self):
        self.server = veltrane.free_port()
        serving = subprocess.Popen([load(), "serve", str(self.server)])
        self.addCleanup(serving.wait)
        self.addCleanup(serving.terminate)
        wait_for(lambda: veltrane.listens(self.server), 15, "the server")

    def start(self, **options):
        run = veltrane.Veltrane()
        self.addCleanup(run.__exit__)
        port = veltrane.free_port()
        run.store.add_port(port, server="127.0.0.1", server_port=self.server)
        for key, value in options.items():
            run.store.set("Options", key, value)
        run.start(listening=[port])
        return run, port

    def run_load(self, *arguments):
        output = self.run_client(load(), *arguments)
        return [float(word) for word in output.split()]

    def haproxy(self):
        program = veltrane.which("haproxy")
        if not program:
            self.skipTest("haproxy is not installed")
        port = veltrane.free_port()
        config = self.home / "haproxy.cfg"
        config.write_text(
            "global\n nbthread 1\ndefaults\n mode tcp\n timeout connect 5s\n timeout client 1h\n timeout server 1h\n"
            f"listen relay\n bind 127.0.0.1:{port}\n server one 127.0.0.1:{self.server}\n"
        )
        process = subprocess.Popen([program, "-f", str(config), "-db"], stderr=subprocess.DEVNULL)
        self.addCleanup(process.wait)
        self.addCleanup(process.terminate)
        wait_for(lambda: veltrane.listens(port), 15, "haproxy")
        return port

    def test_the_relay_keeps_up_with_one_that_records_nothing(self):
        run, port = self.start()
        self.home = run.home
        other = self.haproxy()
        for what, arguments, least in (
            ("bulk down", ("bulk", "{}", 1, MEGABYTES, "down"), 0.35),
            ("bulk up", ("bulk", "{}", 1, MEGABYTES, "up"), 0.35),
            ("new connections", ("connect", "{}", 1), 0.25),
        ):
            with self.subTest(what):
                ours, theirs = 0, 0
                for _ in range(ROUNDS):
                    ours = max(ours, self.run_load(*(str(word).format(port) for word in arguments))[0])
                    theirs = max(theirs, self.run_load(*(str(word).format(other) for word in arguments))[0])
                self.assertGreater(ours, theirs * least)
        ours = min(self.run_load("rtt", port, 2000, 100)[0] for _ in range(ROUNDS))
        theirs = min(self.run_load("rtt", other, 2000, 100)[0] for _ in range(ROUNDS))
        self.assertLess(ours, theirs * 4, "round trip in microseconds")
        expect_end(self, run)

    def test_a_reader_that_stops_makes_the_sender_wait_before_the_memory_is_eaten(self):
        limit = 100  # MB
        memory = os.sysconf("SC_PHYS_PAGES") * os.sysconf("SC_PAGESIZE") / 1e6
        run, port = self.start(PayloadMemoryPercent=limit / memory * 100)
        before = run.resident()
        stalled = subprocess.Popen(
            [load(), "stalled", str(port), "1000"], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True
        )
        self.addCleanup(stalled.stdout.close)
        self.addCleanup(stalled.kill)
        self.assertEqual(stalled.stdout.readline(), "ready\n")
        wait_for(lambda: run.resident() > before + limit * 0.8, 30, "the program to hold what the reader does not take")
        # Others go on meanwhile, at full speed and with as much as they like.
        self.run_load("bulk", port, 1, MEGABYTES, "down")
        self.assertLess(run.resident(), before + limit * 2.5)
        stalled.stdin.write("go\n")
        stalled.stdin.flush()
        self.assertEqual(stalled.wait(60), 0, "the reader got all")
        stalled.stdin.close()
        expect_end(self, run)


if __name__ == "__main__":
    veltrane.main()

"""Many connections at once, many in a row, and two minutes of everything with every failure on.

What bench/long.py does for hours, in little; each of them looks for other bytes, memory that grows and sockets that
stay.
"""

import pathlib
import sys
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "bench"))
import long  # noqa: E402
import veltrane  # noqa: E402


class Load(unittest.TestCase):
    def test_1500_connections_at_once_under_the_limit_of_a_usual_session(self):
        print(long.at_once(1500))

    def test_5000_connections_in_a_row(self):
        print(long.in_a_row(5000))

    def test_two_minutes_of_every_protocol_under_every_failure(self):
        print(long.mixed(120))


if __name__ == "__main__":
    veltrane.main()

"""The demo's world: sites, the settings that lead to them, and visitors."""

import pathlib
import socket
import sqlite3
import threading
from functools import partial

import visitors
from sites import Files, Mail, Orders, Site, Web
from visitors import Visitor

# Name of the port in here, the number that it gets when it is free, protocol, description.
PORTS = (
    ("web", 8080, "HTTP", "HTTP Proxy - Web"),
    ("mail", 8110, "POP3", "POP3 - Incoming e-mail"),
    ("files", 8021, "FTP", "FTP - File Transfer"),
    ("orders", 8000, "Pass Through", "Orders of the shop"),
    ("archive", 8001, "Pass Through", "Archive, out of order"),
)
# What goes wrong on purpose: long answers to clients are held to a rate, and now and then a connection is refused, dangled
# for a second, or ended. The 12th is both dangled and ended, so within seconds one is that would have gone on.
FAILURES = {
    "chkThrottleS2CData": 1,
    "txtS2CBytes": 2000,
    "txtS2CPeriod": 200,
    "chkRefuseConnections": 1,
    "txtRefuseNthConnection": 7,
    "chkTerminateConnections": 1,
    "txtTerminateNthConnection": 6,
    "txtTerminateTime": 300,
    "chkDangleConnections": 1,
    "txtDangleNthConnection": 4,
    "txtDangleStartTime": 1,
    "txtDangleStopTime": 1000,
}


def free_port(wanted):
    """The wanted port, or any other where that is taken."""
    for port in (wanted, 0):
        try:
            # As the program itself: on all addresses.
            with socket.create_server(("0.0.0.0", port)) as probe:
                return probe.getsockname()[1]
        except OSError:
            pass
    raise OSError("no port is free")


class World:
    """The sites serve at once; begin() sends the visitors."""

    def __init__(self, folder, failures=FAILURES):
        self.folder = pathlib.Path(folder)
        self.log = self.folder / "Log.txt"
        self.failures = failures
        self.ports = {name: free_port(wanted) for name, wanted, _, _ in PORTS}
        kinds = (Web, Mail, Files, Orders)
        self.sites = [Site(f"127.0.0.{number}", kind) for number, kind in enumerate(kinds, 2)]
        self.end = threading.Event()
        self.visitors = []
        self.write_settings()

    def settings(self):
        """Rows of the settings: section, key, value."""
        for name, _, protocol, description in PORTS:
            yield "PortsInUse", self.ports[name], description
            yield "Protocols", self.ports[name], protocol
        web, mail, files, orders = self.sites
        for name, port in (("orders", orders.port), ("archive", free_port(0))):
            section = f"Protocols\\Pass Through\\Port {self.ports[name]}"
            yield section, "Server", orders.address
            yield section, "Port", port
        yield f"Protocols\\POP3\\Port {self.ports['mail']}", "Port", mail.port
        for key, value in self.failures.items():
            yield "FailureSim", key, value
        if self.failures:
            # Throttled data stands in the pane only as it comes from the server.
            yield "RealTime", "ServerToVLT", 1
        yield "FirstRun", "FirstRun", "False"
        yield "Options", "ShowConfigAtStartUp", 0
        # Closing the window ends the program.
        yield "Options", "SystemTray", 0
        yield "RealTimeLogging", "LoggingOn", 1
        yield "RealTimeLogging", "LogFile", self.log

    def write_settings(self):
        store = self.folder / "config" / "Veltrane" / "settings.db"
        store.parent.mkdir(mode=0o700, parents=True)
        connection = sqlite3.connect(store, isolation_level=None)
        connection.execute("CREATE TABLE settings (application TEXT, section TEXT, key TEXT, value TEXT)")
        rows = [("Veltrane", section, str(key), str(value)) for section, key, value in self.settings()]
        connection.executemany("INSERT INTO settings VALUES (?, ?, ?, ?)", rows)
        connection.close()

    def begin(self):
        web, mail, files, _ = self.sites
        ports = self.ports
        visits = (
            (partial(visitors.order, ports["orders"], self.end), 1),
            (partial(visitors.browse, ports["web"], web), 2),
            (partial(visitors.fetch_mail, ports["mail"], mail), 4),
            (partial(visitors.exchange_files, ports["files"], files), 5),
            (partial(visitors.ask_archive, ports["archive"]), 9),
        )
        for visit, pause in visits:
            self.visitors.append(Visitor(visit, pause, self.end))
            self.visitors[-1].start()

    def close(self):
        self.end.set()
        for site in self.sites:
            site.close()

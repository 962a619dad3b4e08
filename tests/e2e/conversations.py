"""What the log should tell of connections whose server the client names itself.

The names and texts are worked out here from what the client said, not from what the program did with it. A stream
may come in any number of pieces, so data are followed piece by piece: see history.Direction.
"""

import re

import history
from history import (
    ACCEPTED,
    ATTEMPT,
    ATTEMPT_FAILED,
    BUFFERED_TO_SERVER,
    CLIENT_LEFT,
    CLIENT_SIDE_BAD,
    CLOSED_CLIENT,
    CLOSED_SERVER,
    CONNECTED,
    DATA_KINDS,
    FROM_CLIENT,
    FROM_SERVER,
    SERVER_LEFT,
    SERVER_SIDE_BAD,
    TEXTS,
    TO_CLIENT,
    Story,
)

DATA_PORT = re.compile(rb"(PORT |227 Entering Passive Mode \()(\d+,\d+,\d+,\d+),(\d+),(\d+)(?:\))?\r\n")


def route_http(text, settings):
    """Where the first piece goes, and what of it."""
    if settings.get("ConnectToProxy") == "True":
        return settings["Proxy"], int(settings["Port"]), text
    default = int(settings.get("SpecificPort", 80))
    found = re.match(rb"(\S+ )http://([^/: ]+)(?::(\d+))?(\S*) (HTTP/.*)", text, re.S)
    if not found:
        return "", default, text
    method, host, port, path, rest = found.groups()
    return host.decode(), int(port or default), method + path + b" " + rest


def route_https(text, settings):
    if settings.get("ConnectToProxy") == "True":
        return settings["Proxy"], int(settings["Port"]), b""
    found = re.match(rb"\S+ ([^/: ]+):(\d+) HTTP/", text)
    return found.group(1).decode(), int(found.group(2)), b""


def route_pop3(text, settings):
    pieces = text.split(b"#")
    if len(pieces) != 2:
        return "", int(settings["Port"]), text
    return pieces[1].replace(b"\r\n", b"").decode(), int(settings["Port"]), pieces[0] + b"\r\n"


def route_ftp(text, _):
    user, _, site = text.rpartition(b"@")
    host, _, port = site.replace(b"\r\n", b"").partition(b":")
    # What is no number is no port either.
    return host.decode(), int(port or 21) if port.isdigit() or not port else 0, user + b"\r\n"


class Protocol:
    """How the conversations of a protocol begin."""

    def __init__(self, route, says=None, hears=b"", reply=None, tells=True):
        self.route = route
        self.says = says  # the proxy's own greeting
        self.hears = hears  # how that of the server begins, which the client does not get
        self.reply = reply  # the proxy's own word once the connection stands
        self.tells = tells  # whether the client is told of a server that is not found


PROTOCOLS = {
    "HTTP": Protocol(route_http),
    "HTTPS": Protocol(
        route_https,
        reply=b"HTTP/1.0 200 Connection established\r\nProxy-agent: Netscape -Proxy / 1.1 \r\n\r\n",
    ),
    "POP3": Protocol(route_pop3, says=b"+OK\r\n", hears=b"+OK"),
    "FTP": Protocol(route_ftp, says=b"220 Veltrane FTP Server\r\n", hears=b"220 ", tells=False),
}

# How a connection that stood may end: what is told of it beside the data.
ENDS = ([SERVER_LEFT, CLOSED_CLIENT], [CLIENT_LEFT, CLOSED_SERVER])
# The client resets what it no longer wants.
RESET = [CLIENT_SIDE_BAD, CLOSED_CLIENT, CLOSED_SERVER]

# The relay of these protocols sends all that waits at once.
UP = history.Direction(history.UP.arrived, history.UP.buffered, history.UP.sent, history.UP.throttled, piece=None)
DOWN = history.Direction(
    history.DOWN.arrived, history.DOWN.buffered, history.DOWN.sent, history.DOWN.throttled, piece=None
)


def fail(what, record):
    raise AssertionError(f"{what}: {record}")


def expect(record, wanted):
    if record != wanted:
        fail(f"not {wanted}", record)


class Log:
    """The log of one run of the program, connection by connection."""

    def __init__(self, path, ports):
        """ports: for each listening port its protocol, and what its page would set."""
        self.ports = ports
        self.connections = {}
        self.data_ports = {}  # what an FTP conversation has opened, and for which address
        for record in history.parse(path):
            self.connections.setdefault(record.id, []).append(record._replace(time=""))

    def check(self, no_site=(b"",), ends=ENDS):
        """Each connection is told as it should be; gives how many there were of each protocol.

        no_site: what the client may have been told where its server was not found.
        """
        counts = {}
        passed = []
        for records in self.connections.values():
            protocol = records[0].protocol
            counts[protocol] = counts.get(protocol, 0) + 1
            for record in records:
                self.check_text(record)
            if protocol == "Pass Through":
                passed.append(records)
            else:
                self.check_routed(records, no_site, ends)
        for records in passed:
            self.check_data_connection(records, ends)
        return counts

    def check_text(self, record):
        """Encrypted data may hold what looks like an escape, and so read as three bytes less each time."""
        if record.kind not in DATA_KINDS:
            return
        escapes = sum(record.data.count(byte) for byte in b'\r\n"')
        texts = (TEXTS[record.kind].format(len(record.data) + 3 * more) for more in range(escapes + 1))
        if record.description not in texts:
            fail(f"{len(record.data)} bytes", record)

    def check_routed(self, records, no_site, ends):
        first = records[0]
        name, settings = self.ports[first.listening_port]
        protocol = PROTOCOLS[name]
        story = Story(first.id, first.listening_port, first.client_port, protocol=name).add(ACCEPTED)
        if protocol.says:
            story.add(TO_CLIENT, data=protocol.says)
        if len(records) == len(story.records) + 1:
            self.check_all(records, story.add(CLIENT_LEFT))
            return
        asked = records[len(story.records)].data
        host, port, text = protocol.route(asked, settings)
        story.add(FROM_CLIENT, data=asked)
        unknown = not host or " " in host or host.endswith(".invalid")
        impossible = not 0 <= port < 65536
        server = dict(story.fixed)
        story.attempt(host, port, ip="" if unknown else "127.0.0.1")
        opening = len(story.records)
        self.check_all(records[:opening], story)
        rest = records[opening:]
        if impossible:
            # It fails before anything is known of a server.
            story.fixed = server
            words = {"error": 10049, "error_text": "Address not available"}
            story.add(ATTEMPT_FAILED, words["error_text"], **words).add(CLOSED_CLIENT)
            self.check_all(records, story)
        elif unknown and not protocol.tells:
            story.add(ATTEMPT_FAILED, "Host not found", error=11001, error_text="Host not found")
            self.check_all(records, story.add(CLOSED_CLIENT))
        elif unknown:
            story.add(ATTEMPT_FAILED, "Host not found", error=11001, error_text="Host not found")
            said = next((record.data for record in rest if record.kind == TO_CLIENT), None)
            if said not in no_site:
                fail(f"not one of {no_site}", records)
            self.check_all(records, story.add(TO_CLIENT, data=said).add(CLOSED_CLIENT))
        elif rest[0].kind == SERVER_SIDE_BAD:
            story.add(SERVER_SIDE_BAD, "10061, Connection refused").add(CLOSED_CLIENT)
            self.check_all(records, story)
        else:
            self.check_relay(rest, story, protocol, text, ends)

    def check_all(self, records, story):
        if records != story.records:
            fail(f"not told as {story.records}", records)

    def check_relay(self, records, story, protocol, text, ends):
        """From the attempt to the end of a connection that came to stand."""
        connected = False
        for record in records:
            connected = connected or record.kind == CONNECTED
            for name, value in story.fixed.items():
                told = getattr(record, name)
                looked_up = name == "server_ip" and told == "" and not connected
                if told != value and not looked_up:
                    fail(f"{name} is not {value!r}", record)
        self.check_course(records, [[CONNECTED, *end] for end in ends])
        if protocol.reply:
            at = [record.kind for record in records].index(CONNECTED) + 1
            expect(records[at], story.record(TO_CLIENT, protocol.reply))
            del records[at]
        if protocol.hears:
            heard = next(record for record in records if record.kind == FROM_SERVER)
            if not heard.data.startswith(protocol.hears):
                fail("no greeting", heard)
            records.remove(heard)
        if text:
            # What the client said first waits for the server, in the words that the server gets.
            waits = [story.record(kind, text) for kind in (FROM_CLIENT, BUFFERED_TO_SERVER)]
            records = waits + records
        if protocol is PROTOCOLS["FTP"]:
            records = self.with_addresses_changed(records)
        UP.check(records)
        DOWN.check(records)

    def check_course(self, records, courses):
        """What is told beside the data, and that an end is the end."""
        kinds = [record.kind for record in records if record.kind not in DATA_KINDS]
        if kinds not in courses:
            fail(f"{kinds} is none of {courses}", records[-1])
        if records[-1].kind != kinds[-1]:
            fail("more after the end", records[-1])
        words = {CONNECTED: " ", SERVER_LEFT: ""}
        for record in records:
            if record.kind in words and record.description != TEXTS[record.kind].format(words[record.kind]):
                fail("another text", record)

    def with_addresses_changed(self, records):
        """The same as if each data address had come as it went on. Remembers what each new port is for."""
        result = []
        for at, record in enumerate(records):
            lower = record.data.lower()
            if record.kind not in (FROM_CLIENT, FROM_SERVER) or not lower.startswith(
                (b"port ", b"227 entering passive mode")
            ):
                result.append(record)
                continue
            arrived = UP if record.kind == FROM_CLIENT else DOWN
            went = next(later for later in records[at + 1 :] if later.kind in (arrived.buffered, arrived.sent))
            asked = [int(number) for number in re.findall(rb"\d+", record.data)[-6:]]
            found = DATA_PORT.fullmatch(went.data)
            if not found or found.group(2) != b"127,0,0,1":
                fail("no address", went)
            own = int(found.group(3)) * 256 + int(found.group(4))
            address = (".".join(map(str, asked[:4])), asked[4] * 256 + asked[5])
            self.data_ports.setdefault(own, []).append(address)
            result.append(record._replace(data=went.data))
        return result

    def check_data_connection(self, records, ends):
        """A connection that an address led to: a plain relay to where the address said."""
        first = records[0]
        waiting = self.data_ports.get(first.listening_port)
        if not waiting:
            fail("nobody asked for this port", first)
        # Two control connections may have drawn the same port, and are not read in the order of their draws.
        told = records[1].description
        asked = (address for address in waiting if told == TEXTS[ATTEMPT].format("{}:{}".format(*address)))
        host, port = next(asked, waiting[0])
        waiting.remove((host, port))
        story = Story(first.id, first.listening_port, first.client_port)
        story.add(ACCEPTED).attempt(host, port)
        self.check_all(records[:2], story)
        self.check_course(records[2:], [[CONNECTED, *end] for end in ends])
        history.UP.check(records)
        history.DOWN.check(records)

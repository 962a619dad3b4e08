"""Reads log files, and tells what a connection should leave in one. Knows the program by its files alone.

A log file is text in 8-bit characters. Each line is a record of 15 fields in double quotes with commas
between them. In the last field, the data, line ends and quotes are escaped by their code in angle brackets.
"""

import collections
import re

HEADER = (
    b'"Start Time","Connection Id","Protocol","Listening Port","Remote Client IP","Remote Client Name",'
    b'"Remote Client Port","Remote Server IP","Remote Server Name","Remote Server Port","Event Type",'
    b'"Description","Err No.","Error String","Data'
)

Record = collections.namedtuple(
    "Record",
    "time id protocol listening_port client_ip client_name client_port server_ip server_name server_port"
    " kind description error error_text data",
)

NUMBERS = ("listening_port", "client_port", "server_port", "kind", "error")

(
    ACCEPTED,
    REJECTED,
    ATTEMPT,
    ATTEMPT_FAILED,
    CONNECTED,
    SERVER_LEFT,
    CLOSED_CLIENT,
    CLIENT_LEFT,
    CLOSED_SERVER,
    FROM_SERVER,
    BUFFERED_TO_SERVER,
    HELD_TO_SERVER,
    BUFFERED_TO_CLIENT,
    HELD_TO_CLIENT,
    TO_CLIENT,
    TO_CLIENT_THROTTLED,
    FROM_CLIENT,
    TO_SERVER,
    TO_SERVER_THROTTLED,
    CLIENT_SIDE_BAD,
    SERVER_SIDE_BAD,
    SERVER_DANGLE,
    CLIENT_DANGLE,
    SERVER_DANGLE_OVER,
    CLIENT_DANGLE_OVER,
) = range(25)

# By kind; the braces are what changes. Of the data kinds that is the number of bytes.
TEXTS = [
    "Remote connection request accepted",
    "Remote connection request was scheduled for rejection",
    "A connection request has been made to {}.",
    "The connection request failed - {}",
    "The connection request to the remote server has been successful. {}",
    "The remote server has disconnected. {}",
    "VLT has disconnected from the remote client.",
    "The remote client has disconnected.",
    "VLT has disconnected from the remote server.",
    "{} bytes of data has been received from the remote server.",
    "{} bytes of data has been buffered. (Previous action still in progress)",
    "{} bytes of data has been buffered. (Remote server is being dangled)",
    "{} bytes of data has been buffered. (Previous send to remote client is still in progress)",
    "{} bytes of data has been buffered. (The remote client is being dangled)",
    "{} bytes of data has been sent to the remote client.",
    "{} bytes of throttled data has been sent to the remote client.",
    "{} bytes of data has been received from the remote client.",
    "{} bytes of data has been sent to the remote server.",
    "{} bytes of throttled data has been sent to the remote server.",
    "The local server socket is in a error state: {}",
    "The local client socket is in a error state: {}",
    "Remote server side dangling has started. No more data will be sent to the remote server for {} mSecs.",
    "Remote client side dangling has started. No more data will be sent to the remote client for {} mSecs.",
    "Remote server side dangling has stopped.",
    "Remote client side dangling has stopped.",
]

DATA_KINDS = range(FROM_SERVER, TO_SERVER_THROTTLED + 1)

ESCAPES = {b"<13>": b"\r", b"<10>": b"\n", b"<34>": b'"'}


def unescape(data):
    return re.sub(rb"<(?:13|10|34)>", lambda found: ESCAPES[found.group()], data)


def without_literals(data):
    """The same bytes, but for such as a log file could not tell from its escapes."""
    return re.sub(rb"<(?=(?:13|10|34)>)", b"[", data)


def parse_line(line):
    """One record, from a line without its end."""
    fields = line.split(b'","')
    if len(fields) != len(Record._fields) or line[:1] != b'"' or line[-1:] != b'"':
        raise AssertionError(f"no record of 15 fields: {line[:300]!r}")
    fields[0] = fields[0][1:]
    data = unescape(fields.pop()[:-1])
    values = dict(zip(Record._fields, (field.decode("latin-1") for field in fields)))
    if not re.fullmatch(r"([01]\d|2[0-3]):[0-5]\d:[0-5]\d\.\d{3}", values["time"]):
        raise AssertionError(f"no time: {values['time']!r}")
    values.update({name: int(values[name]) for name in NUMBERS})
    return Record(data=data, **values)


def parse(path):
    """The records of a file that the program made itself, so it has a header, and just one."""
    lines = path.read_bytes().split(b"\r\n")
    if lines[0] != HEADER or lines[-1] != b"":
        raise AssertionError(f"header {lines[0][:300]!r}, end {lines[-1][:100]!r}")
    return [parse_line(line) for line in lines[1:-1]]


def parse_so_far(path):
    """The records that stand in a file which is being written, or not yet made."""
    text = path.read_bytes() if path.exists() else b""
    return [parse_line(line) for line in text.split(b"\r\n")[1:-1]]


def of(records, key):
    """Those of one connection."""
    return [record for record in records if record.id == key]


def data_of(records, *kinds):
    """The data of all records of these kinds, joined."""
    return b"".join(record.data for record in records if record.kind in kinds)


class Story:
    """What one connection should leave in the log, written down step by step."""

    def __init__(self, key, port, client_port, client_ip="127.0.0.1", protocol="Pass Through"):
        self.records = []
        self.fixed = {
            "id": key,
            "protocol": protocol,
            "listening_port": port,
            "client_ip": client_ip,
            "client_name": "",
            "client_port": client_port,
            "server_ip": "",
            "server_name": "",
            "server_port": 0,
        }

    def add(self, kind, words="", data=b"", error=0, error_text=""):
        """A step; words are what changes in its text, but for data."""
        self.records.append(self.record(kind, data, words, error, error_text))
        return self

    def record(self, kind, data=b"", words="", error=0, error_text=""):
        """What the log would tell at this point of the story."""
        text = TEXTS[kind].format(len(data) if kind in DATA_KINDS else words)
        return Record(
            time="", kind=kind, description=text, error=error, error_text=error_text, data=data, **self.fixed
        )

    def attempt(self, host, port, ip=None):
        """The request for the server. From the next step on the log names whom it asked for."""
        self.add(ATTEMPT, f"{host}:{port}")
        self.fixed.update(server_ip=host if ip is None else ip, server_name=host, server_port=port)
        return self

    def connect(self, port, comment=" "):
        """From the accepted request to the connection that stands."""
        return self.add(ACCEPTED).attempt("127.0.0.1", port).add(CONNECTED, comment)

    def up(self, data):
        """Data of the client, sent on at once."""
        return self.add(FROM_CLIENT, data=data).add(TO_SERVER, data=data)

    def down(self, data):
        """Data of the server, sent on at once."""
        return self.add(FROM_SERVER, data=data).add(TO_CLIENT, data=data)


def timeless(records):
    return [record._replace(time="") for record in records]


# What may come of a piece of data as it arrives.
AT_ONCE = (
    [FROM_CLIENT, TO_SERVER],
    [FROM_CLIENT, HELD_TO_SERVER],
    [FROM_SERVER, TO_CLIENT],
    [FROM_SERVER, HELD_TO_CLIENT],
)


def joined(records):
    """The same story when what arrived in several pieces, each sent on or held at once, had come in one.

    A piece of a stream may come in any number of pieces. Each record's own text must fit its data.
    """
    result = []
    for record in timeless(records):
        if record.kind in DATA_KINDS and record.description != TEXTS[record.kind].format(len(record.data)):
            raise AssertionError(f"{len(record.data)} bytes: {record.description!r}")
        result.append(record)
        if len(result) < 4:
            continue
        first, second = result[-4:-2], result[-2:]
        kinds = [entry.kind for entry in first]
        if kinds != [entry.kind for entry in second]:
            continue
        if kinds not in AT_ONCE:
            continue
        result[-4:] = [
            one._replace(
                data=one.data + two.data, description=TEXTS[one.kind].format(len(one.data) + len(two.data))
            )
            for one, two in zip(first, second)
        ]
    return result


class Direction:
    """The kinds of one direction, and the rules of its buffer."""

    def __init__(self, arrived, buffered, sent, throttled, piece=8192):
        """piece: how much of the buffer is sent at once; None for all of it."""
        self.piece = piece
        self.arrived, self.buffered, self.sent, self.throttled = arrived, buffered, sent, throttled
        self.kinds = (arrived, buffered, sent, throttled)

    def check(self, records, most=None):
        """Each arrival is sent or buffered at once; what is sent later is the next of the buffer.

        A throttled send takes at most so many bytes, and leaves the rest to the buffer.
        """
        buffer = bytearray()
        steps = iter([record for record in records if record.kind in self.kinds])
        for record in steps:
            if record.kind == self.arrived:
                follower = next(steps, None)
                if not self.takes(follower, record.data, most, whole=True):
                    raise AssertionError(f"{record.description} Then: {follower and follower.description}")
                if follower.kind == self.buffered:
                    buffer += record.data
                elif buffer:
                    raise AssertionError(f"{len(buffer)} bytes were overtaken: {follower.description}")
                else:
                    buffer += record.data[len(follower.data) :]
            elif record.kind != self.buffered and self.takes(record, buffer, most, whole=False):
                del buffer[: len(record.data)]
            else:
                raise AssertionError(f"with {len(buffer)} bytes buffered: {record.description}")
        if buffer:
            raise AssertionError(f"{len(buffer)} bytes were never sent")

    def takes(self, record, data, most, whole):
        """Whether the record is a send, or the buffering, of what these bytes begin with."""
        if record is None or not record.data or record.kind == self.arrived:
            return False
        if record.kind == self.throttled:
            return most is not None and len(record.data) <= most and data.startswith(record.data)
        return record.data == (data if whole else data[: self.piece])


UP = Direction(FROM_CLIENT, BUFFERED_TO_SERVER, TO_SERVER, TO_SERVER_THROTTLED)
DOWN = Direction(FROM_SERVER, BUFFERED_TO_CLIENT, TO_CLIENT, TO_CLIENT_THROTTLED)


def milliseconds(record):
    """The time of day at which it was recorded."""
    hours, minutes, seconds = record.time.split(":")
    return (int(hours) * 60 + int(minutes)) * 60_000 + round(float(seconds) * 1000)


def between(first, second):
    """How long after one record the other came, in ms; past midnight as well."""
    return (milliseconds(second) - milliseconds(first)) % (24 * 3600 * 1000)

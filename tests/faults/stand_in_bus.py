"""A stand-in for the bus daemon and the service behind it: it speaks D-Bus's wire protocol on a socket and
answers each call as it is told to, also as no real daemon would. It has no thread of its own; who waits for
the client calls `serve` meanwhile."""

import os
import socket
import struct
from collections import namedtuple

METHOD_RETURN, ERROR = 2, 3
PATH, INTERFACE, MEMBER, ERROR_NAME, REPLY_SERIAL, DESTINATION, SENDER, SIGNATURE = range(1, 9)
HEADER_TYPES = {PATH: "o", REPLY_SERIAL: "u", SIGNATURE: "g"}

NUMBERS = {"y": "B", "b": "I", "n": "h", "q": "H", "i": "i", "u": "I", "x": "q", "t": "Q", "d": "d"}
CLIENT_NAME = ":1.7"
SERVICE_NAME = ":1.3"


def split_signature(signature):
    """The complete types of a signature."""
    types, start = [], 0
    while start < len(signature):
        end = end_of_type(signature, start)
        types.append(signature[start:end])
        start = end
    return types


def end_of_type(signature, start):
    if signature[start] == "a":
        return end_of_type(signature, start + 1)
    depth, end = 0, start
    while True:
        depth += (signature[end] in "({") - (signature[end] in ")}")
        end += 1
        if depth == 0:
            return end


def alignment(type_):
    if type_[0] in NUMBERS:
        return struct.calcsize(NUMBERS[type_[0]])
    return {"s": 4, "o": 4, "a": 4, "(": 8, "{": 8}.get(type_[0], 1)


def pad(out, size):
    out += bytes(-len(out) % size)


def write_value(out, type_, value):
    """Values are numbers, texts, bytes for ay, dictionaries for a{..}, sequences, and (type, value) for v."""
    pad(out, alignment(type_))
    if type_ in NUMBERS:
        out += struct.pack("<" + NUMBERS[type_], value)
    elif type_ in "so":
        text = value.encode()
        out += struct.pack("<I", len(text)) + text + b"\0"
    elif type_ == "g":
        out += bytes([len(value)]) + value.encode() + b"\0"
    elif type_ == "v":
        write_value(out, "g", value[0])
        write_value(out, *value)
    elif type_[0] == "a":
        write_array(out, type_[1:], value)
    else:
        for part, content in zip(split_signature(type_[1:-1]), value, strict=True):
            write_value(out, part, content)


def write_array(out, type_, values):
    place = len(out)
    out += bytes(4)
    pad(out, alignment(type_))
    start = len(out)
    if type_ == "y":
        out += bytes(values)
    else:
        for value in values.items() if type_[0] == "{" else values:
            write_value(out, type_, value)
    out[place : place + 4] = struct.pack("<I", len(out) - start)


def write_body(signature, values):
    out = bytearray()
    for type_, value in zip(split_signature(signature), values, strict=True):
        write_value(out, type_, value)
    return bytes(out)


def write_message(kind, serial, fields, body):
    out = bytearray(struct.pack("<BBBBII", ord("l"), kind, 1, 1, len(body), serial))
    write_value(out, "a(yv)", [(code, (HEADER_TYPES.get(code, "s"), value)) for code, value in fields.items()])
    pad(out, 8)
    return bytes(out) + body


Call = namedtuple("Call", "serial member path texts")


class Reader:
    """Takes from a call what tells it from others."""

    def __init__(self, data, place):
        self.data = data
        self.place = place

    def number(self, type_):
        form = struct.Struct("<" + NUMBERS[type_])
        self.place += -self.place % form.size
        self.place += form.size
        return form.unpack_from(self.data, self.place - form.size)[0]

    def text(self, length_type="u"):
        length = self.number(length_type)
        self.place += length + 1
        return self.data[self.place - length - 1 : self.place - 1].decode()

    def header_field(self):
        self.place += -self.place % 8
        code = self.number("y")
        type_ = self.text("y")
        return code, self.number("u") if type_ == "u" else self.text("y" if type_ == "g" else "u")


def read_call(data, header_end):
    reader = Reader(data, 8)
    serial = reader.number("u")
    end = 16 + reader.number("u")
    fields = {}
    while reader.place < end:
        code, value = reader.header_field()
        fields[code] = value
    reader.place = header_end
    texts = [reader.text() for _ in fields.get(SIGNATURE, "")] if set(fields.get(SIGNATURE, "")) <= {"s"} else []
    return Call(serial, fields[MEMBER], fields[PATH], texts)


class Connection:
    def __init__(self, bus, peer):
        self.bus = bus
        self.peer = peer
        self.buffer = b""
        self.authenticated = False
        self.serial = 0

    def receive(self):
        try:
            data = self.peer.recv(1 << 16)
        except ConnectionResetError:  # the client has left answers unread
            data = b""
        if not data:
            self.close()
        self.buffer += data
        while self.peer is not None and self.take_one():
            pass

    def take_one(self):
        """Handles one line or message of the buffer; false when there is none."""
        return self.take_message() if self.authenticated else self.take_line()

    def take_line(self):
        line, end, rest = self.buffer.partition(b"\r\n")
        if not end:
            return False
        self.buffer = rest
        if self.bus.refuses:
            self.peer.sendall(b"REJECTED\r\n")
            self.close()
            return False
        word = line.lstrip(b"\0").split(b" ")[0]
        self.authenticated = word == b"BEGIN"
        answers = {
            b"AUTH": b"DATA\r\n",
            b"DATA": b"OK 0123456789abcdef0123456789abcdef\r\n",
            b"NEGOTIATE_UNIX_FD": b"AGREE_UNIX_FD\r\n",
        }
        self.peer.sendall(answers.get(word, b""))
        return True

    def take_message(self):
        if len(self.buffer) < 16:
            return False
        body, _, fields = struct.unpack_from("<III", self.buffer, 4)
        header = 16 + fields + -fields % 8
        if len(self.buffer) < header + body:
            return False
        call = read_call(self.buffer[: header + body], header)
        self.buffer = self.buffer[header + body :]
        if call.member == "Hello":
            self.reply(call, "s", [CLIENT_NAME])
        else:
            self.bus.answer(self, call)
        return True

    def compose(self, kind, call, fields, body):
        self.serial += 1
        sender = "org.freedesktop.DBus" if call.path == "/org/freedesktop/DBus" else SERVICE_NAME
        head = {REPLY_SERIAL: call.serial, DESTINATION: CLIENT_NAME, SENDER: sender}
        return write_message(kind, self.serial, head | fields, body)

    def compose_reply(self, call, signature, values):
        fields = {SIGNATURE: signature} if signature else {}
        return self.compose(METHOD_RETURN, call, fields, write_body(signature, values))

    def compose_error(self, call, name, text):
        fields = {ERROR_NAME: name} | ({} if text is None else {SIGNATURE: "s"})
        return self.compose(ERROR, call, fields, b"" if text is None else write_body("s", [text]))

    def compose_bodiless(self, call, signature):
        """A reply that promises the fields of `signature`, and has none."""
        return self.compose(METHOD_RETURN, call, {SIGNATURE: signature}, b"")

    def reply(self, call, signature, values):
        self.send(self.compose_reply(call, signature, values))

    def send(self, data):
        self.peer.sendall(data)

    def close(self):
        if self.peer is not None:
            self.bus.connections.pop(self.peer, None)
            self.peer.close()
            self.peer = None


class StandInBus:
    """Listens at `path`. `answer(connection, call)` is called for each call but Hello."""

    def __init__(self, path, answer):
        self.path = path
        self.answer = answer
        self.connections = {}
        self.refuses = False
        self.listener = socket.socket(socket.AF_UNIX)
        self.listener.bind(str(path))
        self.listener.listen()

    def sockets(self):
        return [*([self.listener] if self.listener else []), *self.connections]

    def serve(self, ready):
        """Handles what has come over the sockets `ready`."""
        for sock in ready:
            if sock is self.listener:
                peer, _ = self.listener.accept()
                self.connections[peer] = Connection(self, peer)
            elif sock in self.connections:
                self.connections[sock].receive()

    def close(self, unlink=True, connections=True):
        """What remains of a daemon that has exited: nothing, a socket in the file system that nobody listens
        on, or the connections that it had."""
        if self.listener:
            self.listener.close()
            self.listener = None
            if unlink:
                os.unlink(self.path)
        for connection in list(self.connections.values()) if connections else []:
            connection.close()

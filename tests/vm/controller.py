"""The management controller on QEMU's external IPMI interface, played by the test."""

import os
import socket
import threading
from dataclasses import dataclass

END_OF_MESSAGE, END_OF_CONTROL, ESCAPE = 0xA0, 0xA1, 0xAA
ESCAPED = 0x10


@dataclass(frozen=True)
class Request:
    """One request as it was on the wire."""

    sequence: int
    network_function: int
    lun: int
    command: int
    data: bytes


@dataclass(frozen=True)
class Answer:
    """A completion code and what follows it."""

    completion: int
    data: bytes = b""


APPLICATION = 0x06
INVALID_COMMAND = Answer(0xC1)
# What the kernel's driver asks before it makes a device: the answers of a controller that does nothing but messages.
START_UP = {
    0x01: Answer(0, bytes([0x20, 0x01, 0x01, 0x00, 0x02, 0x00, 0, 0, 0, 0, 0])),  # its identity
    0x2E: Answer(0),  # global enables, set
    0x2F: Answer(0, bytes([0x00])),  # global enables, read
    0x30: Answer(0),  # message flags, cleared
    0x31: Answer(0, bytes([0x00])),  # message flags
}
SILENCE = object()  # take the request and say nothing
HANG_UP = object()  # take the request and close the connection


def checksum(body):
    """The byte that makes all of a message sum to zero."""
    return -sum(body) & 0xFF


def encode(request, answer):
    """The frame that answers a request."""
    body = bytes([request.sequence, (request.network_function + 1) << 2 | request.lun, request.command,
                  answer.completion]) + answer.data
    frame = bytearray()
    for byte in body + bytes([checksum(body)]):
        if byte in (END_OF_MESSAGE, END_OF_CONTROL, ESCAPE):
            frame += bytes([ESCAPE, byte | ESCAPED])
        else:
            frame.append(byte)
    frame.append(END_OF_MESSAGE)
    return bytes(frame)


def decode(body):
    """The request that the unescaped bytes of a frame hold."""
    if sum(body) & 0xFF:
        raise ValueError(f"checksum of {body.hex(' ')}")
    sequence, function_and_lun, command = body[:3]
    return Request(sequence, function_and_lun >> 2, function_and_lun & 3, command, bytes(body[3:-1]))


class FrameReader:
    """Takes the wire's bytes and gives the requests in them; control frames are dropped."""

    def __init__(self):
        self._body = bytearray()
        self._escaped = False

    def feed(self, data):
        """The requests that these bytes complete."""
        requests = []
        for byte in data:
            if byte == END_OF_MESSAGE:
                requests.append(decode(self._body))
                self._body.clear()
            elif byte == END_OF_CONTROL:
                self._body.clear()
            elif byte == ESCAPE:
                self._escaped = True
            else:
                self._body.append(byte & ~ESCAPED if self._escaped else byte)
                self._escaped = False
        return requests


class Controller:
    """Listens where QEMU connects, answers what the kernel asks at start, and keeps every other request.

    `answer` is what the next requests get: an Answer, SILENCE or HANG_UP.
    """

    def __init__(self, folder):
        self._path = os.path.join(folder, "controller.socket")
        self._listener = None
        self._connection = None
        self.answer = INVALID_COMMAND
        self.requests = []
        self._connected = threading.Event()
        self.open()

    def qemu_arguments(self):
        """The devices that put this controller into a machine."""
        return ["-chardev", f"socket,id=controller,path={self._path},reconnect=1",
                "-device", "ipmi-bmc-extern,id=bmc,chardev=controller", "-device", "isa-ipmi-kcs,bmc=bmc"]

    def open(self):
        """Lets the machine connect."""
        self._listener = socket.socket(socket.AF_UNIX)
        self._listener.bind(self._path)
        self._listener.listen()
        threading.Thread(target=self._serve, args=(self._listener,), daemon=True).start()

    def ensure_open(self):
        """Waits until the machine is connected, which tries once a second."""
        if self._listener is None:
            self.open()
        if not self._connected.wait(timeout=30):
            raise TimeoutError("the machine did not connect")

    def close(self):
        """Ends the connection and refuses further ones."""
        os.unlink(self._path)
        self._listener.shutdown(socket.SHUT_RDWR)
        self._listener.close()
        self._listener = None
        self._hang_up()

    def _serve(self, listener):
        while True:
            try:
                self._connection, _ = listener.accept()
            except OSError:
                return
            self._converse(self._connection)

    def _converse(self, connection):
        reader = FrameReader()
        self._connected.set()
        with connection:
            while data := self._receive(connection):
                for request in reader.feed(data):
                    self._respond(connection, request)
        self._connected.clear()

    @staticmethod
    def _receive(connection):
        try:
            return connection.recv(4096)
        except OSError:
            return b""

    def _respond(self, connection, request):
        if request.network_function == APPLICATION:
            connection.sendall(encode(request, START_UP.get(request.command, INVALID_COMMAND)))
            return
        self.requests.append(request)
        if self.answer is HANG_UP:
            self._hang_up()
        elif self.answer is not SILENCE:
            connection.sendall(encode(request, self.answer))

    def _hang_up(self):
        self._connected.clear()
        if self._connection is not None:
            try:
                self._connection.shutdown(socket.SHUT_RDWR)
            except OSError:
                pass  # the machine was faster
